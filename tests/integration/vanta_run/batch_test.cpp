// Several inputs in one call.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include <opencv2/imgcodecs.hpp>

#include "program.h"

namespace vanta_test {
namespace {

using Names = std::vector<std::string>;

// Colours of a few frames, and what they are to leave.
const Names kFew = {"--size", "64x64", "--frames", "5", "--snapshot", "{name}.png"};

Names Inputs(const Names &inputs, const Names &more) {
  Names arguments = {"--input"};
  arguments.insert(arguments.end(), inputs.begin(), inputs.end());
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(RunBatch, EachInputLeavesItsOwnFiles) {
  const Workplace workplace;
  Names more = kFew;
  more.insert(more.end(), {"--report", "{number}-{name}.json"});
  const ProgramResult result = RunProgram(workplace, Inputs({"color:203040", "color:C0A080"}, more));
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"1-203040.json", "2-C0A080.json", "203040.png", "C0A080.png"}));
  EXPECT_EQ(ReadReport(workplace / "2-C0A080.json")["input"]["path"], "color:C0A080");
  EXPECT_NE(result.err.find("[2/2] color:C0A080\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("2 inputs: 2 done, 0 there already, 0 failed, 0 not begun\n"), std::string::npos)
      << result.err;
}

TEST(RunBatch, InputThatFailsIsNamedAndTheOthersAreRun) {
  const Workplace workplace;
  std::ofstream(workplace / "notes.txt") << "nothing to see here";
  Names more = kFew;
  more.push_back("--quiet");
  const ProgramResult result = RunProgram(workplace, Inputs({"notes.txt", "missing.mp4", "color:203040"}, more));
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(workplace.Files(), (Names{"203040.png", "notes.txt"}));
  EXPECT_NE(result.err.find("vanta-run: missing.mp4: No such file"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("vanta-run: failed: notes.txt: exit status 3\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("vanta-run: failed: missing.mp4: exit status 3\n"), std::string::npos) << result.err;
}

TEST(RunBatch, InputWhoseNameBeginsWithADashIsRunToo) {
  const Workplace workplace;
  cv::imwrite((workplace / "-s.png").string(), cv::Mat(64, 64, CV_8UC3, cv::Scalar(32, 48, 64)));
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input=-s.png", "--input", "color:203040", "--frames", "3", "--no-beauty",
                             "--every-frame", "--report", "{name}.json"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"-s.json", "-s.png", "203040.json"}));
}

TEST(RunBatch, ResumePassesOverWhatIsThere) {
  const Workplace workplace;
  std::ofstream(workplace / "203040.png") << "made before";
  std::ofstream(workplace / "C0A080.png") << "";
  Names more = kFew;
  more.push_back("--resume");
  const ProgramResult result = RunProgram(workplace, Inputs({"color:203040", "color:C0A080"}, more));
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("color:203040: is there already\n"), std::string::npos) << result.err;
  EXPECT_EQ(std::filesystem::file_size(workplace / "203040.png"), 11u);
  EXPECT_GT(std::filesystem::file_size(workplace / "C0A080.png"), 20u);
}

// A missing module is missing for every input.
TEST(RunBatch, FaultOfTheCallEndsIt) {
  const Workplace workplace;
  Names more = kFew;
  more.insert(more.end(), {"--module", "nowhere.so"});
  const ProgramResult result = RunProgram(workplace, Inputs({"color:203040", "color:C0A080"}, more));
  EXPECT_EQ(result.exit_code, 5);
  EXPECT_NE(result.err.find("1 failed, 1 not begun\n"), std::string::npos) << result.err;
}

TEST(RunBatch, SignalEndsTheRunUnderWayProperlyAndBeginsNoOther) {
  const Workplace workplace;
  RunningProgram program(workplace, Inputs({"color:203040", "color:C0A080"},
                                           {"--size", "64x64", "--loop", "--live", "--output", "{name}.mp4"}));
  ASSERT_TRUE(program.WaitForLine("frames in", 2)) << program.errors();
  program.Signal(SIGTERM);
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 130) << result.err;
  EXPECT_EQ(workplace.Files(), Names{"203040.mp4"});
  EXPECT_NE(result.err.find("1 not begun\n"), std::string::npos) << result.err;
}

TEST(RunBatch, SecondSignalEndsTheRunUnderWayToo) {
  const Workplace workplace;
  RunningProgram program(workplace, Inputs({"color:203040", "color:C0A080"},
                                           {"--size", "64x64", "--loop", "--live", "--output", "{name}.mp4"}));
  ASSERT_TRUE(program.WaitForLine("frames in", 2)) << program.errors();
  program.SignalTwice(SIGINT, SIGTERM);
  EXPECT_EQ(program.Finish().exit_code, 130);
  // Its pipes are closed only once the run has ended too, which may have finished its file between the two.
  for (const std::string &name : workplace.Files()) EXPECT_EQ(name, "203040.mp4");
}

}  // namespace
}  // namespace vanta_test
