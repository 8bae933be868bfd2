"""The filters' window of a running OBS Studio, and a mouse in it. Needs xdotool and openbox on the display.

Nothing here counts on the machine's speed: after each move the program is given the time to answer it, and what a click
opens or changes is awaited."""
import os
import subprocess
import time

from obs_client import await_value

LEFT, TOP, WIDTH, HEIGHT = 20, 20, 1000, 960
PATIENCE = 300  # seconds, for what is tried again: on a machine of many others' work one try alone takes half a minute
MOST_BORDER, MOST_TITLE = 10, 60  # pixels that openbox puts around a window, by its theme and the fonts that are there
FILTER_X, FIRST_FILTER_Y, FILTER_STEP = 88, 555, 34  # entries of the lower list, pixels of the screen
ADD_X, ADD_Y = 50, 950  # the + below that list
BESIDE_THE_MENU = 640, 300
PAGE_CORNER, WINDOW_GROUND = (300, 915), (640, 950)  # of one colour where there is a page, else the first is the picture's


def xdotool(*words):
    return subprocess.run(["xdotool", *map(str, words)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True).stdout.strip()


def grab(x, y, width, height):
    """A part of the screen, as bytes."""
    return subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-f", "x11grab", "-draw_mouse", "0", "-video_size",
                           f"{width}x{height}", "-i", f"{os.environ['DISPLAY']}+{x},{y}", "-frames:v", "1", "-f",
                           "rawvideo", "-pix_fmt", "rgb24", "-"], stdout=subprocess.PIPE, check=True).stdout


def seen(*pattern):
    """The windows that are seen now. A window that goes meanwhile ends xdotool's search with an error of X: it is begun anew
    then. One that the window manager takes up is out of sight for a moment: what counts on a window counts on the answer
    that had it, not on the next one."""
    while True:
        found = subprocess.run(["xdotool", "search", "--onlyvisible", *pattern], stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, text=True)
        if "X Error" not in found.stderr:
            return found.stdout.split()


def windows():
    """All of the program, menus and lists that have popped up among them."""
    while not (found := seen("--class", "obs")):
        pass
    return set(found)


def named(name):
    return set(seen("--name", name))


def holds(condition, seconds=5):
    """What it comes to within that time, once that is true; else false."""
    end = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > end:
            return False
        time.sleep(0.05)
    return value


def geometry(window):
    """Left, top, width and height, as xdotool tells them: a dialog's title is counted twice. Nothing where it is gone."""
    told = dict(line.split("=") for line in xdotool("getwindowgeometry", "--shell", window).splitlines())
    return tuple(int(told[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")) if told else ()


class FiltersWindow:
    """That of one source, at the place that the positions here count on."""

    def __init__(self, obs, source):
        self.obs, self.source = obs, source

        former = named(source)

        def opened():  # each request closes the window of the one before: it is not made twice while that is on its way
            obs.ask("OpenInputFiltersDialog", inputName=source)
            return holds(lambda: named(source) - former, PATIENCE / 3)

        await_value("the filters' window", opened, PATIENCE)

        def stands():  # at the place, and no other one has come for it or has stayed
            for window in named(source) - former:
                xdotool("windowsize", window, WIDTH, HEIGHT)
                xdotool("windowmove", window, LEFT, TOP)
            self.settle()
            places = [geometry(window) for window in named(source)]
            if len(places) != 1 or places[0][2:] != (WIDTH, HEIGHT):
                return False
            border, self.title_height = places[0][0] - LEFT, places[0][1] - TOP
            return 0 <= border <= MOST_BORDER and 0 <= self.title_height <= MOST_TITLE

        await_value("the window's place", stands, PATIENCE)

    def settle(self):
        """Until the program's main thread waits for something to do, looked at four times; at most five seconds."""
        calm = 0

        def waits():
            nonlocal calm
            calm = calm + 1 if self.obs.main_loop_waits() else 0
            return calm == 4

        holds(waits)

    def click(self, x, y):
        xdotool("mousemove", x, y)
        self.settle()
        xdotool("click", 1)
        self.settle()

    def drag(self, from_x, to_x, y):
        xdotool("mousemove", from_x, y, "mousedown", 1)
        for x in range(from_x, to_x, 20):
            xdotool("mousemove", x, y)
            time.sleep(0.05)
        xdotool("mouseup", 1)
        self.settle()

    def scroll(self, steps):
        """Down, on the page."""
        xdotool("mousemove", 320, 700)
        for _ in range(steps):
            xdotool("click", 5)
        self.settle()

    def pop_up(self, what, x, y):
        """Clicks there until a window has opened. The new one."""
        before = windows()

        def opened():
            self.click(x, y)
            return holds(lambda: windows() - before)

        window = await_value(what, opened, PATIENCE).pop()
        self.settle()
        return window

    def answer(self, window, *keys):
        """By the keyboard, until the window is closed."""

        def closed():
            xdotool("key", *keys)
            return holds(lambda: window not in windows())

        await_value("the window is closed", closed, PATIENCE)
        self.settle()

    def cancel(self, dialog):
        """By its button, at the lower right: Escape may reach the window behind it, too."""
        left, top, width, height = await_value("the dialog's place", lambda: geometry(dialog))
        x, y = left + width - 60, top + height - 30 - self.title_height

        def closed():
            self.click(x, y)
            return holds(lambda: dialog not in windows())

        await_value("the dialog is closed", closed, PATIENCE)

    def add(self, steps_down, name):
        """By the + below the list: the menu's entry so many steps from its upper end, then the name."""
        menu = self.pop_up("the menu of filters", ADD_X, ADD_Y)
        xdotool("mousemove", *BESIDE_THE_MENU)  # an entry below the mouse would be where the steps begin
        self.settle()
        before = windows()
        self.answer(menu, *["Down"] * steps_down, "Return")
        dialog = await_value("the question for a name", lambda: named("Filter name")).pop()
        self.settle()
        xdotool("key", "ctrl+a")
        xdotool("type", name)
        self.settle()
        self.answer(dialog, "Return")
        assert windows() <= before, "another dialog has come"

    def show_page(self, index):
        """Of the filter at that place in the list, once the list shows it as chosen, and a page stands below the picture:
        before the first click the list shows one as chosen, too, and there is no page."""
        y = FIRST_FILTER_Y + index * FILTER_STEP

        def shown():
            chosen = grab(FILTER_X - 48, y, 2, 1)
            bluish = chosen[2] > chosen[0] + 20
            return bluish and grab(*PAGE_CORNER, 2, 1) == grab(*WINDOW_GROUND, 2, 1)

        def clicked():
            self.click(FILTER_X, y)
            return holds(shown)

        await_value("the filter's page is shown", clicked, PATIENCE)
        self.settle()
