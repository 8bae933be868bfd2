// What the host application answers to effects: the file, and which answer a request gets.
#include "commands/ability_answers.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include "common/failure.h"

namespace vanta_test {
namespace {

using vanta_run::AbilityAnswer;
using vanta_run::AbilityCall;
using vanta_run::FindAnswer;
using vanta_run::ReadAbilityAnswers;

class AbilityAnswers : public testing::Test {
 protected:
  ~AbilityAnswers() override { std::filesystem::remove(path_); }

  std::vector<AbilityAnswer> Read(const std::string &text) {
    std::ofstream(path_) << text;
    return ReadAbilityAnswers(path_);
  }

  std::string Refusal(const std::string &text) {
    try {
      Read(text);
    } catch (const vanta_run::Failure &failure) {
      EXPECT_EQ(failure.code(), vanta_run::kExitUsage);
      return failure.what();
    }
    return "";
  }

  const std::string path_ = std::filesystem::temp_directory_path() / ("vanta_answers_" + std::to_string(getpid()));
};

AbilityCall Request(const std::string &method, const std::string &raw) {
  return {"PostGameData", method, "", raw};
}

TEST_F(AbilityAnswers, RemarksAndBlankLinesSayNothing) {
  EXPECT_EQ(Read("# remark\n\n  \t\n{\"method\":\"get\",\"answer\":1}\n").size(), 1u);
}

TEST_F(AbilityAnswers, WrongLineIsRefusedWithItsNumber) {
  for (const char *line : {"{\"method\":\"get\"", "[1]", "{\"answer\":1}", "{\"method\":1,\"answer\":1}",
                           "{\"method\":\"get\"}", "{\"method\":\"get\",\"answer\":1,\"more\":1}"}) {
    EXPECT_NE(Refusal(std::string("# remark\n") + line).find(path_ + ":2: "), std::string::npos) << line;
  }
}

TEST_F(AbilityAnswers, ControlCharactersOfTheFileDoNotReachTheTerminal) {
  const std::string refusal = Refusal("{\"a\\u001b\\n\x7f\": 1}");
  EXPECT_EQ(refusal.find_first_of("\x1b\n\x7f"), std::string::npos) << refusal;
  EXPECT_NE(refusal.find("has no use for 'a"), std::string::npos) << refusal;
}

TEST_F(AbilityAnswers, MissingFileIsAnInputError) {
  try {
    ReadAbilityAnswers("/nowhere/answers");
    FAIL();
  } catch (const vanta_run::Failure &failure) {
    EXPECT_EQ(failure.code(), vanta_run::kExitInput);
  }
}

TEST_F(AbilityAnswers, FirstAnswerOfTheMethodIsTaken) {
  const auto answers = Read(R"({"method":"a","answer":1}
{"method":"b","answer":2}
{"method":"b","answer":3})");
  EXPECT_EQ(FindAnswer(answers, Request("b", "{}")), "2");
  EXPECT_FALSE(FindAnswer(answers, Request("c", "{}")));
}

TEST_F(AbilityAnswers, RequestsSequenceIdGoesBackWithTheAnswer) {
  const auto answers = Read(R"({"method":"a","answer":{"x":1}})");
  const auto answer = nlohmann::json::parse(*FindAnswer(answers, Request("a", R"({"seqId":7})")));
  EXPECT_EQ(answer, nlohmann::json::parse(R"({"x":1,"seqId":7})"));
}

TEST_F(AbilityAnswers, OwnSequenceIdStays) {
  const auto answers = Read(R"({"method":"a","answer":{"seqId":1}})");
  EXPECT_EQ(FindAnswer(answers, Request("a", R"({"seqId":7})")), R"({"seqId":1})");
}

TEST_F(AbilityAnswers, RequestThatIsNoJsonIsAnsweredAllTheSame) {
  const auto answers = Read(R"({"method":"","answer":{"x":1}})");
  EXPECT_EQ(FindAnswer(answers, Request("", "{")), R"({"x":1})");
}

TEST_F(AbilityAnswers, OtherOperationsAreNotAnswered) {
  const auto answers = Read(R"({"method":"","answer":1})");
  EXPECT_FALSE(FindAnswer(answers, {"PostSignalAfterLoadInteractiveBoxResource", "", "", ""}));
}

}  // namespace
}  // namespace vanta_test
