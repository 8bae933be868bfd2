"""The filters' pages in the distribution's own OBS Studio, used with a mouse. After each step the source's picture is held
against what the look says, and a picture of the screen is kept in the build folder."""
import json
import os
import shutil
import subprocess

import filter_pages
import session
import stock_obs_test as stock
from filter_pages import PATIENCE, FiltersWindow, holds, xdotool
from obs_client import await_value, collection_file

GREEN, BEAUTY, OTHER = "green", "beauty", "other"
SKIN = (208, 152, 124)  # the block's colour: flat, so that it tells how much is whitened
SMOOTH_Y, WHITEN_Y, LOOK_Y, MORE_Y, DEFAULTS_Y, PICK_Y, COLOR_Y = 581, 625, 538, 710, 950, 520, 563  # pixels of the screen
MENU_STEPS_TO_BEAUTY = 6  # after five of OBS Studio's own
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


def whiten(obs, name=BEAUTY):
    return settings(obs, name).get("beauty_whiten", 15)


def await_whiten(obs, value):
    """In the look and in both filters' settings."""
    await_value(f"the look's whiten is {value}", lambda: round(obs.vendor("GetBeauty")["whiten"] * 100) == value and
                whiten(obs) == value and whiten(obs, OTHER) == value)


class Lightness:
    """The block's in the source's picture: it goes with the look's whiten, and is the same for the same look."""

    def __init__(self, obs):
        self.obs, self.of_look = obs, {}

    def now(self):
        middle = self.obs.screenshot("clip", stock.WIDTH, stock.HEIGHT)[stock.HEIGHT // 2][stock.WIDTH // 2]
        return sum(middle[:3])

    def fits(self, look):
        now = self.now()
        known = self.of_look.get(look)
        others = [(other, light) for other, light in self.of_look.items() if other != look]
        if (known is not None and abs(now - known) > 3) or any((light < now) != (other < look) for other, light in others):
            return False
        self.of_look[look] = now if known is None else known
        return True

    def await_fit(self):
        """Of what GetBeauty says."""
        look = round(self.obs.vendor("GetBeauty")["whiten"] * 100)
        await_value(f"a picture as whiten {look} makes it; known are {self.of_look}", lambda: self.fits(look))


def press_until(obs, key, value):
    """Pressed again while nothing comes of it: OBS Studio keeps a change a while after it was made, and takes no key before
    its window is active."""
    def taken():
        for window in filter_pages.seen("--name", MAIN_WINDOW)[-1:]:
            xdotool("windowactivate", "--sync", window)
            xdotool("key", key)
        return holds(lambda: whiten(obs) == value)

    await_value(f"{key} brings {value}", taken, PATIENCE)
    await_whiten(obs, value)


def drag_until_changed(window, obs, from_x, to_x):
    """The slider "whiten". A page that is made anew two seconds after the last change may end a drag, on a machine as slow as
    that; the next one must work."""
    def changed():
        before = whiten(obs)
        window.drag(from_x, to_x, WHITEN_Y)
        return holds(lambda: whiten(obs) > max(50, before))

    await_value("the slider has moved", changed, PATIENCE)
    await_value("the value stays", lambda: (value := whiten(obs)) == whiten(obs, OTHER) and value)


def add_filters(obs, steps):
    """The first one by the menu, as a user does; then one beside it, and a green screen above which beauty must stand."""
    def added():  # on a busy machine a menu may miss a key: another filter is taken off again
        FiltersWindow(obs, "clip").add(MENU_STEPS_TO_BEAUTY, BEAUTY)
        if holds(lambda: stock.filters(obs) == [(BEAUTY, stock.BEAUTY)], 20):
            return True
        for name, _ in stock.filters(obs):
            obs.ask("RemoveSourceFilter", sourceName="clip", filterName=name)
        return False

    await_value("the filter is there", added, PATIENCE)
    steps.keep("added")
    for name, kind in (OTHER, stock.BEAUTY), (GREEN, stock.GREEN_SCREEN):
        obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=kind, filterSettings={})


def set_values(obs, steps, lightness):
    window = FiltersWindow(obs, "clip")
    window.show_page(0)
    assert whiten(obs) == 15, settings(obs, BEAUTY)
    lightness.await_fit()
    steps.keep("page")

    drag_until_changed(window, obs, 470, 700)
    moved = whiten(obs)
    await_whiten(obs, moved)
    lightness.await_fit()
    steps.keep("dragged")

    press_until(obs, "ctrl+z", 15)
    lightness.await_fit()
    steps.keep("undone")
    press_until(obs, "ctrl+shift+z", moved)
    lightness.await_fit()
    steps.keep("done-again")

    window = FiltersWindow(obs, "clip")
    window.show_page(0)
    window.answer(window.pop_up("the list of looks", 650, LOOK_Y), "Down", "Down", "Return")  # Classic, Natural
    await_whiten(obs, 5)
    lightness.await_fit()
    steps.keep("look")

    window.click(368, MORE_Y)
    await_value("all settings are shown", lambda: settings(obs, BEAUTY).get("beauty_more"))
    steps.keep("more")

    window.click(345, DEFAULTS_Y)
    await_whiten(obs, 15)
    await_value("nothing but defaults stands there", lambda: "beauty_more" not in settings(obs, BEAUTY))
    lightness.await_fit()
    steps.keep("defaults")
    return window


def change_while_in_use(window, obs, steps):
    """What would crash the program if the page were made anew at a wrong moment."""
    window.show_page(0)
    xdotool("mousemove", 470, WHITEN_Y, "mousedown", 1)
    for step in range(12):
        obs.vendor("SetBeauty", ruddy=step / 20)
        obs.vendor("Call", call="SetEffectEnabledWithEffectType", type="beauty", enabled=True)
        xdotool("mousemove", 490 + 15 * step, WHITEN_Y)
    xdotool("mouseup", 1)
    window.settle()
    obs.vendor("SetBeauty", whiten=0.15)
    await_whiten(obs, 15)
    window = FiltersWindow(obs, "clip")
    window.show_page(0)
    drag_until_changed(window, obs, 470, 700)
    steps.keep("dragged-while-others-change")

    window.show_page(2)
    dialog = window.pop_up("the color dialog", 840, COLOR_Y)
    assert dialog in filter_pages.named("[Cc]olor"), xdotool("getwindowname", dialog)
    for step in range(8):
        obs.vendor("SetBeauty", smooth=step / 10)
        obs.ask("SetSourceFilterEnabled", sourceName="clip", filterName=GREEN, filterEnabled=step % 2 == 1)
        obs.vendor("SetKey", source="clip", filter=GREEN, config=json.dumps({"similarity": step / 10}))
        obs.screenshot("clip", 64, 36)
    steps.keep("color-dialog")
    window.cancel(dialog)
    obs.vendor("SetKey", source="clip", filter=GREEN, config='{"similarity":0.667}')
    return window


def follow_others(window, obs, steps, lightness):
    """A page shows what was changed elsewhere, a while later."""
    obs.vendor("SetBeauty", whiten=0.3)
    window.show_page(0)

    def slider():
        window.settle()
        return filter_pages.grab(400, WHITEN_Y - 8, 480, 16)

    before = await_value("the slider stands still", lambda: (picture := slider()) == slider() and picture)
    obs.vendor("SetBeauty", whiten=0.9)
    await_value("the page shows the new value", lambda: slider() != before)
    lightness.await_fit()
    steps.keep("changed-elsewhere")


def keyed(obs):
    rows = obs.screenshot("clip", stock.WIDTH, stock.HEIGHT)
    return rows[4][4][3] < 16 and rows[stock.HEIGHT // 2][stock.WIDTH // 2][3] > 240


def pick(window, obs, steps):
    window.show_page(2)
    obs.vendor("SetKey", source="clip", filter=GREEN, config='{"keyColor":[0.1,0.1,0.9]}')
    await_value("the button has something to do", lambda: not keyed(obs))

    def picked():
        window.click(525, PICK_Y)
        return holds(lambda: keyed(obs))

    await_value("the picture is keyed", picked, PATIENCE)
    config = json.loads(obs.vendor("GetKey", source="clip", filter=GREEN)["config"])
    assert all(abs(part * 255 - green) < 6 for part, green in zip(config["keyColor"], stock.GREEN)), config
    steps.keep("picked")


def bind_hotkeys(home):
    """As the settings' window would have saved them."""
    with open(collection_file(home)) as file:
        saved = json.load(file)
    assert set(HOTKEYS) <= set(saved["modules"]), saved["modules"].keys()
    saved["modules"].update({name: [{"key": key}] for name, key in HOTKEYS.items()})
    with open(collection_file(home), "w") as file:
        json.dump(saved, file)


def second_run(obs, steps, lightness, value):
    await_whiten(obs, value)
    await_value("the picture is keyed", lambda: keyed(obs))
    lightness.await_fit()
    steps.keep("restarted")
    press_until(obs, "F7", 0)
    lightness.await_fit()
    steps.keep("hotkey-off")
    press_until(obs, "F8", value)
    lightness.await_fit()


def main():
    arguments = session.arguments()
    steps = Steps(os.path.join(arguments.build, "stock_obs_pages"))
    with session.Session(arguments.build, arguments.root, window_manager=True, on_failure=lambda: steps.keep("failed"),
                         block=SKIN) as run:
        obs = run.start()
        obs.ask("CreateInput", sceneName=obs.scene(), inputName="clip", inputKind="ffmpeg_source",
                inputSettings={"local_file": run.clip, "looping": True}, sceneItemEnabled=True)
        lightness = Lightness(obs)
        add_filters(obs, steps)
        set_values(obs, steps, lightness)
        window = change_while_in_use(FiltersWindow(obs, "clip"), obs, steps)
        follow_others(window, obs, steps, lightness)
        pick(window, obs, steps)
        stock.end(obs)
        bind_hotkeys(run.home)
        obs = run.start()
        lightness.obs = obs
        second_run(obs, steps, lightness, 90)
        stock.end(obs)
        with open(collection_file(run.home)) as file:
            modules = json.load(file)["modules"]
        assert all(modules[name][0]["key"] == key for name, key in HOTKEYS.items()), modules


if __name__ == "__main__":
    main()
