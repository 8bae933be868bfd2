// Effects, makeup and faces, asked for on the command line.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "program.h"

namespace vanta_test {
namespace {

using nlohmann::json;

const cv::Scalar kLayerBgr(40, 40, 220, 255);

// A red picture over the whole screen; as a gift where `gift_ms` is not negative.
void WriteEffect(const Workplace &workplace, int gift_ms) {
  std::filesystem::create_directory(workplace / "effect");
  cv::imwrite((workplace / "effect").string() + "/red.png", cv::Mat(64, 64, CV_8UC4, kLayerBgr));
  json effect = json::parse(R"({"format":1,"description":"red","layers":[
    {"id":"red","image":"red.png","anchor":"screen"}],
    "messages":[{"at":"start","game_data":{"reqType":3001,"data":{"ability":"LiveStreamInfoAbility","method":"getPkId"}}}]})");
  if (gift_ms >= 0) effect["gift_display_time"] = gift_ms;
  std::ofstream(workplace / "effect/effect.json") << effect.dump();
}

std::vector<std::string> With(std::vector<std::string> more) {
  const std::vector<std::string> small = {"--input", "color:406080", "--size", "320x240", "--fps", "20"};
  more.insert(more.begin(), small.begin(), small.end());
  return more;
}

TEST(RunEffects, EffectIsInTheSnapshot) {
  const Workplace workplace;
  WriteEffect(workplace, -1);
  const ProgramResult result =
      RunProgram(workplace, With({"--seconds", "2", "--every-frame", "--effect", "effect", "--snapshot", "s.png"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const cv::Scalar color = MiddleColor(cv::imread((workplace / "s.png").string()));
  EXPECT_GT(color[2], 180);
  EXPECT_LT(color[0], 90);
}

// Decoding takes longer than the canvas to be drawn.
TEST(RunEffects, LiveSnapshotWaitsForTheEffectToBeLoaded) {
  const Workplace workplace;
  WriteEffect(workplace, -1);
  cv::imwrite((workplace / "effect").string() + "/red.png", cv::Mat(2048, 2048, CV_8UC4, kLayerBgr));
  const ProgramResult result =
      RunProgram(workplace, With({"--seconds", "0.2", "--at", "0", "--effect", "effect", "--snapshot", "s.png"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_GT(MiddleColor(cv::imread((workplace / "s.png").string()))[2], 180);
}

TEST(RunEffects, EndOfTheGiftSetsTheEvent) {
  const Workplace workplace;
  WriteEffect(workplace, 200);
  const std::string event = "vanta_test_gift_" + std::to_string(getpid());
  RunningProgram program(
      workplace, With({"--interactive", "--effect", "effect", "--event", event, "--report", "r.json"}), {{}, {}, true});
  ASSERT_TRUE(program.WaitForLine("event " + event + " was set")) << program.errors();
  program.Type("quit\n");
  const ProgramResult result = program.Finish();
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const json events = ReadReport(workplace / "r.json")["events"];
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0]["name"], event);
  EXPECT_GE(events[0]["set"].get<int>(), 1);
}

TEST(RunEffects, WhatTheEffectAsksForIsAnsweredFromTheFile) {
  const Workplace workplace;
  WriteEffect(workplace, -1);
  std::ofstream(workplace / "a.jsonl") << R"({"method":"getPkId","answer":{"pkId":"7"}})";
  const ProgramResult result = RunProgram(workplace, With({"--seconds", "1.5", "--every-frame", "--effect", "effect",
                                                           "--ability-answers", "a.jsonl", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find(R"(getPkId, answered {"pkId":"7","seqId":)"), std::string::npos) << result.err;
  EXPECT_EQ(ReadReport(workplace / "r.json")["ability_calls"][0]["method"], "getPkId");
}

}  // namespace
}  // namespace vanta_test
