// A whole script: times, line numbers, and that one bad line spoils it.
#include "commands/command_script.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "common/failure.h"

namespace vanta_test {
namespace {

namespace fs = std::filesystem;
using vanta_run::Failure;
using vanta_run::ReadScript;

// Owns: a file, in a folder of its own.
class Script : public testing::Test {
 protected:
  Script() {
    std::string pattern = (fs::temp_directory_path() / "vanta_script_XXXXXX").string();
    folder_ = mkdtemp(pattern.data()) ? pattern : "/nowhere";
    path_ = (folder_ / "s.jsonl").string();
  }
  ~Script() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  void Write(const std::string &text) const { std::ofstream(path_, std::ios::binary) << text; }
  // The message and, behind a bar, the exit code.
  std::string Refusal() const {
    try {
      ReadScript(path_);
    } catch (const Failure &failure) {
      return std::string(failure.what()) + "|" + std::to_string(failure.code());
    }
    return "";
  }

  fs::path folder_;
  std::string path_;
};

TEST_F(Script, LineWithoutATimeGoesWithTheLineBefore) {
  Write(
      "{\"call\":\"BeginBatchCommand\"}\n{\"at\":2,\"call\":\"CancelMagicEffect\"}\n{\"call\":\"EndBatchCommand\"}\n");
  const auto script = ReadScript(path_);
  ASSERT_EQ(script.size(), 3u);
  EXPECT_EQ(script[0].at, 0);
  EXPECT_EQ(script[1].at, 2);
  EXPECT_EQ(script[2].at, 2);
}

TEST_F(Script, LineNumbersCountBlankLinesAndRemarks) {
  Write("# first\n\n{\"quit\":true}");
  const auto script = ReadScript(path_);
  ASSERT_EQ(script.size(), 1u);
  EXPECT_EQ(script[0].number, 3u);
}

TEST_F(Script, LineEndsOfOtherSystemsAreTaken) {
  Write("{\"at\":1,\"quit\":true}\r\n");
  EXPECT_EQ(ReadScript(path_).size(), 1u);
}

TEST_F(Script, TimeThatGoesBackIsRefused) {
  Write("{\"at\":2.5,\"quit\":true}\n{\"at\":1,\"quit\":true}\n");
  EXPECT_EQ(Refusal(), path_ + ":2: its time 1.0 goes back, behind 2.5; see vanta-run --help-commands|2");
}

TEST_F(Script, EveryBadLineIsTold) {
  Write("{\"at\":2}\n{\"quit\":true}\n{\"at\":1,\"quit\":true}\nnonsense\n");
  const std::string refusal = Refusal();
  EXPECT_NE(refusal.find(path_ + ":1: asks for nothing"), std::string::npos) << refusal;
  EXPECT_NE(refusal.find(path_ + ":3: its time"), std::string::npos) << refusal;
  EXPECT_NE(refusal.find(path_ + ":4: is not JSON"), std::string::npos) << refusal;
  EXPECT_EQ(refusal.find(path_ + ":2:"), std::string::npos) << refusal;
}

TEST_F(Script, FileFullOfBadLinesIsCutShort) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "x\n";
  Write(text);
  const std::string refusal = Refusal();
  EXPECT_LT(std::count(refusal.begin(), refusal.end(), '\n'), 30);
  EXPECT_NE(refusal.find("980 more bad lines"), std::string::npos) << refusal;
}

// All of them would take minutes, and gigabytes to tell of.
TEST_F(Script, BadLinesAreCountedToALimit) {
  std::string text;
  for (int i = 0; i < 10021; ++i) text += "x\n";
  Write(text);
  EXPECT_NE(Refusal().find("over 10000 more bad lines"), std::string::npos) << Refusal();
}

TEST_F(Script, MissingFileIsAnInputError) {
  EXPECT_EQ(Refusal().substr(0, path_.size() + 27), path_ + ": No such file or directory");
  EXPECT_EQ(Refusal().back(), '3');
}

TEST_F(Script, EmptyFileIsAScriptOfNoCommands) {
  Write("");
  EXPECT_TRUE(ReadScript(path_).empty());
}

}  // namespace
}  // namespace vanta_test
