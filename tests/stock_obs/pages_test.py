"""The filters' pages in the distribution's own OBS Studio, used with a mouse. After each step a picture of the screen is
kept in the build folder."""
import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

import filter_pages
import stock_obs_test as stock
from filter_pages import click, drag, show_page, xdotool
from obs_client import Obs, await_value, collection_file

GREEN, BEAUTY, OTHER = "green", "beauty", "other"
SMOOTH_Y, LOOK_Y, MORE_Y, DEFAULTS_Y, PICK_Y, COLOR_Y = 581, 538, 710, 950, 520, 563  # pixels of the screen
MAIN_WINDOW = "OBS 29"
HOTKEYS = {"vanta_filter.beauty_off": "OBS_KEY_F7", "vanta_filter.beauty_on": "OBS_KEY_F8"}


class Steps:
    """Pictures of the screen, numbered."""

    def __init__(self, folder):
        self.folder, self.count = folder, 0
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)

    def keep(self, name):
        self.count += 1
        subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-f", "x11grab", "-video_size", "1280x1024", "-i",
                        os.environ["DISPLAY"], "-frames:v", "1", os.path.join(self.folder, f"{self.count:02}-{name}.png")],
                       check=True)


def settings(obs, name):
    return obs.ask("GetSourceFilter", sourceName="clip", filterName=name)["filterSettings"]


def smooth(obs, name=BEAUTY):
    return settings(obs, name).get("beauty_smooth", 35)


def await_smooth(obs, value):
    """In both filters' settings and in the look."""
    await_value(f"the look's smooth is {value}", lambda: round(obs.vendor("GetBeauty")["smooth"] * 100) == value and
                smooth(obs) == value and smooth(obs, OTHER) == value)


def press_in_main_window(obs, key):
    window = xdotool("search", "--onlyvisible", "--name", MAIN_WINDOW).split()[-1]
    xdotool("windowactivate", "--sync", window)
    xdotool("key", key)


def press_until(obs, key, value):
    """Pressed again while nothing comes of it: OBS Studio keeps a change a while after it was made, and takes no key before
    its window is active."""
    def taken():
        press_in_main_window(obs, key)
        end = time.monotonic() + 3
        while time.monotonic() < end and smooth(obs) != value:
            time.sleep(0.1)
        return smooth(obs) == value

    await_value(f"{key} brings {value}", taken)
    await_smooth(obs, value)


def set_values(obs, steps):
    filter_pages.open_filters(obs, "clip")
    show_page(0)
    assert smooth(obs) == 35, settings(obs, BEAUTY)
    steps.keep("page")

    drag(560, 760, SMOOTH_Y)
    await_value("the slider has moved", lambda: smooth(obs) > 50)
    moved = smooth(obs)
    await_smooth(obs, moved)
    steps.keep("dragged")

    press_until(obs, "ctrl+z", 35)
    steps.keep("undone")
    press_until(obs, "ctrl+shift+z", moved)
    steps.keep("done-again")

    filter_pages.open_filters(obs, "clip")
    show_page(0)
    click(650, LOOK_Y)
    xdotool("key", "Down", "Down", "Return")  # Classic, Natural
    await_smooth(obs, 20)
    steps.keep("look")

    click(368, MORE_Y)
    await_value("all settings are shown", lambda: settings(obs, BEAUTY).get("beauty_more"))
    steps.keep("more")

    click(345, DEFAULTS_Y)
    xdotool("key", "Return")
    await_smooth(obs, 35)
    await_value("nothing but defaults stands there", lambda: "beauty_more" not in settings(obs, BEAUTY))
    steps.keep("defaults")


def change_while_in_use(obs, steps):
    """What would crash the program if the page were made anew at a wrong moment. A page that is made anew two seconds after
    the last change may end a drag, on a machine as slow as that; the next one must work."""
    show_page(0)
    xdotool("mousemove", 560, SMOOTH_Y, "mousedown", 1)
    for step in range(12):
        obs.vendor("SetBeauty", whiten=step / 20)
        obs.vendor("Call", call="SetEffectEnabledWithEffectType", type="beauty", enabled=True)
        xdotool("mousemove", 580 + 15 * step, SMOOTH_Y)
    xdotool("mouseup", 1)

    def dragged():
        before = smooth(obs)
        show_page(0)
        drag(500, 640, SMOOTH_Y)
        drag(640, 780, SMOOTH_Y)
        return smooth(obs) != before

    await_value("the slider can be dragged again", dragged)
    steps.keep("dragged-while-others-change")

    show_page(2)
    click(840, COLOR_Y)
    dialog = await_value("the color dialog", lambda: xdotool("search", "--onlyvisible", "--name", "[Cc]olor"))
    for step in range(8):
        obs.vendor("SetBeauty", smooth=step / 10)
        obs.ask("SetSourceFilterEnabled", sourceName="clip", filterName=GREEN, filterEnabled=step % 2 == 1)
        obs.vendor("SetKey", source="clip", filter=GREEN, config=json.dumps({"similarity": step / 10}))
        obs.screenshot("clip", 64, 36)
    steps.keep("color-dialog")
    filter_pages.cancel(dialog.split()[-1])
    await_value("the color dialog is closed", lambda: not xdotool("search", "--onlyvisible", "--name", "[Cc]olor"))
    obs.vendor("SetKey", source="clip", filter=GREEN, config='{"similarity":0.667}')


def follow_others(obs, steps):
    """A page shows what was changed elsewhere, a while later."""
    obs.vendor("SetBeauty", smooth=0.3)
    show_page(0)

    def slider():
        return filter_pages.grab(400, SMOOTH_Y - 8, 480, 16)

    before = await_value("the slider stands still", lambda: (picture := slider()) == slider() and picture)
    obs.vendor("SetBeauty", smooth=0.9)
    await_value("the page shows the new value", lambda: slider() != before)
    steps.keep("changed-elsewhere")


def pick(obs, steps):
    show_page(2)
    click(525, PICK_Y)
    stock.look(obs, "clip", "keyed")
    steps.keep("picked")


def bind_hotkeys(home):
    """As the settings' window would have saved them."""
    with open(collection_file(home)) as file:
        saved = json.load(file)
    assert set(HOTKEYS) <= set(saved["modules"]), saved["modules"].keys()
    saved["modules"].update({name: [{"key": key}] for name, key in HOTKEYS.items()})
    with open(collection_file(home), "w") as file:
        json.dump(saved, file)


def second_run(obs, steps, value):
    await_smooth(obs, value)
    stock.look(obs, "clip", "keyed")
    steps.keep("restarted")
    press_until(obs, "F7", 0)
    steps.keep("hotkey-off")
    press_until(obs, "F8", value)


def main():
    parser = argparse.ArgumentParser()
    for name in "build", "root":
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()
    home = tempfile.mkdtemp(prefix="vanta_obs_pages_")
    manager = subprocess.Popen(["openbox"], stderr=subprocess.DEVNULL)
    steps = Steps(os.path.join(arguments.build, "stock_obs_pages"))
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
        set_values(obs, steps)
        change_while_in_use(obs, steps)
        follow_others(obs, steps)
        pick(obs, steps)
        stock.end(obs)
        bind_hotkeys(home)
        obs = Obs(home, prefix, filter_pages.LIBDIR)
        obs.connect()
        obs.scene()
        second_run(obs, steps, 90)
        stock.end(obs)
        with open(collection_file(home)) as file:
            modules = json.load(file)["modules"]
        assert all(modules[name][0]["key"] == key for name, key in HOTKEYS.items()), modules
    except BaseException:
        if obs:
            steps.keep("failed")
            print("\n".join(obs.log().splitlines()[-60:]), file=sys.stderr)
        raise
    finally:
        if obs:
            obs.kill()
        manager.kill()
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    main()
