"""The filters' window of a running OBS Studio, and a mouse in it. Needs xdotool and openbox on the display."""
import os
import subprocess
import time

from obs_client import await_value

LIBDIR = "lib"
LEFT, TOP, WIDTH, HEIGHT = 20, 20, 1000, 960
TITLE_HEIGHT = 22  # of a window
FILTER_X, FIRST_FILTER_Y, FILTER_STEP = 88, 555, 34  # entries of the lower list, pixels of the screen


def grab(x, y, width, height):
    """A part of the screen, as bytes."""
    return subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-f", "x11grab", "-draw_mouse", "0", "-video_size",
                           f"{width}x{height}", "-i", f"{os.environ['DISPLAY']}+{x},{y}", "-frames:v", "1", "-f",
                           "rawvideo", "-pix_fmt", "rgb24", "-"], stdout=subprocess.PIPE, check=True).stdout


def link_plugin(root, build, prefix):
    """The plug-in of a build folder, where OBS Studio looks for it: below `prefix`."""
    for source, target in ((os.path.join(build, "plugins/vanta_filter/vanta_filter.so"),
                            f"{LIBDIR}/obs-plugins/vanta_filter.so"),
                           (os.path.join(root, "plugins/vanta_filter/data"), "share/obs/obs-plugins/vanta_filter")):
        target = os.path.join(prefix, target)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        os.symlink(os.path.abspath(source), target)


def xdotool(*words):
    return subprocess.run(["xdotool", *map(str, words)], stdout=subprocess.PIPE, text=True).stdout.strip()


def click(x, y):
    xdotool("mousemove", x, y)
    time.sleep(0.2)
    xdotool("click", 1)
    time.sleep(0.5)


def drag(from_x, to_x, y):
    xdotool("mousemove", from_x, y, "mousedown", 1)
    for x in range(from_x, to_x, 20):
        xdotool("mousemove", x, y)
        time.sleep(0.05)
    xdotool("mouseup", 1)


def scroll(steps):
    """Down, on the page."""
    xdotool("mousemove", 320, 700)
    for _ in range(steps):
        xdotool("click", 5)
    time.sleep(0.5)


def open_filters(obs, source):
    """Opens the window at the place that the positions here count on. The window."""

    def opened():  # asked again, since one that is still closing is not opened anew
        obs.ask("OpenInputFiltersDialog", inputName=source)
        time.sleep(1)
        return xdotool("search", "--onlyvisible", "--name", source)

    window = await_value("the filters' window", opened).split()[-1]
    xdotool("windowsize", window, WIDTH, HEIGHT)
    xdotool("windowmove", window, LEFT, TOP)
    time.sleep(1.5)
    return window


def cancel(dialog):
    """By its button, at the lower right: Escape may reach the window behind it, too. xdotool counts the title twice."""
    place = dict(line.split("=") for line in xdotool("getwindowgeometry", "--shell", dialog).splitlines())
    click(int(place["X"]) + int(place["WIDTH"]) - 60, int(place["Y"]) + int(place["HEIGHT"]) - 30 - TITLE_HEIGHT)


def show_page(index):
    """Of the filter at that place in the list."""
    click(FILTER_X, FIRST_FILTER_Y + index * FILTER_STEP)
    time.sleep(1)
