// The names of the files that runs write.
#include "cli/output_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "common/failure.h"

namespace vanta_test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using vanta_run::ForInput;
using vanta_run::NamedFor;
using vanta_run::Options;

TEST(OutputNames, PatternTakesTheInputsNameAndPlace) {
  EXPECT_EQ(NamedFor("out/{name}-{number}.mp4", "/in/talk.show.mkv", 3), "out/talk.show-3.mp4");
  EXPECT_EQ(NamedFor("{name}.mp4", "color:203040", 1), "203040.mp4");
  EXPECT_EQ(NamedFor("plain.mp4", "a.mp4", 1), "plain.mp4");
}

TEST(OutputNames, EveryFileOfARunIsNamedForItsInput) {
  Options options;
  for (std::string *name : {&options.output, &options.snapshot, &options.matte, &options.compare, &options.report,
                            &options.plot, &options.landmarks, &options.log}) {
    *name = "{name}.x";
  }
  options.dump = vanta_run::DumpOption{1, "{name}-frame"};
  const Options run = ForInput(options, "in/a.mp4", 1);
  for (const std::string &name :
       {run.output, run.snapshot, run.matte, run.compare, run.report, run.plot, run.landmarks, run.log}) {
    EXPECT_EQ(name, "a.x");
  }
  EXPECT_EQ(run.dump->prefix, "a-frame");
}

// Owns: a folder with an input.
class SharedFiles : public testing::Test {
 protected:
  SharedFiles() {
    std::string pattern = (fs::temp_directory_path() / "vanta_names_XXXXXX").string();
    folder_ = mkdtemp(pattern.data()) != nullptr ? pattern : "/nowhere";
    std::ofstream(In("a.mp4")) << "video";
  }
  ~SharedFiles() override { fs::remove_all(folder_); }
  std::string In(const std::string &name) const { return (folder_ / name).string(); }
  static std::string Refusal(const std::vector<Options> &runs) {
    try {
      RefuseSharedFiles(runs);
    } catch (const vanta_run::Failure &failure) {
      EXPECT_EQ(failure.code(), vanta_run::kExitUsage);
      return failure.what();
    }
    return "";
  }
  static std::string RefusalOf(const Options &run) { return Refusal({run}); }

  fs::path folder_;
};

TEST_F(SharedFiles, InputIsNotReplacedWhateverItIsCalled) {
  fs::create_symlink("a.mp4", In("link.mp4"));
  fs::create_hard_link(In("a.mp4"), In("hard.mp4"));
  fs::create_directory(In("sub"));
  for (const std::string &name :
       {In("a.mp4"), In("sub/../a.mp4"), In("link.mp4"), In("hard.mp4"), fs::relative(In("a.mp4")).string()}) {
    Options run;
    run.input = In("a.mp4");
    run.output = name;
    EXPECT_THAT(RefusalOf(run), HasSubstr("is the file of --input; ")) << name;
  }
}

TEST_F(SharedFiles, NothingThatIsReadIsReplaced) {
  for (const auto &[option, member] : {std::pair{"--background", &Options::background},
                                       {"--commands", &Options::commands},
                                       {"--ability-answers", &Options::ability_answers},
                                       {"--green-screen", &Options::green_screen_file},
                                       {"--group", &Options::group},
                                       {"--module", &Options::module}}) {
    Options run;
    run.input = "color:000000";
    run.*member = In("a.mp4");
    run.report = In("a.mp4");
    EXPECT_THAT(RefusalOf(run), AllOf(HasSubstr("--report: "), HasSubstr(std::string("is the file of ") + option)));
  }
  Options run;
  run.input = "color:000000";
  run.lookup = vanta_run::LookupOption{In("a.mp4"), 1};
  run.report = In("a.mp4");
  EXPECT_THAT(RefusalOf(run), HasSubstr("is the file of --lookup"));
}

TEST_F(SharedFiles, NothingInAFolderThatIsReadIsReplaced) {
  fs::create_directories(In("fx/part"));
  std::ofstream(In("fx/part/a.png")) << "picture";
  for (const auto &[option, member] : {std::pair{"--effect", &Options::effect},
                                       {"--group", &Options::group},
                                       {"--module", &Options::module},
                                       {"--module-data", &Options::module_data}}) {
    Options run;
    run.input = "color:000000";
    run.*member = In("fx");
    run.snapshot = In("fx/../fx/part/a.png");
    EXPECT_THAT(RefusalOf(run), HasSubstr(std::string("is there already, in the folder of ") + option)) << option;
    run.snapshot = In("fx/new.png");
    EXPECT_EQ(RefusalOf(run), "") << option;
    run.snapshot = In("a.mp4");
    EXPECT_EQ(RefusalOf(run), "") << option;
  }
  Options run;
  run.input = "color:000000";
  run.makeup = {{In("other"), 1, ""}, {In("fx"), 1, ""}};
  run.report = In("fx/part/a.png");
  EXPECT_THAT(RefusalOf(run), HasSubstr("in the folder of --makeup"));
}

// A group's members may lie anywhere, and be groups themselves.
TEST_F(SharedFiles, NoMemberOfAPresetGroupIsReplaced) {
  fs::create_directories(In("group"));
  fs::create_directories(In("light"));
  std::ofstream(In("group/group.json")) << R"({"format":1,"presets":["baixi","../light.json","../light"]})";
  std::ofstream(In("light.json")) << R"({"format":1,"beauty":{"smooth":0.5}})";
  std::ofstream(In("light/group.json")) << R"({"format":1,"presets":["../deep.json","../group"]})";
  std::ofstream(In("deep.json")) << R"({"format":1,"beauty":{}})";
  Options run;
  run.input = "color:000000";
  for (const std::string &group : {In("group"), In("group/group.json")}) {
    run.group = group;
    for (const char *member : {"light.json", "deep.json", "light/group.json"}) {
      run.report = In(member);
      EXPECT_THAT(RefusalOf(run), HasSubstr("is the file of --group; ")) << group << " " << member;
    }
    run.report = In("other.json");
    EXPECT_EQ(RefusalOf(run), "");
  }
}

// Presets by name, colour tables and models lie there.
TEST_F(SharedFiles, NothingOfThePlugInsOwnDataIsReplaced) {
  fs::create_directories(In("data/presets"));
  for (const char *file : {"vanta_filter.so", "data/vanta_beauty.effect", "data/presets/a.json"})
    std::ofstream(In(file)) << "x";
  Options run;
  run.input = "color:000000";
  run.module = In("vanta_filter.so");
  run.report = In("data/presets/a.json");
  EXPECT_THAT(RefusalOf(run), HasSubstr("is there already, in the folder of the plug-in's data; "));
}

// Whoever works in the effect's folder records there again and again.
TEST_F(SharedFiles, RecordingInAFolderThatIsReadMayBeMadeAgain) {
  Options run;
  run.input = "color:000000";
  run.effect = In("");
  run.output = In("a.mp4");
  EXPECT_EQ(RefusalOf(run), "");
}

TEST_F(SharedFiles, TwoResultsOfOneNameAreRefused) {
  Options run;
  run.input = In("a.mp4");
  run.snapshot = In("x.png");
  run.compare = In("./x.png");
  EXPECT_THAT(RefusalOf(run), HasSubstr("is the file of --snapshot too; "));
  run.compare = In("y.png");
  run.dump = vanta_run::DumpOption{1, In("x")};
  EXPECT_EQ(RefusalOf(run), "");
  run.snapshot = In("x-after.png");
  EXPECT_THAT(RefusalOf(run), HasSubstr("--dump-frame: "));
}

TEST_F(SharedFiles, TwoInputsNeedTwoNames) {
  Options first, second;
  first.input = In("a.mp4");
  second.input = In("b.mp4");
  first.output = second.output = In("out.mp4");
  EXPECT_THAT(Refusal({first, second}), HasSubstr("; put {name} or {number} into the name"));
  second.output = In("a.mp4");
  EXPECT_THAT(Refusal({first, second}), HasSubstr("is the file of --input"));
  second.output = In("out2.mp4");
  EXPECT_EQ(Refusal({first, second}), "");
}

TEST_F(SharedFiles, StandardOutputMayBeShared) {
  Options run;
  run.input = In("a.mp4");
  run.report = run.landmarks = "-";
  EXPECT_EQ(Refusal({run, run}), "");
}

}  // namespace
}  // namespace vanta_test
