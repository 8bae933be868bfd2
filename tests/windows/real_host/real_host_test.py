"""The zip for stock OBS Studio, unpacked into the real libobs for Windows and used by a program that knows nothing of it.
What that program sees is held against what the same program sees on this machine's own libobs."""
import argparse
import os
import re
import shutil
import struct
import subprocess
import sys
import zlib

SKIPPED = 77
BEAUTY, GREEN_SCREEN, LANDMARK = "face_beauty_filter_v2", "LX_green_screen_filter", "tessera_landmark_filter"
FILTERS = [BEAUTY, GREEN_SCREEN, LANDMARK]
KEY = '{"config": "{\\"keyColor\\": [0.16, 0.7, 0.27], \\"denoiseEnabled\\": false}"}'


def parse():
    parser = argparse.ArgumentParser()
    parser.add_argument("--host", required=True, help="folder of the real libobs for Windows")
    parser.add_argument("--build", required=True, help="the Windows build")
    parser.add_argument("--own", required=True, help="a build of this machine's own")
    parser.add_argument("--root", required=True, help="the sources")
    parser.add_argument("--wine", required=True, help="runs a Windows program")
    parser.add_argument("--cpack", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("test")
    return parser.parse_args()


def windows_path(path):
    """Wine shows the whole file system as drive Z."""
    return "Z:" + os.path.abspath(path)


class Run:
    """What one run of the plain host told."""

    def __init__(self, command, folder, check=True):
        done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=240)
        self.text = done.stdout.decode("utf-8", "replace").replace("\r", "")
        self.code = done.returncode
        self.lines = self.text.split("\n")
        if check:
            assert self.code == 0 and "done" in self.lines, f"exit code {self.code}\n{self.text[-6000:]}\n{done.stderr[-2000:]}"

    def logged(self, text):
        return [line for line in self.lines if line.startswith("log ") and text in line]

    def number(self, name):
        return int(re.search(rf"^{name} (-?\d+)$", self.text, re.M).group(1))

    def names(self):
        return dict(line[5:].split(" = ", 1) for line in self.lines if line.startswith("name "))

    def pages(self):
        pages = {}
        for line in self.lines:
            if line.startswith("page "):
                controls = pages.setdefault(line[5:], [])
            elif line.startswith("  "):
                controls.append(line)
        return pages


class WindowsHost:
    """A copy of the real host's folders with the zip unpacked into it."""

    def __init__(self, arguments, folder, unpack=True):
        self.arguments, self.folder = arguments, folder
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(arguments.host, folder, copy_function=link)
        if unpack:
            subprocess.run(["unzip", "-q", "-o", arguments.zip, "-d", folder], check=True)
        self.binaries = os.path.join(folder, "bin", "64bit")
        shutil.copy(os.path.join(arguments.build, "bin", "plain_host.exe"), self.binaries)

    def run(self, *steps, check=True, load=True):
        config = os.path.join(self.folder, "config")
        os.makedirs(config, exist_ok=True)
        modules = ["modules", "../../obs-plugins/64bit", "../../data/obs-plugins/%module%"] if load else []
        return Run([self.arguments.wine, os.path.join(self.binaries, "plain_host.exe"), "../../data/libobs/",
                    windows_path(config), *modules, *steps], self.binaries, check)

    def path(self, *parts):
        return os.path.join(self.folder, *parts)


class OwnHost:
    """This machine's libobs with the module of a build folder."""

    def __init__(self, arguments, folder):
        self.arguments, self.folder = arguments, folder
        os.makedirs(folder, exist_ok=True)

    def run(self, *steps):
        library = subprocess.run(["pkg-config", "--variable=libdir", "libobs"], check=True, stdout=subprocess.PIPE,
                                 text=True).stdout.strip()
        modules = ["module", f"{library}/obs-plugins/image-source.so", "/usr/share/obs/obs-plugins/image-source",
                   "module", os.path.join(self.arguments.own, "plugins/vanta_filter/vanta_filter.so"),
                   os.path.join(self.arguments.root, "plugins/vanta_filter/data")]
        return Run([os.path.join(self.arguments.own, "tests/windows/real_host/plain_host"), "/usr/share/obs/libobs/", self.folder,
                    *modules, *steps], self.folder)


def link(source, target):
    """Nothing writes to the host's files: a copy of each would take a while."""
    try:
        os.link(source, target)
    except OSError:
        shutil.copy2(source, target)


def read_picture(path):
    with open(path, "rb") as file:
        width, height = map(int, file.readline().split())
        return width, height, file.read()


def difference(one, other):
    """Mean over the channels, in levels."""
    assert one[:2] == other[:2], (one[:2], other[:2])
    return sum(abs(a - b) for a, b in zip(one[2], other[2])) / len(one[2])


def crop(source, target, x, y, width, height):
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", source, "-vf", f"crop={width}:{height}:{x}:{y}",
                    target], check=True)
