// How a command line is read by a command's table of options.
#include "cli/parse_arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/failure.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using vanta_run::CommandPage;
using vanta_run::Failure;
using vanta_run::ParseArguments;
using vanta_run::TakeValues;
using Words = std::vector<std::string>;

// A command with an option of each kind, and what they have read.
class Arguments : public testing::Test {
 protected:
  Arguments() {
    const auto keep = [](Words &words) { return [&words](const std::string &value) { words.push_back(value); }; };
    page_ = {"tool",
             "does something",
             {"tool [options]"},
             {},
             {},
             {{"OPTIONS",
               {{.name = "input", .letter = 'i', .value = "FILE...", .read = keep(input_), .several = true},
                {.name = "size", .letter = 's', .value = "WxH", .read = keep(size_)},
                {.name = "event", .value = "NAME", .read = keep(events_), .many = true},
                {.name = "quiet", .letter = 'q', .read = keep(quiet_)},
                {.name = "help", .letter = 'h', .answer = [] { return std::string(); }}}}},
             {}};
  }
  bool Read(const Words &words) { return TakeValues(ParseArguments(page_, words)); }
  std::string Refusal(const Words &words) {
    try {
      Read(words);
    } catch (const Failure &failure) {
      EXPECT_EQ(failure.code(), vanta_run::kExitUsage);
      return failure.what();
    }
    return "";
  }

  CommandPage page_;
  Words input_, size_, events_, quiet_;
};

TEST_F(Arguments, ValueStandsBehindItsOptionOrItsEqualsSignOrItsLetter) {
  for (const Words &words : {Words{"--size", "1x2"}, Words{"--size=1x2"}, Words{"-s", "1x2"}, Words{"-s1x2"}}) {
    size_.clear();
    Read(words);
    EXPECT_THAT(size_, ElementsAre("1x2")) << words.front();
  }
}

TEST_F(Arguments, LastValueCountsButWhereMoreMayBeGiven) {
  Read({"--size", "1x1", "--event", "a", "--size", "2x2", "--event", "b"});
  EXPECT_THAT(size_, ElementsAre("2x2"));
  EXPECT_THAT(events_, ElementsAre("a", "b"));
}

TEST_F(Arguments, InputTakesAllWordsUpToTheNextOption) {
  Read({"-i", "a.mp4", "b c.mp4", "-q", "--input", "d.mp4"});
  EXPECT_THAT(input_, ElementsAre("a.mp4", "b c.mp4", "d.mp4"));
  EXPECT_EQ(quiet_.size(), 1u);
}

// JSON objects and lists, negative numbers and empty texts are values like any others.
TEST_F(Arguments, ValueIsTakenAsItStands) {
  for (const char *value : {"{}", "[1]", "[1,2]", "-1", "--quiet", "", " ", "a=b", "\"x\"", "%%"}) {
    size_.clear();
    Read({"--size", value});
    EXPECT_THAT(size_, ElementsAre(value));
  }
  EXPECT_TRUE(quiet_.empty());
}

TEST_F(Arguments, MissingValueIsRefused) {
  EXPECT_EQ(Refusal({"--size"}), "--size: its value is missing; see tool --help");
  EXPECT_EQ(Refusal({"-i"}), "--input: its value is missing; see tool --help");
}

TEST_F(Arguments, ValueOfAnOptionThatTakesNoneIsRefused) {
  EXPECT_EQ(Refusal({"--quiet=yes"}), "--quiet: takes no value; see tool --help");
}

TEST_F(Arguments, UnknownOptionIsRefusedWithTheNearestKnownOne) {
  EXPECT_EQ(Refusal({"--sise", "1x1"}), "--sise: unknown option; did you mean --size? see tool --help");
  EXPECT_EQ(Refusal({"--eve=x"}), "--eve=x: unknown option; did you mean --event? see tool --help");
  EXPECT_EQ(Refusal({"--nonsense"}), "--nonsense: unknown option; see tool --help");
}

TEST_F(Arguments, WordThatBelongsToNoOptionIsRefused) {
  EXPECT_EQ(Refusal({"-q", "clip.mp4"}), "clip.mp4: not an option; give the file as --input clip.mp4");
}

TEST_F(Arguments, AnswerIsGivenInPlaceOfEverythingElse) {
  EXPECT_TRUE(Read({"--size", "1x1", "--nonsense", "--help"}));
  EXPECT_TRUE(size_.empty());
}

}  // namespace
}  // namespace vanta_test
