// The table of a run's options, and what is made of it.
#include "cli/run_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lumivex/lumivex_values.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>

#include "cli/completion.h"
#include "cli/page_text.h"
#include "cli/parse_arguments.h"
#include "common/failure.h"

namespace vanta_test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Pair;
using vanta_run::CommandLine;
using vanta_run::CommandPage;
using vanta_run::OptionRow;
using vanta_run::OptionSection;

class RunTable : public testing::Test {
 protected:
  std::vector<OptionRow> Rows() const {
    std::vector<OptionRow> rows;
    for (const OptionSection &section : page_.sections)
      rows.insert(rows.end(), section.rows.begin(), section.rows.end());
    return rows;
  }
  void Read(const std::vector<std::string> &words) { TakeValues(ParseArguments(page_, words)); }

  CommandLine line_;
  const CommandPage page_ = RunPage(line_);
};

TEST_F(RunTable, NoNameAndNoLetterStandsTwice) {
  std::set<std::string> names;
  for (const OptionRow &row : Rows()) {
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_TRUE(row.letter == 0 || names.insert(std::string(1, row.letter)).second) << row.letter;
  }
}

TEST_F(RunTable, EveryOptionSaysWhatItDoesAndDoesIt) {
  for (const OptionRow &row : Rows()) {
    EXPECT_FALSE(row.text.empty()) << row.name;
    EXPECT_NE(row.read == nullptr, row.answer == nullptr) << row.name;
  }
}

TEST_F(RunTable, HelpManualAndCompletionHoldEveryOption) {
  const std::string help = HelpText(page_), manual = ManualText(page_, {}), completion = CompletionScript(page_, {});
  for (const OptionRow &row : Rows()) {
    EXPECT_THAT(help, HasSubstr(" --" + row.name));
    std::string escaped;
    for (const char letter : row.name) escaped += letter == '-' ? "\\-" : std::string(1, letter);
    EXPECT_THAT(manual, HasSubstr("\\fB\\-\\-" + escaped + "\\fR"));
    EXPECT_THAT(completion, HasSubstr("--" + row.name));
  }
}

TEST_F(RunTable, EveryStageOfTheEngineCanBeSwitched) {
  Read({"--stage",
        "beauty=off,adjust=off,lookup=off,relight=off,green-matting=on,makeup=off,deform=off,"
        "body-slimming=off,magic=off"});
  std::set<int> types;
  for (const auto &[type, on] : line_.options.stages) types.insert(type);
  EXPECT_EQ(types.size(), lumivex::kEffectTypeCount);
}

TEST_F(RunTable, EveryShapeOfFaceAndBodyIsReached) {
  Read({"--deform",
        "slim_face=0.1,eye_size=0.2,slim_nose=0.3,chin=-0.4,mouth_size=0.5,jaw=0.6,cheekbone=0.7,forehead=-0.8,"
        "eye_distance=0.9,brow_height=-1,lip_fullness=1",
        "--slim", "whole=0.1,waist=0.2,hip=0.3,arm=0.4,shoulder=0.5,head=0.6,leg_length=0.7"});
  EXPECT_EQ(line_.options.deform.size(), lumivex::kDeformModeCount);
  EXPECT_THAT(line_.options.deform, Contains(Pair(lumivex::kDeformChin, -0.4f)));
  EXPECT_EQ(line_.options.slim.size(), lumivex::kSlimTypeCount);
  EXPECT_THAT(line_.options.slim, Contains(Pair(lumivex::kSlimLegLength, 0.7f)));
}

TEST_F(RunTable, MakeupOfAColourNamesItsPart) {
  Read({"--makeup-color", "lips=b03040,0.7", "--makeup-color", "brows=302010"});
  ASSERT_EQ(line_.options.makeup.size(), 2u);
  EXPECT_EQ(line_.options.makeup[0].folder, "color:b03040");
  EXPECT_EQ(line_.options.makeup[0].key, "lips");
  EXPECT_FLOAT_EQ(line_.options.makeup[0].intensity, 0.7f);
  EXPECT_EQ(line_.options.makeup[1].key, "brows");
  EXPECT_FLOAT_EQ(line_.options.makeup[1].intensity, 1.0f);
  for (const char *bad : {"lips", "ears=b03040", "lips=b0304", "lips=b03040,2", "lips=b03040,"})
    EXPECT_THROW(Read({"--makeup-color", bad}), vanta_run::Failure) << bad;
}

TEST_F(RunTable, KeyConfigsFileIsKnownAndItsTextIsNoFile) {
  Read({"--green-screen", "{}"});
  EXPECT_EQ(line_.options.green_screen_file, "");
  const std::string path = testing::TempDir() + "vanta_run_page_key.json";
  std::ofstream(path) << "{}";
  Read({"--green-screen", path});
  EXPECT_EQ(line_.options.green_screen_file, path);
  std::remove(path.c_str());
}

TEST_F(RunTable, NumberOfAKeyConfigThatNoNumberHoldsIsRefused) {
  try {
    Read({"--green-screen", R"({"similarity": 1e9999})"});
    FAIL() << "it was taken";
  } catch (const vanta_run::Failure &failure) {
    EXPECT_EQ(failure.code(), vanta_run::kExitUsage);
    EXPECT_THAT(failure.what(), HasSubstr("too large"));
  }
}

TEST(PageText, TextIsCutBetweenWords) {
  EXPECT_THAT(vanta_run::Wrapped("one two  three", 7), testing::ElementsAre("one two", "three"));
  EXPECT_THAT(vanta_run::Wrapped("longerthanitsline x", 5), testing::ElementsAre("longerthanitsline", "x"));
}

// What troff would take for a command of its own.
TEST(PageText, ManualKeepsDashesBackslashesAndDotsAtTheBeginning) {
  const CommandPage page = {"t", "s", {}, {".hidden \\x a-b"}, {}, {}, {}};
  EXPECT_THAT(ManualText(page, {}), HasSubstr("\n\\&.hidden \\ex a\\-b\n"));
}

}  // namespace
}  // namespace vanta_test
