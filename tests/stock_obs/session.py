"""What the tests of the plug-in of a build folder share: a home for OBS Studio's settings, a clip, and one run after the
other of the program."""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile

import stock_obs_test as stock
from obs_client import Obs

LIBDIR = "lib"


def link_plugin(root, build, prefix):
    """The plug-in of a build folder, where OBS Studio looks for it: below `prefix`."""
    for source, target in ((os.path.join(build, "plugins/vanta_filter/vanta_filter.so"),
                            f"{LIBDIR}/obs-plugins/vanta_filter.so"),
                           (os.path.join(root, "plugins/vanta_filter/data"), "share/obs/obs-plugins/vanta_filter")):
        target = os.path.join(prefix, target)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        os.symlink(os.path.abspath(source), target)


class Session:
    """For `with`: what goes wrong inside is followed by the end of the last run's log, and nothing is left behind."""

    def __init__(self, build, root, window_manager=False, on_failure=None, block=stock.RED):
        self.home = tempfile.mkdtemp(prefix="vanta_obs_")
        self.prefix = os.path.join(self.home, "usr")
        link_plugin(root, build, self.prefix)
        self.clip = os.path.join(self.home, "clip.mp4")
        stock.make_clip(self.clip, block)
        self.manager = subprocess.Popen(["openbox"], stderr=subprocess.DEVNULL) if window_manager else None
        self.on_failure = on_failure
        self.obs = None

    def start(self, language="en-US", **connection):
        """A run with what the former one has saved. Only one at a time."""
        if self.obs:
            self.obs.kill()
        self.obs = Obs(self.home, self.prefix, LIBDIR, language)
        self.obs.connect(**connection)
        self.obs.scene()
        return self.obs

    def start_with_clip(self, **connection):
        stock.add_clip(self.start(**connection), self.clip)
        return self.obs

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind and self.on_failure:
            self.on_failure()
        if kind and self.obs:
            print("\n".join(self.obs.log().splitlines()[-60:]), file=sys.stderr)
        if self.obs:
            self.obs.kill()
        if self.manager:
            self.manager.kill()
        shutil.rmtree(self.home, ignore_errors=True)


def arguments():
    """Of a test: --build and --root."""
    parser = argparse.ArgumentParser()
    for name in "build", "root":
        parser.add_argument(f"--{name}", required=True)
    return parser.parse_args()
