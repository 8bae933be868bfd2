// One run of the program with all its parts at work: what the sanitizers look at.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "fixtures/process/datagram_listener.h"
#include "program.h"

namespace vanta_test {
namespace {

using Names = std::vector<std::string>;

TEST(RunShort, EveryPartLeavesItsFile) {
  const ListenerTurn turn;
  const Workplace workplace;
  std::ofstream(workplace / "s.jsonl")
      << R"({"at": 0.5, "call": "SetBeautyIntensityWithType", "type": "whiten", "intensity": 0.5}
{"at": 0.7, "update": {"sceneitem_orientation_info": {"hor_flip": true}}}
{"at": 0.9, "call": "GetBeautyStatistics"}
{"at": 3, "quit": true}
)";
  const ProgramResult result = RunProgram(workplace, {"--input",      VANTA_TEST_PORTRAIT,
                                                      "--size",       "160x150",
                                                      "--fps",        "10",
                                                      "--loop",       "--beauty",
                                                      "smooth=1",     "--deform",
                                                      "eye_size=0.5", "--slim",
                                                      "waist=0.5",    "--green-screen",
                                                      "{}",           "--background",
                                                      "color:203040", "--landmarks",
                                                      "f.jsonl",      "--draw-landmarks",
                                                      "--matte",      "m.png",
                                                      "--compare",    "c.png",
                                                      "--snapshot",   "s.png",
                                                      "--commands",   "s.jsonl",
                                                      "--live",       "--output",
                                                      "o.mkv",        "--report",
                                                      "r.json",       "--plot",
                                                      "p.png",        "--log",
                                                      "log.txt",      "--monitor"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.err.find("Sanitizer"), std::string::npos) << result.err;
  EXPECT_EQ(workplace.Files(),
            (Names{"c.png", "f.jsonl", "log.txt", "m.png", "o.mkv", "p.png", "r.json", "s.jsonl", "s.png"}));
  const nlohmann::json report = ReadReport(workplace / "r.json");
  EXPECT_EQ(report["engine"]["state"], "running");
  EXPECT_EQ(report["engine"]["last_applied"]["deform"]["eye_size"], 0.5);
  EXPECT_EQ(report["engine"]["last_applied"]["body_slimming"]["waist"], 0.5);
  EXPECT_EQ(report["commands"]["sent"].size(), 4u);
}

// Two signals, the second while files are being finished.
TEST(RunShort, SecondSignalEndsIt) {
  const Workplace workplace;
  RunningProgram program(workplace,
                         {"--input", "color:203040", "--size", "64x64", "--loop", "--live", "--output", "out.mp4"});
  ASSERT_TRUE(program.WaitForLine("frames in")) << program.errors();
  program.SignalTwice(SIGINT, SIGTERM);
  EXPECT_EQ(program.Finish().exit_code, 130) << program.errors();
  EXPECT_EQ(workplace.Files(), Names{});
}

}  // namespace
}  // namespace vanta_test
