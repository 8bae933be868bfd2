"""The Debian package's plug-in in the distribution's own OBS Studio: the package takes a former one's place, filters are added
to a playing video, set, looked at, removed, saved and found again by the next run, and scenes that former versions have saved
(scenes/) work."""
import argparse
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

from obs_client import Obs, await_value

WIDTH, HEIGHT = 160, 90
BEAUTY, GREEN_SCREEN, LANDMARK = "face_beauty_filter_v2", "LX_green_screen_filter", "tessera_landmark_filter"
RED, GREEN = (200, 40, 40), (40, 180, 70)


def make_package(arguments, folder):
    subprocess.run([arguments.cpack, "-G", "DEB", "--config", os.path.join(arguments.build, "CPackConfig.cmake"),
                    "-B", folder], cwd=arguments.build, check=True, stdout=subprocess.DEVNULL)
    packages = glob.glob(os.path.join(folder, "vanta-filter_*.deb"))
    assert len(packages) == 1, packages
    return packages[0]


def check_package(package):
    def field(name):
        return subprocess.run(["dpkg-deb", "-f", package, name], check=True, stdout=subprocess.PIPE, text=True).stdout

    assert field("Package").strip() == "vanta-filter"
    depends = [entry.split()[0] for entry in field("Depends").split(",")]
    for name in "libobs0", "libc6", "libyuv0", "opencv-data":
        assert name in depends, (name, depends)


def former_package(package, folder):
    """The same files and one more, under a lower version."""
    subprocess.run(["dpkg-deb", "-R", package, folder], check=True)
    control = os.path.join(folder, "DEBIAN/control")
    with open(control) as file:
        text = re.sub(r"(?m)^Version: .*$", "Version: 0.0.1", file.read())
    with open(control, "w") as file:
        file.write(text)
    sums = os.path.join(folder, "DEBIAN/md5sums")
    if os.path.exists(sums):
        os.remove(sums)
    gone = os.path.join(folder, "usr/share/obs/obs-plugins/vanta_filter/gone.effect")
    with open(gone, "w") as file:
        file.write("of a former version")
    subprocess.run(["dpkg-deb", "--root-owner-group", "-b", folder, folder + ".deb"], check=True,
                   stdout=subprocess.DEVNULL)
    return folder + ".deb"


def upgrade(package, folder, root):
    """Into a system of nothing else below `root`: the former package, then this one over it."""
    database = os.path.join(root, "var/lib/dpkg")
    for name in "info", "updates", "triggers":
        os.makedirs(os.path.join(database, name))
    open(os.path.join(database, "status"), "w").close()
    for wanted in former_package(package, os.path.join(folder, "former")), package:
        subprocess.run(["dpkg", f"--root={root}", "--force-not-root", "--force-depends", "--force-bad-path", "--log=/dev/null",
                        "-i", wanted], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    gone = glob.glob(os.path.join(root, "usr/share/obs/obs-plugins/vanta_filter/gone.effect"))
    assert not gone, "a file of the former package has stayed"


def make_clip(path, block=RED):
    """Three seconds of a block before a green backing, which moves a little so that every frame is another."""
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    f"color=0x{bytes(GREEN).hex()}:s=640x360:r=30:d=3", "-f", "lavfi", "-i",
                    f"color=0x{bytes(block).hex()}:s=240x240:r=30:d=3", "-filter_complex",
                    "[0][1]overlay=200+8*sin(t*4):60,scale=out_color_matrix=bt709:out_range=tv", "-colorspace", "bt709",
                    "-color_range", "tv", "-c:v", "libx264", "-crf", "12", "-pix_fmt", "yuv420p", path], check=True)


def near(pixel, colour):
    return all(abs(a - b) <= 30 for a, b in zip(pixel, colour))


class Picture:
    def __init__(self, rows):
        self.middle, self.corner = rows[HEIGHT // 2][WIDTH // 2], rows[4][4]

    def plain(self):
        return near(self.middle, RED) and near(self.corner, GREEN) and self.middle[3] == self.corner[3] == 255

    def keyed(self):
        return near(self.middle, RED) and self.middle[3] > 240 and self.corner[3] < 16


def look(obs, source, kind):
    """Awaits a picture of that kind, and says what there was instead."""
    seen = []

    def attempt():
        seen[:] = [Picture(obs.screenshot(source, WIDTH, HEIGHT))]
        return getattr(seen[0], kind)()

    try:
        await_value(f"the picture is {kind}", attempt)
    except AssertionError as error:
        raise AssertionError(f"{error}; middle {seen[0].middle}, corner {seen[0].corner}") from None


def filters(obs):
    return [(entry["filterName"], entry["filterKind"]) for entry in
            obs.ask("GetSourceFilterList", sourceName="clip")["filters"]]


def end(obs):
    """Ends the run. The number of allocations that it did not free."""
    status = obs.interrupt()
    assert status == 0, f"exit status {status}"
    leaks = re.findall(r"Number of memory leaks: (\d+)", obs.log())
    assert len(leaks) == 1, leaks
    return int(leaks[0])


def add_clip(obs, clip):
    obs.ask("CreateInput", sceneName=obs.scene(), inputName="clip", inputKind="ffmpeg_source",
            inputSettings={"local_file": clip, "looping": True}, sceneItemEnabled=True)
    look(obs, "clip", "plain")


def bare_run(obs, clip):
    """Without the plug-in: what OBS Studio itself leaks where it loads what it saved (29.0.2: one allocation)."""
    obs.connect()
    obs.scene()
    if clip:
        add_clip(obs, clip)
    look(obs, "clip", "plain")
    return end(obs)


def first_run(obs, clip):
    obs.connect()
    obs.scene()
    add_clip(obs, clip)

    for name, kind in ("beauty", BEAUTY), ("landmarks", LANDMARK):
        obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=kind, filterSettings={})
        look(obs, "clip", "plain")
    obs.ask("SetSourceFilterSettings", sourceName="clip", filterName="beauty",
            filterSettings={"sceneitem_orientation_info": {"hor_flip": False, "rot_deg": 0}})

    # A key of another hue with spill left in, then the backing's.
    obs.ask("CreateSourceFilter", sourceName="clip", filterName="green", filterKind=GREEN_SCREEN,
            filterSettings={"config": '{"keyColor":[0.1,0.1,0.9],"spillSupEnabled":false}'})
    look(obs, "clip", "plain")
    key = ",".join(f"{part / 255:.3f}" for part in GREEN)
    obs.ask("SetSourceFilterSettings", sourceName="clip", filterName="green",
            filterSettings={"config": f'{{"keyColor":[{key}]}}'})
    look(obs, "clip", "keyed")

    # Removed and added again while the video plays.
    for _ in range(3):
        for name in "green", "beauty", "landmarks":
            obs.ask("RemoveSourceFilter", sourceName="clip", filterName=name)
        assert filters(obs) == [], filters(obs)
        look(obs, "clip", "plain")
        for name, kind in ("beauty", BEAUTY), ("landmarks", LANDMARK):
            obs.ask("CreateSourceFilter", sourceName="clip", filterName=name, filterKind=kind, filterSettings={})
        obs.ask("CreateSourceFilter", sourceName="clip", filterName="green", filterKind=GREEN_SCREEN,
                filterSettings={"config": f'{{"keyColor":[{key}]}}'})
        look(obs, "clip", "keyed")
    return end(obs)


def second_run(obs):
    obs.connect()
    obs.scene()
    names = {"beauty": BEAUTY, "landmarks": LANDMARK, "green": GREEN_SCREEN}
    await_value("the saved filters are back", lambda: dict(filters(obs)) == names)
    look(obs, "clip", "keyed")
    return end(obs)


def put_scene(home, name, clip):
    """As the only scene collection of a new home."""
    folder = os.path.join(home, "obs-studio/basic/scenes")
    os.makedirs(folder)
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "scenes", name)) as file:
        text = file.read().replace('"CLIP"', json.dumps(clip))
    with open(os.path.join(folder, "Untitled.json"), "w") as file:
        file.write(text)


def key_config(obs):
    return json.loads(obs.vendor("GetKey", source="clip", filter="green")["config"])


def run_former_scene(obs, values, config):
    """What was saved counts, and can be changed."""
    obs.connect()
    obs.scene()
    names = {"beauty": BEAUTY, "landmarks": LANDMARK, "green": GREEN_SCREEN}
    await_value("the saved filters are back", lambda: dict(filters(obs)) == names)
    look(obs, "clip", "keyed")
    now = obs.vendor("GetBeauty")
    assert {name: now[name] if isinstance(value, str) else round(now[name] * 100) for name, value in values.items()} == values, now
    now = key_config(obs)
    for name, value in config.items():
        assert now[name] == value or abs(now[name] - value) < 1e-6, (name, now)
    obs.vendor("SetBeauty", smooth=0.7)
    obs.vendor("SetKey", source="clip", filter="green", config='{"alphaShrink":1}')
    look(obs, "clip", "keyed")
    saved = obs.ask("GetSourceFilter", sourceName="clip", filterName="beauty")["filterSettings"]
    assert saved["beauty_smooth"] == 70 and saved["effect_json_ability_handler"] == 0, saved
    assert key_config(obs)["alphaShrink"] == 1
    return end(obs)


def run_without_pages(obs):
    """Before there were pages: nothing but what the filters read, and the address of another process's handler."""
    return run_former_scene(obs, {"smooth": 35, "whiten": 15, "ruddy": 10, "sharpen": 0, "lookup": ""},
                            {"similarity": 0.6, "keyColor": [0.157, 0.706, 0.275], "alphaShrink": 0})


def run_first_pages(obs):
    """Per cents of the green screen with a fraction, and nothing of makeup by color."""
    return run_former_scene(obs, {"smooth": 80, "whiten": 15, "chin": -20, "lookup": "nuan.cube", "lips_color": ""},
                            {"similarity": 0.601, "alphaShrink": 0.5, "spillSupColorMix": 0.5})


def main():
    parser = argparse.ArgumentParser()
    for name in "build", "cpack", "libdir":
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()
    home = tempfile.mkdtemp(prefix="vanta_stock_obs_")
    runs = []
    try:
        package = make_package(arguments, os.path.join(home, "package"))
        check_package(package)
        root = os.path.join(home, "root")
        upgrade(package, home, root)
        clip = os.path.join(home, "clip.mp4")
        make_clip(clip)
        prefix = os.path.join(root, "usr")
        bare_home = os.path.join(home, "bare")
        os.mkdir(bare_home)
        formers = {"without_pages.json": run_without_pages, "first_pages.json": run_first_pages}
        for name in formers:
            put_scene(os.path.join(home, name), name, clip)
        steps = [(bare_home, "/nowhere", lambda obs: bare_run(obs, clip)), (bare_home, "/nowhere", lambda obs: bare_run(obs, None)),
                 (home, prefix, lambda obs: first_run(obs, clip)), (home, prefix, second_run)]
        steps += [(os.path.join(home, name), prefix, run) for name, run in formers.items()]
        leaks = []
        for folder, plugin_prefix, step in steps:
            runs.append(Obs(folder, plugin_prefix, arguments.libdir))
            leaks.append(step(runs[-1]))
        print("memory leaks: without the plug-in, first and second run, then with it, then former scenes:", leaks)
        assert leaks[2] == 0 and leaks[2:] == [*leaks[:2], leaks[1], leaks[1]], leaks
    except BaseException:
        for run in runs[-1:]:
            print("\n".join(run.log().splitlines()[-80:]), file=sys.stderr)
        raise
    finally:
        for run in runs:
            run.kill()
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    main()
