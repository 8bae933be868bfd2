"""The filters' remote control in the distribution's own OBS Studio: every example of docs/websocket.md, every operation of
the control object, the events, and what is refused."""
import json
import os
import re

import session
import stock_obs_test as stock
from obs_client import await_value

GREEN, BEAUTY, OTHER = "green", "beauty", "other"

# Each operation with arguments that do no harm. The websocket drops lists of texts and numbers: those stand in a text.
OPERATIONS = [
    ("SetModelPathDic", {"path_dic": {"face": "/nowhere"}}), ("SetModelRootPath", {"path": "/nowhere"}),
    ("UpdateTesseraParams", {"json": "{\"max_face_num\": 2}"}), ("BeginBatchCommand", {}), ("EndBatchCommand", {}),
    ("SetEffectEnabledWithEffectType", {"type": "beauty", "enabled": True}),
    ("SetLookupInfo", {"path": "", "intensity": 0.5}), ("SetLookupIntensity", {"intensity": 0.5}),
    ("SetMakeupInfo", {"layers": [{"resourceDir": "/nowhere", "key": "lip", "intensity": 0.5}]}),
    ("SetMakeupIntensityWithKey", {"key": "lip", "intensity": 0.5}),
    ("SetBeautyIntensityWithType", {"type": "smooth", "intensity": 0.5}),
    ("SetBeautyGroupPath", {"path": "ziran"}), ("SetNaturalityIntensity", {"intensity": 0}),
    ("SetDeformIntensityWithMode", {"mode": 3, "intensity": -0.5}),
    ("SetBodySlimmingIntensityWithType", {"type": 1, "intensity": 0}),
    ("SetBodySlimmingManualLegHeightRangeAndDir", {"top": 0, "bottom": 0, "dir": 0}),
    ("SetMagicEffectWithEvent", {"path": "", "slot": 0, "flag": False, "event_name": ""}),
    ("SetMagicEffectWithPath", {"path": "", "slot": 0, "flag": False}), ("CancelMagicEffect", {}),
    ("SetEffectStateWithState", {"state": 1}), ("SetEffectIntensityWithType", {"type": 0, "intensity": 1}),
    ("SetMediaResource", {"type": 0, "mediaPath": ""}), ("SetBasicAdjustIntensity", {"type": 0, "intensity": 0}),
    ("SetBoomGameData", {"json": "{}"}), ("SetMagicCustomImage", {"arguments": "{\"paths\": []}"}),
    ("LoadInteractiveBoxResource", {"path": "/nowhere"}), ("UnloadInteractiveBoxResource", {}),
    ("SetEngineSnapshot", {"beauty": {"smooth": 0.2}}), ("SetInteractiveBoxInfo", {"path": "", "loaded": False}),
    ("GetBeautyStatistics", {}),
    ("SetMagicEffectForSources", {"arguments": json.dumps({"sources": [BEAUTY, "clip"],
                                                           "request": {"path": "", "slot": 0, "flag": False}})}),
    ("SetFacelessJumpInfo", {"need_jump": False, "jump_type": 0}), ("GetFacelessJumpInfo", {}),
]

LONG, DEEP = "x" * 1000000, "[" * 100000 + "]" * 100000

REFUSED = [
    ("SetBeauty", {"nonsense": 1}, "'nonsense' is no value of a look"),
    ("SetBeauty", {"smooth": "much"}, "'smooth' is of the wrong type"),
    ("SetBeauty", {"whiten": 0.9, "smooth": 2}, "'smooth' is 2; it goes from 0 to 1"),
    ("SetBeauty", {"chin": -1.5}, "'chin' is -1.5; it goes from -1 to 1"),
    ("SetBeauty", {"whiten": 0.9, "smooth": 1e308}, "'smooth' is 1e+308; it goes from 0 to 1"),
    ("SetBeauty", {"smooth": -1e-300}, "'smooth' is -1e-300; it goes from 0 to 1"),
    ("SetBeauty", {"smooth": True}, "'smooth' is of the wrong type"),
    ("SetBeauty", {"smooth": {"a": {"b": 1}}}, "'smooth' is of the wrong type"),
    ("SetBeauty", {"whiten": 0.9, "lookup": "gone.cube"}, "'lookup' is 'gone.cube', and there is no such file or folder"),
    ("SetBeauty", {"effect": "../.."}, "'effect' is '../..', and there is no such file or folder"),
    ("SetBeauty", {"lips_color": "red"}, "'lips_color' is no color of six hexadecimal digits"),
    ("SetBeauty", {"lips_color": LONG}, "'lips_color' is no color of six hexadecimal digits"),
    ("SetBeauty", {"lips_intensity": 2}, "'lips_intensity' is 2; it goes from 0 to 1"),
    ("SetBeauty", {"lookup": LONG}, "'lookup' is 'xxx"),
    ("SetBeauty", {LONG: 1}, "'xxx"),
    ("ApplyPreset", {"preset": "../x"}, "there is no preset '../x'"),
    ("ApplyPreset", {"preset": 5}, "'preset' is no text"),
    ("ApplyPreset", {"name": "ziran"}, "'preset' is missing"),
    ("ApplyPreset", {"preset": LONG}, "there is no preset 'xxx"),
    ("GetKey", {"filter": GREEN}, "'source' is missing"),
    ("GetKey", {"source": "clip", "filter": 1}, "'filter' is no text"),
    ("GetKey", {"source": LONG, "filter": GREEN}, "there is no source 'xxx"),
    ("GetKey", {"source": "nowhere", "filter": GREEN}, "there is no source 'nowhere'"),
    ("GetKey", {"source": "clip", "filter": "gone"}, "the source 'clip' has no filter 'gone'"),
    ("PickKeyColor", {"source": "clip", "filter": BEAUTY}, "the filter 'beauty' is no green screen"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": "[1]"}, "'config' is no text that holds a JSON object"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"alphaUp":0.1,"similarity":3}'},
     "'similarity' is 3; it goes from 0 to 1"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"similarity":"x"}'}, "'similarity' is no number"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"nonsense":1}'},
     "'nonsense' is no setting of the green screen"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"similarity":1e300}'},
     "'similarity' is 1e+300; it goes from 0 to 1"),
    *(("SetKey", {"source": "clip", "filter": GREEN, "config": config}, "'config' is no text that holds a JSON object")
      for config in ('{"similarity":NaN}', '{"similarity":1e999}', 5, LONG, DEEP)),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": f'{{"similarity":{DEEP}}}'},
     "'config' is no text that holds a JSON object"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": f'{{"keyColor":{DEEP}}}'},
     "'config' is no text that holds a JSON object"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": json.dumps({LONG: 1})}, "'xxx"),
    ("Call", {"operation": "CancelMagicEffect"}, "'call' is missing"),
    ("Call", {"call": 5}, "'call' is no text"),
    ("Call", {"call": LONG}, "no operation is called 'xxx"),
    ("Call", {"call": "SetLookupIntensity", "intensity": 1e308}, "member 'intensity' is too large"),
    ("Call", {"call": "SetLookupInfo", "path": LONG, "intensity": 1}, "member 'path' is longer than 1023 bytes"),
    ("Call", {"call": "CancelMagicEffect", LONG: 1}, "no member is called 'xxx"),
    ("Call", {"call": "SetLookupIntensity", "arguments": '{"intensity": NaN}'},
     "'arguments' is no text that holds a JSON object"),
    ("Call", {"call": "SetLookupIntensity", "arguments": DEEP}, "'arguments' is no text that holds a JSON object"),
    ("Call", {"call": "SetLookupIntensity", "arguments": f'{{"intensity":{DEEP}}}'},
     "'arguments' is no text that holds a JSON object"),
    ("Call", {"call": "Nonsense"}, "no operation is called 'Nonsense'"),
    ("Call", {"call": "SetLookupIntensity"}, "member 'intensity' is missing"),
    ("Call", {"call": "SetLookupIntensity", "intensity": "1"}, "member 'intensity' is no number"),
    ("Call", {"call": "SetBeautyIntensityWithType", "type": "smooth", "intensity": 1.5},
     "member 'intensity' is 1.5; it goes from 0 to 1"),
    ("Call", {"call": "CancelMagicEffect", "x": 1}, "no member is called 'x' here"),
    ("Call", {"call": "SetMagicCustomImage", "arguments": "[]"}, "'arguments' is no text that holds a JSON object"),
    ("Call", {"call": "SetMagicEffectForSources", "arguments": json.dumps(
        {"sources": ["nowhere"], "request": {"path": "", "slot": 0, "flag": False}})},
     "member 'sources' names no source 'nowhere'"),
    ("WatchStatistics", {"seconds": "long"}, "'seconds' is no number from 0 to 3600"),
    ("WatchStatistics", {"seconds": 7200}, "'seconds' is no number from 0 to 3600"),
]


def settings(obs, name):
    return obs.ask("GetSourceFilter", sourceName="clip", filterName=name)["filterSettings"]


def run_examples(obs, manual):
    with open(manual) as file:
        examples = [json.loads(block) for block in re.findall(r"```json\n(.*?)\n```", file.read(), re.S)]
    for example in examples:
        answer = obs.vendor(example["requestType"], **example.get("requestData", {}))
        assert answer and "error" not in answer, (example, answer)
    kinds = {example["requestType"] for example in examples}
    assert kinds == {"GetStatus", "GetBeauty", "SetBeauty", "GetPresets", "ApplyPreset", "ResetBeauty", "GetKey", "SetKey",
                     "PickKeyColor", "Call", "WatchStatistics"}, kinds


def call_everything(obs):
    for name, arguments in OPERATIONS:
        answer = obs.vendor("Call", call=name, **arguments)
        assert "error" not in answer and answer["call"] == name, (name, answer)
    assert len({name for name, _ in OPERATIONS}) == 33
    assert obs.vendor("Call", call="GetFacelessJumpInfo")["result"] == {"need_jump": False, "jump_type": 0}
    # The snapshot's value is the look's, and so are commands.
    look = obs.vendor("GetBeauty")
    assert abs(look["smooth"] - 0.2) < 1e-6 and abs(look["chin"] + 0.5) < 1e-6, look
    obs.vendor("Call", call="SetBeautyIntensityWithType", type="smooth", intensity=0.6)
    assert abs(obs.vendor("GetBeauty")["smooth"] - 0.6) < 1e-6
    assert settings(obs, OTHER)["beauty_smooth"] == settings(obs, BEAUTY)["beauty_smooth"] == 60


def use_makeup(obs):
    """Colors that a request or an operation names are the look's, and so is what it says of their strength."""
    obs.vendor("SetBeauty", lips_color="B02840", lips_intensity=0.7)
    assert settings(obs, OTHER)["beauty_lips_color"] == "b02840" and settings(obs, BEAUTY)["beauty_lips_strength"] == 70
    obs.vendor("Call", call="SetMakeupInfo", layers=[{"resourceDir": "color:e08a90", "key": "blush", "intensity": 0.5}])
    look = obs.vendor("GetBeauty")
    assert (look["lips_color"], look["blush_color"], look["blush_intensity"]) == ("", "e08a90", 0.5), look
    obs.vendor("Call", call="SetMakeupIntensityWithKey", key="blush", intensity=0.25)
    assert obs.vendor("GetBeauty")["blush_intensity"] == 0.25 and settings(obs, OTHER)["beauty_blush_strength"] == 25
    obs.vendor("SetBeauty", blush_color="")


def refuse(obs):
    def everything():
        return (obs.vendor("GetBeauty"), obs.vendor("GetKey", source="clip", filter=GREEN),
                [settings(obs, name) for name in (GREEN, BEAUTY, OTHER)])

    before = everything()
    for request, data, comment in REFUSED:
        answer = obs.vendor(request, **data)
        whole = answer["error"] == comment
        cut = comment.endswith("xxx") and answer["error"].startswith(comment) and len(answer["error"]) <= 201
        assert list(answer) == ["error"] and (whole or cut), (request, str(data)[:200], answer)
    unknown = obs.try_ask("CallVendorRequest", vendorName="vanta_filter", requestType="Nonsense")["requestStatus"]
    assert not unknown["result"] and unknown["comment"], unknown
    assert everything() == before, (everything(), before)


def send_heavy_texts(obs):
    """What only the engine can judge does no harm either."""
    for text in LONG, DEEP, f'{{"a":{DEEP}}}':
        for name, member in ("SetBoomGameData", "json"), ("UpdateTesseraParams", "json"), ("SetModelRootPath", "path"):
            assert obs.vendor("Call", call=name, **{member: text}) == {"call": name}, name
        obs.vendor("Call", call="SetMagicEffectWithPath", path=text, slot=0, flag=False)
        obs.screenshot("clip", 64, 36)
    obs.vendor("Call", call="CancelMagicEffect")


def await_events(obs):
    def have(kind):
        obs.vendor("GetBeauty")  # an answer brings along what has come meanwhile
        return [data for name, data in obs.events if name == kind]

    obs.events.clear()
    assert not have("Statistics")
    obs.vendor("WatchStatistics", seconds=600)
    assert await_value("statistics come twice", lambda: len(have("Statistics")) > 1)
    assert "statistics" in have("Statistics")[0]
    obs.vendor("SetBeauty", smooth=0.4)
    await_value("a changed look is told", lambda: any(abs(data["smooth"] - 0.4) < 1e-6 for data in have("BeautyChanged")))


def main():
    arguments = session.arguments()
    with session.Session(arguments.build, arguments.root) as run:
        obs = run.start_with_clip(vendor_events=True)
        assert obs.vendor("SetBeauty", smooth=0.5) == {"error": "no source has a Face Beauty filter"}
        # A beauty filter below the green screen would show the camera without its key.
        for name, kind in (BEAUTY, stock.BEAUTY), (OTHER, stock.BEAUTY), (GREEN, stock.GREEN_SCREEN):
            obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=kind, filterSettings={})
        run_examples(obs, os.path.join(arguments.root, "docs/websocket.md"))
        call_everything(obs)
        use_makeup(obs)
        refuse(obs)
        send_heavy_texts(obs)
        await_events(obs)
        kinds = {entry["filter"]: entry["kind"] for entry in obs.vendor("GetStatus")["filters"]}
        assert kinds == {GREEN: stock.GREEN_SCREEN, BEAUTY: stock.BEAUTY, OTHER: stock.BEAUTY}, kinds
        assert stock.end(obs) == 0


if __name__ == "__main__":
    main()
