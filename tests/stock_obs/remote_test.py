"""The filters' remote control in the distribution's own OBS Studio: every example of docs/websocket.md, every operation of
the control object, the events, and what is refused."""
import argparse
import json
import os
import re
import shutil
import sys
import tempfile

import filter_pages
import stock_obs_test as stock
from obs_client import Obs, await_value, collection_file

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

REFUSED = [
    ("SetBeauty", {"nonsense": 1}, "'nonsense' is no value of a look"),
    ("SetBeauty", {"smooth": "much"}, "'smooth' is of the wrong type"),
    ("SetBeauty", {"whiten": 0.9, "smooth": 2}, "'smooth' is 2; it goes from 0 to 1"),
    ("SetBeauty", {"chin": -1.5}, "'chin' is -1.5; it goes from -1 to 1"),
    ("ApplyPreset", {"preset": "../x"}, "there is no preset '../x'"),
    ("GetKey", {"source": "nowhere", "filter": GREEN}, "there is no source 'nowhere'"),
    ("GetKey", {"source": "clip", "filter": "gone"}, "the source 'clip' has no filter 'gone'"),
    ("PickKeyColor", {"source": "clip", "filter": BEAUTY}, "the filter 'beauty' is no green screen"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": "[1]"}, "'config' is no text that holds a JSON object"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"alphaUp":0.1,"similarity":3}'},
     "'similarity' is 3; it goes from 0 to 1"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"similarity":"x"}'}, "'similarity' is no number"),
    ("SetKey", {"source": "clip", "filter": GREEN, "config": '{"nonsense":1}'},
     "'nonsense' is no setting of the green screen"),
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


def refuse(obs):
    def everything():
        return (obs.vendor("GetBeauty"), obs.vendor("GetKey", source="clip", filter=GREEN),
                [settings(obs, name) for name in (GREEN, BEAUTY, OTHER)])

    before = everything()
    for request, data, comment in REFUSED:
        answer = obs.vendor(request, **data)
        assert answer == {"error": comment}, (request, data, answer)
    unknown = obs.try_ask("CallVendorRequest", vendorName="vanta_filter", requestType="Nonsense")["requestStatus"]
    assert not unknown["result"] and unknown["comment"], unknown
    assert everything() == before, (everything(), before)


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


def make_old_scene(home):
    """As the filters saved it before they had pages: nothing but what they read."""
    with open(collection_file(home)) as file:
        saved = json.load(file)
    clip = next(source for source in saved["sources"] if source["name"] == "clip")
    old = {GREEN: {"config": '{"keyColor":[0.157,0.706,0.275],"similarity":0.6}'}, BEAUTY: {"apply_flag": 255}}
    clip["filters"] = [entry for entry in clip["filters"] if entry["name"] in old]
    assert len(clip["filters"]) == 2, clip["filters"]
    for entry in clip["filters"]:
        entry["settings"] = old[entry["name"]]
        entry.pop("hotkeys", None)
    for name in [name for name in saved["modules"] if name.startswith("vanta_filter")]:
        del saved["modules"][name]
    with open(collection_file(home), "w") as file:
        json.dump(saved, file)


def use_old_scene(obs):
    stock.look(obs, "clip", "keyed")
    config = json.loads(obs.vendor("GetKey", source="clip", filter=GREEN)["config"])
    assert abs(config["similarity"] - 0.6) < 1e-6 and config["keyColor"] == [0.157, 0.706, 0.275], config
    look = obs.vendor("GetBeauty")
    assert [round(look[name] * 100) for name in ("smooth", "whiten", "ruddy", "sharpen")] == [35, 15, 10, 0], look
    obs.vendor("SetBeauty", smooth=0.8)
    obs.vendor("SetKey", source="clip", filter=GREEN, config='{"alphaShrink":1}')
    stock.look(obs, "clip", "keyed")


def main():
    parser = argparse.ArgumentParser()
    for name in "build", "root":
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()
    home = tempfile.mkdtemp(prefix="vanta_obs_remote_")
    obs = None
    try:
        prefix = os.path.join(home, "usr")
        filter_pages.link_plugin(arguments.root, arguments.build, prefix)
        clip = os.path.join(home, "clip.mp4")
        stock.make_clip(clip)
        obs = Obs(home, prefix, filter_pages.LIBDIR)
        obs.connect(vendor_events=True)
        obs.scene()
        stock.add_clip(obs, clip)
        assert obs.vendor("SetBeauty", smooth=0.5) == {"error": "no source has a Face Beauty filter"}
        # A beauty filter below the green screen would show the camera without its key.
        for name, kind in (BEAUTY, stock.BEAUTY), (OTHER, stock.BEAUTY), (GREEN, stock.GREEN_SCREEN):
            obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=kind, filterSettings={})
        run_examples(obs, os.path.join(arguments.root, "docs/websocket.md"))
        call_everything(obs)
        refuse(obs)
        await_events(obs)
        kinds = {entry["filter"]: entry["kind"] for entry in obs.vendor("GetStatus")["filters"]}
        assert kinds == {GREEN: stock.GREEN_SCREEN, BEAUTY: stock.BEAUTY, OTHER: stock.BEAUTY}, kinds
        assert stock.end(obs) == 0
        obs.kill()
        make_old_scene(home)
        obs = Obs(home, prefix, filter_pages.LIBDIR)
        obs.connect()
        obs.scene()
        use_old_scene(obs)
        stock.end(obs)
    except BaseException:
        if obs:
            print("\n".join(obs.log().splitlines()[-60:]), file=sys.stderr)
        raise
    finally:
        if obs:
            obs.kill()
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    main()
