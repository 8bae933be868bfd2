"""The zip for stock OBS Studio, unpacked into the real libobs for Windows and used by a program that knows nothing of it.
What that program sees is held against what the same program sees on this machine's own libobs."""
import argparse
import os
import re
import shutil
import subprocess
import sys

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
        modules = ["modules"] if load else []
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


def make_take(folder):
    """The take of the green screen's manual, before its key."""
    take = os.path.join(folder, "take.png")
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", os.path.join(ROOT, "docs", "green-screen.jpg"), "-vf",
                    "crop=480:270:0:0,scale=240:135", take], check=True)
    return take


# ---- Tests ----

def test_loads(arguments, folder):
    """Three filters with readable names; a host without the zip leaves as much behind."""
    host = WindowsHost(arguments, folder)
    run = host.run("names")
    names = run.names()
    assert [names.get(id) for id in FILTERS] == ["Face Beauty", "Green Screen", "Face Landmarks"], names
    assert not run.logged("Skipping module"), run.text
    base = WindowsHost(arguments, folder + "_base", unpack=False).run()
    assert run.number("leaks") == base.number("leaks"), (run.number("leaks"), base.number("leaks"))


def tables(file):
    """The names that a DLL exports, and those that it imports, by DLL."""
    text = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", file], check=True, stdout=subprocess.PIPE, text=True).stdout
    names = text.split("[Ordinal/Name Pointer] Table", 1)[1].split("\n\n", 1)[0]
    imports = {}
    for line in text.split("[Ordinal/Name Pointer] Table", 1)[0].splitlines():
        if "DLL Name:" in line:
            functions = imports.setdefault(line.split()[-1].lower(), set())
        elif imports and re.fullmatch(r"\t[0-9a-f]+\t\s*\d+\s+\S+", line):
            functions.add(line.split()[-1])
    return {line.split()[-1] for line in names.strip().splitlines()}, imports


def test_fits_the_real_host(arguments, folder):
    """The module exports its eleven names; both libraries import what the real libobs has, and the system."""
    host = WindowsHost(arguments, folder)
    real, _ = tables(os.path.join(host.binaries, "obs.dll"))
    module, module_imports = tables(host.path("obs-plugins", "64bit", "vanta_filter.dll"))
    layer, layer_imports = tables(os.path.join(host.binaries, "vanta_host.dll"))
    with open(os.path.join(ROOT, "tests", "windows", "tables", "exports.txt")) as file:
        assert module == {line.strip() for line in file if not line.startswith("#")}, module
    for imports in module_imports, layer_imports:
        assert len(imports["obs.dll"]) > 50 and imports["obs.dll"] <= real, imports["obs.dll"] - real
    assert "obs_register_source_s" in module_imports["vanta_host.dll"] <= layer
    assert set(module_imports) | set(layer_imports) == {"obs.dll", "vanta_host.dll", "kernel32.dll", "msvcrt.dll",
                                                        "shell32.dll", "ws2_32.dll"}, (module_imports, layer_imports)


def test_says_what_is_missing(arguments, folder):
    """One line each: the engine and the runner, the data."""
    host = WindowsHost(arguments, folder)
    for library in "Lumivex.dll", "tessera.dll":
        path = os.path.join(host.binaries, library)
        if os.path.exists(path):
            os.remove(path)
    run = host.run("names")
    assert len(run.logged("[vanta_host] no effect engine")) == 1, run.text
    assert len(run.logged("[vanta_host] no vision runner")) == 1, run.text
    assert set(FILTERS) <= set(run.names())
    shutil.rmtree(host.path("data", "obs-plugins", "vanta_filter"))
    run = host.run("names")
    assert len(run.logged("[vanta_host] the data folder of vanta_filter is missing")) == 1, run.text


def test_works_in_any_folder(arguments, folder):
    """The key's files are found below a name outside the code page, by libobs's own paths, which lead from its program's
    folder, and by whole ones."""
    host = WindowsHost(arguments, folder + " \u00e9 \u65e5\u672c \U0001F600")
    keyed = os.path.join(ARGUMENTS.scratch, "keyed.rgba")
    step = ["picture", windows_path(make_take(ARGUMENTS.scratch)), GREEN_SCREEN, KEY, windows_path(keyed)]
    whole = ["module", windows_path(host.path("obs-plugins/64bit/image-source.dll")),
             windows_path(host.path("data/obs-plugins/image-source")),
             "module", windows_path(host.path("obs-plugins/64bit/vanta_filter.dll")),
             windows_path(host.path("data/obs-plugins/vanta_filter"))]
    for modules in ["modules"], whole:
        host.run(*modules, *step, load=False)
        assert min(read_picture(keyed)[2][3::4]) < 16, "nothing is clear"
        os.remove(keyed)


def test_draws_what_linux_draws(arguments, folder):
    """The same picture through the host's own image source, plain and keyed; the same pages."""
    take = make_take(ARGUMENTS.scratch)
    host, own = WindowsHost(arguments, folder), OwnHost(arguments, folder + "_own")
    pictures = {}
    for name, system, path in ("windows", host, windows_path), ("own", own, os.path.abspath):
        files = [os.path.join(ARGUMENTS.scratch, f"{name}_{kind}.rgba") for kind in ("plain", "keyed")]
        run = system.run("picture", path(take), "-", "{}", path(files[0]), "picture", path(take), GREEN_SCREEN, KEY,
                         path(files[1]), "pages", *FILTERS)
        pictures[name] = [read_picture(file) for file in files], run.pages()
    (plain, keyed), pages = pictures["windows"]
    (own_plain, own_keyed), own_pages = pictures["own"]
    assert difference(plain, own_plain) <= 1, difference(plain, own_plain)
    assert difference(keyed, own_keyed) <= 1, difference(keyed, own_keyed)
    assert difference(plain, keyed) > 20, "the key does nothing"
    assert set(pages) == set(FILTERS)
    for id in FILTERS:
        assert controls(pages[id]) == controls(own_pages[id]), (pages[id], own_pages[id])


def controls(page):
    """Without what tells of the engine on this machine, and of the manual, which comes with the zip."""
    return [line for line in page if line.split()[0] not in ("vanta_status", "vanta_retry", "vanta_manual")]


def test_lives_through_changes(arguments, folder):
    """Filters come and go 200 times, sizes and formats change, a second thread draws, the end comes at work."""
    take = windows_path(make_take(ARGUMENTS.scratch))
    host = WindowsHost(arguments, folder)
    run = host.run("cycles", "200", *FILTERS, "sizes", "18", *FILTERS, "screenshots", "40", take, *FILTERS,
                   "leave", take, *FILTERS)
    assert "cycles done" in run.lines, run.text
    assert run.number("sizes drawn") == 18
    assert run.number("screenshots") == 40
    base = WindowsHost(arguments, folder + "_base", unpack=False).run()
    assert run.number("leaks") == base.number("leaks"), (run.number("leaks"), base.number("leaks"))


TESTS = {function.__name__[5:]: function
         for function in (test_loads, test_fits_the_real_host, test_says_what_is_missing, test_works_in_any_folder,
                          test_draws_what_linux_draws, test_lives_through_changes)}


def skip(why):
    print(f"skipped: {why}")
    sys.exit(SKIPPED)


ARGUMENTS = parse()
ROOT = ARGUMENTS.root
if not os.path.isdir(os.path.join(ARGUMENTS.host, "bin", "64bit")):
    skip("the real libobs for Windows is not here; scripts/fetch-obs-windows brings it where there is a network")
if "linux" in ARGUMENTS.test and not os.path.exists(os.path.join(ARGUMENTS.own, "plugins/vanta_filter/vanta_filter.so")):
    skip(f"no build of this machine's own in {ARGUMENTS.own}")
ARGUMENTS.scratch = os.path.join(ARGUMENTS.build, "real_host", ARGUMENTS.test)
shutil.rmtree(ARGUMENTS.scratch, ignore_errors=True)
os.makedirs(ARGUMENTS.scratch)
# Once for each test: it may run alone.
subprocess.run([ARGUMENTS.cpack, "--config", os.path.join(ARGUMENTS.build, "CPackConfig.cmake"), "-D",
                "CPACK_COMPONENTS_ALL=stock", "-B", os.path.join(ARGUMENTS.scratch, "zip")], check=True,
               stdout=subprocess.DEVNULL)
ARGUMENTS.zip = os.path.join(ARGUMENTS.scratch, "zip", f"vanta_filter-{ARGUMENTS.version}-windows-obs-studio.zip")
TESTS[ARGUMENTS.test](ARGUMENTS, os.path.join(ARGUMENTS.scratch, "host"))
