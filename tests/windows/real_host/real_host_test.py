"""The zip for stock OBS Studio, unpacked into the real libobs for Windows and used by a program that knows nothing of it.
What that program sees is held against what the same program sees on this machine's own libobs."""
import argparse
import json
import os
import re
import shutil
import subprocess
import sys

SKIPPED = 77
BEAUTY, GREEN_SCREEN, LANDMARK = "face_beauty_filter_v2", "LX_green_screen_filter", "tessera_landmark_filter"
FILTERS = [BEAUTY, GREEN_SCREEN, LANDMARK]
FACE_SIGNAL = ["listen", "TesseraFacePointRet", "face_point", "face_cont"]
BEAUTY_LOOK = {"beauty_smooth": 100, "beauty_whiten": 100, "beauty_lookup": "nuan.cube", "beauty_lookup_strength": 100}
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

    def points(self):
        """Those of the faces of each message that was heard."""
        return [[[(point["first"], point["second"]) for point in face["pos"]] for face in json.loads(line[6:])["fans_face_point"]]
                for line in self.lines if line.startswith("heard ")]

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

    def config(self):
        return self.path("config", "vanta_filter")

    def has_font(self):
        """The libraries that draw effects' texts come with it."""
        return os.path.exists(self.path("data", "obs-plugins", "vanta_filter", "fonts"))

    def has_engines(self):
        """The effect engine and the vision runner: they are built together."""
        return os.path.exists(os.path.join(self.binaries, "tessera.dll"))


class OwnHost:
    """This machine's libobs with the module of a build folder."""

    def __init__(self, arguments, folder):
        self.arguments, self.folder = arguments, folder
        os.makedirs(folder, exist_ok=True)

    def run(self, *steps):
        library = subprocess.run(["pkg-config", "--variable=libdir", "libobs"], check=True, stdout=subprocess.PIPE,
                                 text=True).stdout.strip()
        modules = ["module", f"{library}/obs-plugins/image-source.so", "/usr/share/obs/obs-plugins/image-source",
                   "module", f"{library}/obs-plugins/obs-ffmpeg.so", "/usr/share/obs/obs-plugins/obs-ffmpeg",
                   "module", os.path.join(self.arguments.own, "plugins/vanta_filter/vanta_filter.so"),
                   os.path.join(self.arguments.root, "plugins/vanta_filter/data")]
        return Run([os.path.join(self.arguments.own, "tests/windows/real_host/plain_host"), "/usr/share/obs/libobs/", self.folder,
                    *modules, *steps], self.folder)

    def config(self):
        return os.path.join(self.folder, "vanta_filter")


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


CLIP_SIZE = 960, 480
LAST_NUMBER = 20


def make_clip(folder):
    """A portrait beside a take of a green screen; each picture has its number in squares, a bit each, and so have the forty at
    the end, which are one picture."""
    width, height = CLIP_SIZE
    picture = subprocess.run(
        ["ffmpeg", "-v", "error", "-nostdin", "-i", os.path.join(ROOT, "tests", "data", "portrait", "portrait.jpg"), "-i",
         make_take(folder), "-filter_complex",
         f"[0]scale={width // 2}:{height}:force_original_aspect_ratio=increase,crop={width // 2}:{height}[a];"
         f"[1]scale={width // 2}:{height}[b];[a][b]hstack", "-pix_fmt", "yuv420p", "-f", "rawvideo", "-"],
        check=True, stdout=subprocess.PIPE).stdout
    assert len(picture) == width * height * 3 // 2, len(picture)
    clip = os.path.join(folder, "clip.nut")
    writer = subprocess.Popen(
        ["ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", f"{width}x{height}", "-r", "30",
         "-i", "/dev/stdin", "-c:v", "rawvideo", clip], stdin=subprocess.PIPE)
    for number in list(range(LAST_NUMBER)) + [LAST_NUMBER] * 40:
        writer.stdin.write(numbered(bytearray(picture), number))
    writer.stdin.close()
    assert writer.wait() == 0
    return clip


def numbered(picture, number):
    """As the plain host reads it, in black and white."""
    width, height = CLIP_SIZE
    for bit in range(8):
        for y in range(16):
            at = y * width + 16 * bit
            picture[at:at + 16] = bytes([235 if number >> bit & 1 else 16]) * 16
    for plane in 0, 1:
        for y in range(8):
            at = width * height * (4 + plane) // 4 + y * width // 2
            picture[at:at + 64] = b"\x80" * 64
    return picture


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
    """The module exports its eleven names; all libraries import what the real libobs has, and the system; the engine and the
    runner have what the module calls, and the runner what the engine calls."""
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
    if host.has_engines():
        runner, _ = tables(os.path.join(host.binaries, "tessera.dll"))
        for name, neighbours in ("tessera", set()), ("Lumivex", {"tessera.dll"}):
            exports, imports = tables(os.path.join(host.binaries, f"{name}.dll"))
            with open(os.path.join(ROOT, "cmake", "windows", "imports", f"{name}.itanium.def")) as file:
                assert {line.strip() for line in file if not line.startswith("#")} <= exports, exports
            assert imports["obs.dll"] == {"blog"}, imports["obs.dll"]
            assert set(imports) == {"obs.dll", "kernel32.dll", "msvcrt.dll"} | neighbours, set(imports)
            assert imports.get("tessera.dll", set()) <= runner, imports["tessera.dll"] - runner


def play(clip, id, settings, out, path, line="-"):
    """Steps: the clip in the host's own media source, with that filter."""
    return ["media", path(clip), str(LAST_NUMBER), id, settings, line, path(out)]


ENGINE_STARTS = "[lumivex] engine for"


def test_says_what_is_missing(arguments, folder):
    """One line each: the engine's data, the cascades, the engine, without which a clip passes untouched, the runner, all data."""
    host = WindowsHost(arguments, folder)
    clip = make_clip(ARGUMENTS.scratch)
    data = host.path("data", "obs-plugins", "vanta_filter")
    if host.has_engines():
        shutil.rmtree(os.path.join(data, "faceless_builtin"))
        shutil.rmtree(os.path.join(data, "cascades"))
        none = os.path.join(ARGUMENTS.scratch, "none.rgba")
        run = host.run(*play(clip, LANDMARK, "{}", none, windows_path),
                       *play(clip, BEAUTY, "{}", none, windows_path, ENGINE_STARTS))
        assert len(run.logged("[lumivex] no data folder: ")) == 1, run.text
        assert len(run.logged("[tessera] no faces will be found")) == 1, run.text
        assert not run.logged("[vanta_host] no "), run.text
        os.remove(os.path.join(host.binaries, "Lumivex.dll"))
        files = [os.path.join(ARGUMENTS.scratch, f"{kind}.rgba") for kind in ("plain", "passed")]
        run = host.run(*play(clip, "-", "{}", files[0], windows_path),
                       *play(clip, BEAUTY, json.dumps(BEAUTY_LOOK), files[1], windows_path))
        missing = run.logged("[vanta_host] no effect engine: the picture passes untouched (Lumivex.dll cannot be loaded")
        assert len(missing) == len(run.logged("[vanta_host] no ")) == 1, run.text
        plain, passed = map(read_picture, files)
        assert plain == passed, difference(plain, passed)
        os.remove(os.path.join(host.binaries, "tessera.dll"))
    run = host.run("names")
    assert len(run.logged("[vanta_host] no effect engine")) == 1, run.text
    assert len(run.logged("[vanta_host] no vision runner")) == 1, run.text
    assert set(FILTERS) <= set(run.names())
    shutil.rmtree(data)
    run = host.run("names")
    assert len(run.logged("[vanta_host] the data folder of vanta_filter is missing")) == 1, run.text
    os.remove(os.path.join(host.binaries, "vanta_host.dll"))
    run = host.run("names")
    assert len(run.logged("LoadLibrary failed for '../../obs-plugins/64bit/vanta_filter.dll'")) == 1, run.text
    assert not set(FILTERS) & set(run.names())


def test_refuses_the_module_of_customised_hosts(arguments, folder):
    """Released libobs lacks what that module imports, and refuses its records where the system loads it all the same, as Wine
    does; the host goes on."""
    host = WindowsHost(arguments, folder)
    shutil.copy(os.path.join(arguments.build, "plugins", "vanta_filter", "vanta_filter.dll"), host.path("obs-plugins", "64bit"))
    names = host.run("names").names()
    assert names and not set(FILTERS) & set(names), names


NAMED = "\u00e9 \u65e5\u672c \U0001F600"  # outside of every code page


def test_works_in_any_folder(arguments, folder):
    """The key's files, the engine's and the runner's are found below such a name, by libobs's own paths, which lead from its
    program's folder, and by whole ones, which the module has no text for: the engine's log says where it looks instead."""
    host = WindowsHost(arguments, f"{folder} {NAMED}")
    keyed, green = (os.path.join(ARGUMENTS.scratch, f"{kind}.rgba") for kind in ("keyed", "green"))
    step = ["picture", windows_path(make_take(ARGUMENTS.scratch)), GREEN_SCREEN, KEY, windows_path(keyed)]
    whole = ["module", windows_path(host.path("obs-plugins/64bit/image-source.dll")),
             windows_path(host.path("data/obs-plugins/image-source")),
             "module", windows_path(host.path("obs-plugins/64bit/obs-ffmpeg.dll")),
             windows_path(host.path("data/obs-plugins/obs-ffmpeg")),
             "module", windows_path(host.path("obs-plugins/64bit/vanta_filter.dll")),
             windows_path(host.path("data/obs-plugins/vanta_filter"))]
    if host.has_engines():
        clip = make_clip(ARGUMENTS.scratch)
        data = host.path("data", "obs-plugins", "vanta_filter", "faceless_builtin")
        with open(os.path.join(data, "lookups", f"{NAMED}.cube"), "w", encoding="ascii") as table:
            table.write("LUT_3D_SIZE 2\n" + 2 * ("0 0 0\n" * 2 + "0 1 0\n" * 2))  # nothing but green, which has the number
        look = {"beauty_lookup": f"{NAMED}.cube", "beauty_lookup_strength": 100}
        step += play(clip, BEAUTY, json.dumps(look), green, windows_path, ENGINE_STARTS)
        step += FACE_SIGNAL + play(clip, LANDMARK, "{}", os.path.join(ARGUMENTS.scratch, "face.rgba"), windows_path)
    for modules in ["modules"], whole:
        run = host.run(*modules, *step, load=False)
        if host.has_engines():
            assert run.logged("[tessera] faces by ")[0].endswith("haarcascade_frontalface_alt2.xml"), run.text
            assert [len(faces) for faces in run.points()] == [1], run.text
            red = read_picture(green)[2][0::4]
            assert sum(red) / len(red) < 16, "the table is not in use"
            lines = run.logged("[lumivex] data folder: ")
            assert len(lines) == (modules is whole) and all(NAMED in line for line in lines), run.text
            os.remove(green)
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


def test_plays_what_linux_plays(arguments, folder):
    """A clip through the host's own media source, plain, keyed, with the engine's beauty, and looked at for faces: the same
    pictures, the same points."""
    host, own = WindowsHost(arguments, folder), OwnHost(arguments, folder + "_own")
    clip = make_clip(ARGUMENTS.scratch)
    pictures, points = {}, {}
    for name, system, path in ("windows", host, windows_path), ("own", own, os.path.abspath):
        files = {kind: os.path.join(ARGUMENTS.scratch, f"{name}_{kind}.rgba") for kind in ("plain", "keyed", "faces")}
        steps = play(clip, "-", "{}", files["plain"], path) + play(clip, GREEN_SCREEN, KEY, files["keyed"], path)
        if host.has_engines():
            files["beauty"] = os.path.join(ARGUMENTS.scratch, f"{name}_beauty.rgba")
            steps += play(clip, BEAUTY, json.dumps(BEAUTY_LOOK), files["beauty"], path, ENGINE_STARTS)
            steps += FACE_SIGNAL
        run = system.run(*steps, *play(clip, LANDMARK, "{}", files["faces"], path))
        pictures[name] = {kind: read_picture(file) for kind, file in files.items()}
        points[name] = run.points()
    windows, linux = pictures["windows"], pictures["own"]
    for kind in windows:
        assert difference(windows[kind], linux[kind]) <= 1, (kind, difference(windows[kind], linux[kind]))
    assert difference(windows["plain"], windows["keyed"]) > 10, "the key does nothing"
    if host.has_engines():
        assert difference(windows["plain"], windows["beauty"]) > 4, "the engine does nothing"
        assert same_points(points["windows"][0], points["own"][0]), points


TEXT, UNREADABLE = "\u65e5\u672c \u00dcnal", "?? ?nal"
EFFECT_IS_LOADED = "[beauty] event_name= "


def play_text(system, path, text, name):
    """The clip's picture below an effect that shows the text, which lies where the host's user has his own."""
    effect = os.path.join(system.config(), "effects", name)
    os.makedirs(effect)
    with open(os.path.join(effect, "effect.json"), "w", encoding="ascii") as file:
        json.dump({"format": 1, "layers": [{"text": text, "size": 0.9}]}, file)
    out = os.path.join(ARGUMENTS.scratch, f"{name}.rgba")
    clip = os.path.join(ARGUMENTS.scratch, "clip.nut")
    run = system.run(*play(clip, BEAUTY, json.dumps({"beauty_effect": name}), out, path, EFFECT_IS_LOADED))
    assert not run.logged("texts are drawn in ASCII"), run.text
    return read_picture(out)


def test_writes_what_linux_writes(arguments, folder):
    """An effect's text in two scripts, with the font of the zip, in a folder of any name, and one of the system's."""
    host, own = WindowsHost(arguments, f"{folder} {NAMED}"), OwnHost(arguments, folder + "_own")
    if not host.has_font():
        skip("built without FreeType and HarfBuzz")
    make_clip(ARGUMENTS.scratch)
    windows = play_text(host, windows_path, TEXT, "windows")
    unreadable = play_text(host, windows_path, UNREADABLE, "unreadable")
    linux = play_text(own, os.path.abspath, TEXT, "linux")
    letters, system = difference(windows, unreadable), difference(windows, linux)
    assert letters > 1 and system <= letters / 8, (letters, system)


def same_points(faces, others):
    """One face, whose points are within a pixel."""
    return len(faces) == len(others) == 1 and len(faces[0]) == len(others[0]) == 5 and all(
        abs(a - b) <= 1 for point, other in zip(faces[0], others[0]) for a, b in zip(point, other))


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
         for function in (test_loads, test_fits_the_real_host, test_refuses_the_module_of_customised_hosts,
                          test_says_what_is_missing, test_works_in_any_folder, test_draws_what_linux_draws,
                          test_plays_what_linux_plays, test_writes_what_linux_writes, test_lives_through_changes)}


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
