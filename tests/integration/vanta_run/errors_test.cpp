// What vanta-run says, and with which code it ends, when it cannot do what was asked.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <opencv2/imgcodecs.hpp>

#include "common/video_device.h"
#include "program.h"

namespace vanta_test {
namespace {

// One line, with the subject, the reason and the remedy.
void ExpectOneLine(const ProgramResult &result) {
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(result.err.rfind("vanta-run: ", 0), 0u) << result.err;
  EXPECT_NE(result.err.find("; "), std::string::npos) << result.err;
}

void ExpectRefusal(const Workplace &workplace, const std::vector<std::string> &arguments, int code,
                   const std::string &part, const ProgramSetting &setting = {}) {
  const ProgramResult result = RunProgram(workplace, arguments, setting);
  EXPECT_EQ(result.exit_code, code) << result.err;
  EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
  ExpectOneLine(result);
}

void WriteFile(const std::filesystem::path &path, const std::string &text) {
  std::ofstream(path, std::ios::binary) << text;
}

TEST(RunErrors, UnknownOptionIsAUsageError) {
  ExpectRefusal(Workplace(), {"--nope"}, 2, "--nope");
}

TEST(RunErrors, OptionWithoutItsValueIsAUsageError) {
  ExpectRefusal(Workplace(), {"--input"}, 2, "value is missing");
}

TEST(RunErrors, BareWordIsAUsageError) {
  ExpectRefusal(Workplace(), {"clip.mp4"}, 2, "--input clip.mp4");
}

TEST(RunErrors, NoInputIsAUsageError) {
  ExpectRefusal(Workplace(), {"--quiet"}, 2, "--input");
}

struct BadValue {
  const char *name;
  std::vector<std::string> option;
};

class RunBadValues : public testing::TestWithParam<BadValue> {};

TEST_P(RunBadValues, AreUsageErrors) {
  std::vector<std::string> arguments = {"--input", "color:203040"};
  arguments.insert(arguments.end(), GetParam().option.begin(), GetParam().option.end());
  ExpectRefusal(Workplace(), arguments, 2, GetParam().option[0]);
}

INSTANTIATE_TEST_SUITE_P(
    All, RunBadValues,
    testing::Values(
        BadValue{"Size", {"--size", "1280"}}, BadValue{"TinySize", {"--size", "8x8"}}, BadValue{"Rate", {"--fps", "0"}},
        BadValue{"RateText", {"--fps", "fast"}}, BadValue{"Seconds", {"--seconds", "-1"}},
        BadValue{"Frames", {"--frames", "1.5"}}, BadValue{"BeautyName", {"--beauty", "charm=0.5"}},
        BadValue{"BeautyRange", {"--beauty", "smooth=1.5"}}, BadValue{"BeautyForm", {"--beauty", "smooth"}},
        BadValue{"Stage", {"--stage", "beauty=perhaps"}}, BadValue{"StageName", {"--stage", "charm=on"}},
        BadValue{"Lookup", {"--lookup", "missing.cube"}}, BadValue{"Settings", {"--settings", "[1]"}},
        BadValue{"Switch", {"--async-commands", "maybe"}}, BadValue{"Color", {"--input", "color:12"}},
        BadValue{"Background", {"--background", "color:12"}}, BadValue{"KeyText", {"--green-screen", "{\"keyColor\":"}},
        BadValue{"KeyEmpty", {"--green-screen", ""}}, BadValue{"Delay", {"--engine-delay", "long"}},
        BadValue{"DelayRange", {"--engine-delay", "1e12"}}, BadValue{"DeformName", {"--deform", "charm=0.5"}},
        BadValue{"DeformRange", {"--deform", "eye_size=-0.5"}}, BadValue{"SlimName", {"--slim", "charm=0.5"}},
        BadValue{"DeformWithoutFilter", {"--no-beauty", "--deform", "chin=1"}},
        BadValue{"DumpFrame", {"--dump-frame", "0"}}, BadValue{"DumpFrameText", {"--dump-frame", "last"}},
        BadValue{"DumpFramePrefix", {"--dump-frame", "3="}},
        BadValue{"DumpFramePastTheEnd", {"--dump-frame", "9", "--frames", "8"}},
        BadValue{"DumpFrameOfTextures", {"--dump-frame", "9", "--gl-context", "on"}},
        BadValue{"CompareOfTextures", {"--compare", "c.png", "--gl-context", "on"}},
        BadValue{"DumpFrameWithoutFilter", {"--no-beauty", "--dump-frame", "9"}},
        BadValue{"Ending", {"--output", "out.doc"}}, BadValue{"EventName", {"--event", ""}},
        BadValue{"EffectFolder", {"--effect", ""}}, BadValue{"MakeupIntensity", {"--makeup", ".=2"}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(RunErrors, FolderThatHoldsNoEffectIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "color:000000", "--effect", "missing"}, 3, "no such folder");
  ExpectRefusal(Workplace(), {"--input", "color:000000", "--effect", "."}, 3, "no effect.json");
}

// The engine would go on with the look that it has, and say so in the log alone.
TEST(RunErrors, PresetThatTheEngineCannotTakeIsAnInputError) {
  const Workplace workplace;
  WriteFile(workplace / "group.json", R"({"format":1,"presets":["baixi","light.json"]})");
  WriteFile(workplace / "notes.txt", "nothing to see here");
  for (const auto &[group, part] : {std::pair{"jingdain", "jingdain.json: No such file"},
                                    {"jingdain", "or one of the names baixi, hongrun, jingdian"},
                                    {"./missing.json", "missing.json: No such file"},
                                    {"notes.txt", "notes.txt: is no preset"},
                                    {"group.json", "light.json: No such file"}}) {
    ExpectRefusal(workplace, {"--input", "color:000000", "--group", group}, 3, part);
  }
}

TEST(RunErrors, LookupThatIsNoTableIsAnInputError) {
  const Workplace workplace;
  WriteFile(workplace / "notes.txt", "nothing to see here");
  WriteFile(workplace / "notes.cube", "TITLE nothing");
  for (const char *name : {"notes.txt", "notes.cube"}) {
    ExpectRefusal(workplace, {"--input", "color:000000", "--lookup", name}, 3,
                  std::string(name) + ": is no colour table");
  }
}

TEST(RunErrors, MissingMakeupFolderIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "color:000000", "--makeup", "missing=0.5"}, 3, "no such folder");
}

TEST(RunErrors, MissingAnswersAreAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "color:000000", "--ability-answers", "missing"}, 3, "No such file");
}

TEST(RunErrors, MissingFileIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "missing.mp4"}, 3, "No such file");
}

TEST(RunErrors, CameraThatIsNotThereIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "/dev/video987"}, 3, "/dev/video987: there is no such camera; ");
}

TEST(RunErrors, DeviceThatIsNoCameraIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "/dev/null"}, 3, "/dev/null: is no camera");
}

TEST(RunErrors, VirtualCameraWithoutADeviceIsAModuleErrorBeforeTheRunStarts) {
  if (vanta_run::HasLoopDevice()) GTEST_SKIP() << "this system has one";
  const Workplace workplace;
  ExpectRefusal(workplace, {"--input", "color:203040", "--virtual-camera", "--output", "o.mp4"}, 5,
                "--virtual-camera: this system has no v4l2loopback device; ");
  EXPECT_EQ(workplace.Files(), std::vector<std::string>{});
}

TEST(RunErrors, FolderIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "/tmp"}, 3, "is a folder");
}

TEST(RunErrors, PipeIsAnInputErrorAndNotWaitedFor) {
  const Workplace workplace;
  ASSERT_EQ(mkfifo((workplace / "pipe.mp4").c_str(), 0600), 0);
  ExpectRefusal(workplace, {"--input", "pipe.mp4"}, 3, "pipe.mp4: is no regular file; ");
}

// Each is read by the program before it starts anything.
TEST(RunErrors, TextFileThatNobodyWritesToOrThatHasNoEndIsAnInputError) {
  const Workplace workplace;
  ASSERT_EQ(mkfifo((workplace / "pipe").c_str(), 0600), 0);
  WriteFile(workplace / "holes", "{");
  std::filesystem::resize_file(workplace / "holes", uintmax_t{4} << 30);
  ExpectRefusal(workplace, {"--input", "color:000000", "--commands", "pipe"}, 3,
                "pipe: is a pipe into which nobody writes; ");
  for (const char *option : {"--commands", "--ability-answers", "--green-screen"}) {
    ExpectRefusal(workplace, {"--input", "color:000000", option, "holes"}, 3, "holes: is longer than ");
    ExpectRefusal(workplace, {"--input", "color:000000", option, "/dev/zero"}, 3, "/dev/zero: is longer than ");
  }
  ExpectRefusal(workplace, {"--input", "color:000000", "--group", "./holes"}, 3, "holes: is longer than 1 MiB; ");
}

// The engine finds it when the run has begun, and goes on without it.
TEST(RunErrors, FileThatTheEngineCannotUseIsToldInALineAndByTheExitCode) {
  const Workplace workplace;
  WriteFile(workplace / "bad.cube", "LUT_3D_SIZE much");
  std::filesystem::create_directory(workplace / "layer");
  WriteFile(workplace / "layer/makeup.json", "{");
  std::filesystem::create_directory(workplace / "effect");
  WriteFile(workplace / "effect/effect.json", "{");
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "color:203040", "--size", "64x36", "--frames", "3", "--every-frame",
                             "--lookup", "bad.cube", "--makeup", "layer", "--effect", "effect", "--snapshot", "s.png"});
  EXPECT_EQ(result.exit_code, 8) << result.err;
  EXPECT_FALSE(cv::imread((workplace / "s.png").string()).empty());
  for (const char *part : {"vanta-run: lookup table ", "bad.cube: ", "vanta-run: makeup ", "vanta-run: magic effect "})
    EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 3) << result.err;
}

TEST(RunErrors, FileThatIsNotThereYetOrNotWholeSaysSo) {
  const Workplace workplace;
  WriteFile(workplace / "empty.mp4", "");
  ExpectRefusal(workplace, {"--input", "empty.mp4"}, 3, "empty.mp4: is empty; ");
  WriteFile(workplace / "begun.mp4", std::string("\0\0\0\20ftypisom\0\0\2\0\0\0\0\0mdat", 24));
  ExpectRefusal(workplace, {"--input", "begun.mp4"}, 3, "begun.mp4: its index is missing: it is still being written");
  WriteFile(workplace / "moving.webp", std::string("RIFF\x20\0\0\0WEBPVP8X\n\0\0\0\2", 21) + std::string(19, '\0'));
  ExpectRefusal(workplace, {"--input", "moving.webp"}, 3, "moving.webp: an animated WebP is not played; ");
  ExpectRefusal(workplace, {"--input=-"}, 3, "-: standard input cannot be read twice; ");
}

TEST(RunErrors, PictureNamedAsAnotherKindThanPngIsAUsageError) {
  for (const char *option : {"--snapshot", "--matte", "--compare", "--plot"}) {
    ExpectRefusal(Workplace(), {"--input", "color:203040", option, "s.JPG"}, 2,
                  std::string(option) + ": bad value 's.JPG'; the picture is a PNG");
  }
}

TEST(RunErrors, EmptyValueIsAUsageError) {
  for (const char *option : {"--output", "--snapshot", "--background", "--report"}) {
    ExpectRefusal(Workplace(), {"--input", "color:203040", option, ""}, 2,
                  std::string(option) + ": its value is empty; ");
  }
}

TEST(RunErrors, FileOfNoMediaFormatIsAnInputError) {
  const Workplace workplace;
  WriteFile(workplace / "notes.txt", "nothing to see here\n");
  ExpectRefusal(workplace, {"--input", "notes.txt"}, 3, "notes.txt");
}

// The pipe is never written to, the second list names itself, the third goes on without an end.
TEST(RunErrors, ListOfOtherFilesIsAnInputErrorAndNoneOfThemIsOpened) {
  const Workplace workplace;
  ASSERT_EQ(mkfifo((workplace / "pipe.ts").c_str(), 0600), 0);
  WriteFile(workplace / "pipe.mp4", "ffconcat version 1.0\nfile pipe.ts\n");
  WriteFile(workplace / "itself.mp4", "ffconcat version 1.0\nfile itself.mp4\n");
  WriteFile(workplace / "endless.mp4",
            "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:0\n#EXTINF:1,\npipe.ts\n");
  for (const char *name : {"pipe.mp4", "itself.mp4", "endless.mp4"}) {
    ExpectRefusal(workplace, {"--input", name}, 3, std::string(name) + ": is a list of other files");
  }
}

TEST(RunErrors, SoundWithoutPictureIsAnInputError) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine=d=0.2", (workplace / "tone.wav").string()});
  ExpectRefusal(workplace, {"--input", "tone.wav"}, 3, "holds no video");
}

TEST(RunErrors, DamagedPictureIsAnInputError) {
  const Workplace workplace;
  WriteFile(workplace / "broken.png", std::string("\x89PNG\r\n\x1a\n", 8) + std::string(40, 'x'));
  ExpectRefusal(workplace, {"--input", "broken.png"}, 3, "broken.png");
}

TEST(RunErrors, NoDisplayAndNoXvfbIsADisplayError) {
  ExpectRefusal(Workplace(), {"--input", "color:203040"}, 4, "install the package xvfb",
                {{{"DISPLAY", std::nullopt}, {"PATH", "/nowhere"}}, {}});
}

TEST(RunErrors, MissingGnuplotIsAModuleErrorBeforeTheRunStarts) {
  const Workplace workplace;
  ExpectRefusal(workplace, {"--input", "color:203040", "--plot", "p.png"}, 5, "install the package gnuplot-nox",
                {{{"DISPLAY", std::nullopt}, {"PATH", "/nowhere"}}, {}});
  EXPECT_EQ(workplace.Files(), std::vector<std::string>{});
}

TEST(RunErrors, MissingCommandFileIsAnInputError) {
  ExpectRefusal(Workplace(), {"--input", "color:203040", "--commands", "missing.jsonl"}, 3, "No such file");
}

TEST(RunErrors, MonitorKnowsNoOptionsOfARun) {
  ExpectRefusal(Workplace(), {"monitor", "--input", "x"}, 2, "--input");
  ExpectRefusal(Workplace(), {"monitor", "clip.mp4"}, 2, "clip.mp4");
  ExpectRefusal(Workplace(), {"monitor", "--ports", "0"}, 2, "1 to 1000");
}

TEST(RunErrors, MissingModuleIsAModuleError) {
  ExpectRefusal(Workplace(), {"--input", "color:203040", "--module", "nowhere.so"}, 5, "--module FILE");
}

TEST(RunErrors, ModuleWithoutItsDataIsAModuleError) {
  const Workplace workplace;
  WriteFile(workplace / "vanta_filter.so", "");
  ExpectRefusal(workplace, {"--input", "color:203040", "--module", "."}, 5, "data folder is missing");
}

TEST(RunErrors, FileThatIsNoLibraryIsAModuleError) {
  const Workplace workplace;
  WriteFile(workplace / "vanta_filter.so", "not a library");
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "color:203040", "--module", ".", "--module-data", VANTA_TEST_DATA});
  EXPECT_EQ(result.exit_code, 5) << result.err;
  EXPECT_NE(result.err.find("vanta_filter.so: libobs cannot load it; "), std::string::npos) << result.err;
  ExpectOneLine(result);
}

TEST(RunErrors, PlaceThatCannotBeWrittenIsAnOutputErrorForEveryFile) {
  const Workplace workplace;
  for (const auto &[option, name] : {std::pair{"--output", "no/out.mp4"},
                                     {"--snapshot", "no/s.png"},
                                     {"--matte", "no/m.png"},
                                     {"--compare", "no/c.png"},
                                     {"--report", "no/r.json"},
                                     {"--plot", "no/p.png"},
                                     {"--log", "no/log.txt"}}) {
    ExpectRefusal(workplace, {"--input", "color:203040", "--green-screen", "{}", option, name}, 6, name);
  }
  ExpectRefusal(workplace, {"--input", "color:203040", "--dump-frame", "1=no/d"}, 6, "no/d-before.png");
}

TEST(RunErrors, FolderThatIsNotThereIsToBeMade) {
  ExpectRefusal(Workplace(), {"--input", "color:203040", "--report", "no/report.json"}, 6,
                "No such file or directory; make that folder, or give one that is there");
}

TEST(RunErrors, InputIsNotReplacedAndStays) {
  const Workplace workplace;
  WriteFile(workplace / "a.mp4", "a video");
  ExpectRefusal(workplace, {"--input", "a.mp4", "--output", "./a.mp4"}, 2, "'./a.mp4' is the file of --input");
  EXPECT_EQ(std::filesystem::file_size(workplace / "a.mp4"), 7u);
}

TEST(RunErrors, TwoFilesOfOneNameAreRefusedBeforeTheRunStarts) {
  const Workplace workplace;
  ExpectRefusal(workplace, {"--input", "color:203040", "--snapshot", "x.png", "--compare", "x.png"}, 2,
                "is the file of --snapshot too");
  ExpectRefusal(workplace, {"--input", "color:203040", "color:405060", "--output", "x.mp4"}, 2, "put {name}");
  EXPECT_EQ(workplace.Files(), std::vector<std::string>{});
}

TEST(RunErrors, ResumeWithoutAFileIsAUsageError) {
  ExpectRefusal(Workplace(), {"--input", "color:203040", "--resume"}, 2, "no file tells what is done");
}

TEST(RunErrors, DeviceIsNotReplacedByAFile) {
  ExpectRefusal(Workplace(), {"--input", "color:203040", "--report", "/dev/full"}, 6, "no regular file");
}

TEST(RunErrors, RefusedRunLeavesNoFileBehind) {
  const Workplace workplace;
  ExpectRefusal(workplace,
                {"--input", "color:203040", "--output", "o.mp4", "--snapshot", "s.png", "--report", "r.json"}, 4,
                "display", {{{"DISPLAY", std::nullopt}, {"PATH", "/nowhere"}}, {}});
  EXPECT_EQ(workplace.Files(), std::vector<std::string>{});
}

TEST(RunHelp, ListsEveryExitCodeAndEverySwitch) {
  const ProgramResult result = RunProgram(Workplace(), {"--help"});
  EXPECT_EQ(result.exit_code, 0);
  for (const char *part : {"\n    0 ", "\n    2 ", "\n    3 ", "\n    4 ", "\n    5 ", "\n    6 ", "\n    7 ",
                           "\n    8 ", "\n  130 ", "--async-commands", "--gl-context", "--frame-flip", "--commands",
                           "--interactive", "--dump-frame", "--monitor", "--plot", "smooth", "whiten"}) {
    EXPECT_NE(result.out.find(part), std::string::npos) << part;
  }
}

TEST(RunHelp, CommandsHaveAPageOfTheirOwn) {
  const ProgramResult result = RunProgram(Workplace(), {"--help-commands"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.out.find("  SetLookupInfo\n      path: text, intensity: number, "), std::string::npos) << result.out;
}

TEST(RunHelp, MonitorHasAPageOfItsOwn) {
  const ProgramResult result = RunProgram(Workplace(), {"monitor", "--help"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.out.find("--ports N"), std::string::npos) << result.out;
}

TEST(RunHelp, ManualPageIsOneThatTroffTakes) {
  const Workplace workplace;
  WriteFile(workplace / "vanta-run.1", RunProgram(workplace, {"--print-manual"}).out);
  const std::string page =
      RunTool({"sh", "-c", "groff -man -Tascii -P-cbu -ww '" + (workplace / "vanta-run.1").string() + "' 2>&1"});
  EXPECT_EQ(page.rfind("VANTA-RUN(1)", 0), 0u) << page.substr(0, 400);
  EXPECT_NE(page.find("--dump-frame"), std::string::npos);
}

// What bash offers behind these words, the last of which is being typed.
std::string Offered(const Workplace &workplace, const std::string &words) {
  WriteFile(workplace / "completion", RunProgram(workplace, {"--print-completion"}).out);
  return RunTool({"bash", "-c",
                  "cd '" + workplace.folder().string() +
                      "'; source completion; compopt() { :; }; COMP_WORDS=(vanta-run " + words +
                      "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vanta_run; echo \"${COMPREPLY[*]}\""});
}

TEST(RunHelp, BashIsOfferedOptionsValuesAndFiles) {
  const Workplace workplace;
  WriteFile(workplace / "my clip.mp4", "");
  EXPECT_EQ(Offered(workplace, "--dump"), "--dump-frame\n");
  EXPECT_EQ(Offered(workplace, "--input my"), "my clip.mp4\n");
  EXPECT_EQ(Offered(workplace, "--deform eye"), "eye_size= eye_distance=\n");
  EXPECT_EQ(Offered(workplace, "--async-commands o"), "on off\n");
  EXPECT_EQ(Offered(workplace, "moni"), "monitor\n");
  EXPECT_EQ(Offered(workplace, "monitor --"), "--ports --seconds --help\n");
}

TEST(RunHelp, VersionNamesLibobs) {
  const ProgramResult result = RunProgram(Workplace(), {"--version"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.out.find("libobs 29"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace vanta_test
