"""The filters' pages in the distribution's own OBS Studio, used with a mouse, and every example of docs/websocket.md."""
import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

import filter_pages
import stock_obs_test as stock
from obs_client import Obs, await_value

GREEN, BEAUTY, OTHER = "green", "beauty", "other"
SMOOTH_Y, LOOK_Y, MORE_Y, DEFAULTS_Y, PICK_Y = 581, 538, 710, 950, 520  # pixels of the screen


def settings(obs, name):
    return obs.ask("GetSourceFilter", sourceName="clip", filterName=name)["filterSettings"]


def await_setting(obs, name, key, value):
    await_value(f"{name}'s {key} is {value}", lambda: settings(obs, name).get(key) == value)


def vendor(obs, request, **data):
    """The answer of the vendor's request. An empty object is refused, so it is left out."""
    extra = {"requestData": data} if data else {}
    return obs.ask("CallVendorRequest", vendorName="vanta_filter", requestType=request, **extra).get("responseData") or {}


def use_mouse(obs):
    filter_pages.open_filters(obs, "clip")
    filter_pages.show_page(0)
    assert settings(obs, BEAUTY).get("beauty_smooth", 35) == 35, settings(obs, BEAUTY)

    filter_pages.drag(560, 760, SMOOTH_Y)
    await_value("the slider has moved", lambda: settings(obs, BEAUTY).get("beauty_smooth", 0) > 50)
    await_value("the other filter has the value too",
                lambda: settings(obs, OTHER).get("beauty_smooth") == settings(obs, BEAUTY).get("beauty_smooth"))

    filter_pages.click(650, LOOK_Y)
    filter_pages.xdotool("key", "Down", "Down", "Return")  # Classic, Natural
    await_setting(obs, OTHER, "beauty_smooth", 20)

    filter_pages.click(368, MORE_Y)
    await_setting(obs, BEAUTY, "beauty_more", True)

    filter_pages.click(345, DEFAULTS_Y)
    filter_pages.xdotool("key", "Return")
    await_value("the defaults are back", lambda: "beauty_smooth" not in settings(obs, BEAUTY))
    await_value("the look is the defaults'", lambda: abs(vendor(obs, "GetBeauty")["smooth"] - 0.35) < 1e-6)

    filter_pages.show_page(2)
    filter_pages.click(525, PICK_Y)
    stock.look(obs, "clip", "keyed")


def use_websocket(obs, manual):
    with open(manual) as file:
        examples = [json.loads(block) for block in re.findall(r"```json\n(.*?)\n```", file.read(), re.S)]
    assert len(examples) == 9, len(examples)
    for example in examples:
        answer = vendor(obs, example["requestType"], **example.get("requestData", {}))
        assert answer and "error" not in answer, (example, answer)
    vendor(obs, "SetBeauty", smooth=0.5)
    assert abs(vendor(obs, "GetBeauty")["smooth"] - 0.5) < 1e-6
    assert settings(obs, OTHER)["beauty_smooth"] == 50, settings(obs, OTHER)
    for request, data in ("SetBeauty", {"nonsense": 1}), ("SetBeauty", {"smooth": "much"}), ("ApplyPreset", {"preset": "../x"}), \
            ("GetKey", {"source": "clip", "filter": BEAUTY}), ("SetKey", {"source": "clip", "filter": GREEN, "config": "[1]"}):
        assert "error" in vendor(obs, request, **data), (request, data)
    assert abs(vendor(obs, "GetBeauty")["smooth"] - 0.5) < 1e-6
    kinds = {entry["filter"]: entry["kind"] for entry in vendor(obs, "GetStatus")["filters"]}
    assert kinds == {GREEN: stock.GREEN_SCREEN, BEAUTY: stock.BEAUTY, OTHER: stock.BEAUTY}, kinds


def main():
    parser = argparse.ArgumentParser()
    for name in "build", "root":
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()
    home = tempfile.mkdtemp(prefix="vanta_obs_pages_")
    manager = subprocess.Popen(["openbox"], stderr=subprocess.DEVNULL)
    obs = None
    try:
        prefix = os.path.join(home, "usr")
        filter_pages.link_plugin(arguments.root, arguments.build, prefix)
        clip = os.path.join(home, "clip.mp4")
        stock.make_clip(clip)
        obs = Obs(home, prefix, filter_pages.LIBDIR)
        obs.connect()
        obs.scene()
        stock.add_clip(obs, clip)
        # A beauty filter below the green screen would show the camera without its key.
        for name, kind in (BEAUTY, stock.BEAUTY), (OTHER, stock.BEAUTY), (GREEN, stock.GREEN_SCREEN):
            obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=kind, filterSettings={})
        use_mouse(obs)
        use_websocket(obs, os.path.join(arguments.root, "docs/websocket.md"))
        stock.end(obs)
    except BaseException:
        if obs:
            print("\n".join(obs.log().splitlines()[-60:]), file=sys.stderr)
        raise
    finally:
        if obs:
            obs.kill()
        manager.kill()
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    main()
