// Control operations and settings that are sent to a run: by a script and by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "program.h"

namespace vanta_test {
namespace {

using nlohmann::json;

const std::vector<std::string> kSmall = {"--input", "color:c08060", "--size", "320x240"};

std::vector<std::string> With(std::vector<std::string> more) {
  more.insert(more.begin(), kSmall.begin(), kSmall.end());
  return more;
}

// On the clip's own clock, where the run takes no longer than its work.
std::vector<std::string> InStepWith(std::vector<std::string> more) {
  more.push_back("--every-frame");
  return With(more);
}

void WriteScript(const Workplace &workplace, const std::string &text) {
  std::ofstream(workplace / "s.jsonl", std::ios::binary) << text;
}

std::string TextOf(const Workplace &workplace, const std::string &name) {
  std::ifstream file(workplace / name);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<std::string> NamesSent(const json &report) {
  std::vector<std::string> names;
  for (const json &command : report["commands"]["sent"]) names.push_back(command["name"]);
  return names;
}

TEST(RunCommands, ScriptReachesTheControlObjectInItsOrder) {
  const Workplace workplace;
  WriteScript(workplace,
              R"({"at":0.2,"call":"SetBeautyIntensityWithType","type":"whiten","intensity":0.5}
{"call":"SetLookupIntensity","intensity":0.25}
{"at":0.4,"call":"SetFacelessJumpInfo","need_jump":true,"jump_type":7}
{"call":"GetFacelessJumpInfo"}
{"at":0.6,"quit":true}
)");
  const ProgramResult result =
      RunProgram(workplace, With({"--commands", "s.jsonl", "--report", "r.json", "--log", "log.txt"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const std::string log = TextOf(workplace, "log.txt");
  const size_t whiten = log.find("FacelessInstance::SetBeautyIntensityWithType, intensity=0.50,type=1");
  const size_t lookup = log.find("FacelessInstance::SetLookupIntensity, intensity=0.25");
  const size_t jump = log.find("jump_info.need_jump=1, jump_info.jump_type=7");
  ASSERT_NE(jump, std::string::npos);
  EXPECT_LT(whiten, lookup);
  EXPECT_LT(lookup, jump);
  EXPECT_EQ(json::parse(result.out)["result"], json::parse(R"({"need_jump":true,"jump_type":7})"));
  const json report = ReadReport(workplace / "r.json");
  EXPECT_EQ(NamesSent(report), (std::vector<std::string>{"SetBeautyIntensityWithType", "SetLookupIntensity",
                                                         "SetFacelessJumpInfo", "GetFacelessJumpInfo", "quit"}));
  EXPECT_GE(report["commands"]["sent"][0]["seconds"].get<double>(), 0.2);
  EXPECT_EQ(report["run"]["ended_by"], "quit");
}

TEST(RunCommands, CommandChangesThePicture) {
  const Workplace workplace;
  WriteScript(workplace, R"({"at":0.2,"call":"SetBeautyIntensityWithType","type":"brightness","intensity":1})");
  const ProgramResult result =
      RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--seconds", "3", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(ReadReport(workplace / "r.json")["engine"]["last_applied"]["beauty"]["brightness"], 1.0);
}

TEST(RunCommands, UpdateReachesTheRunningFilterAsAWhole) {
  const Workplace workplace;
  WriteScript(
      workplace,
      R"({"at":0.2,"update":{"sceneitem_orientation_info":{"hor_flip":true,"rot_deg":180},"no_green_matting":true}}
{"at":0.21,"update":{"sceneitem_orientation_info":{"hor_flip":false,"rot_deg":90}}}
)");
  const ProgramResult result =
      RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--seconds", "1", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  std::vector<json> bodies;
  const json whole = ReadReport(workplace / "r.json");
  for (const json &report : whole["reports"]) {
    if (report["id"] == 19) bodies.push_back(report["body"]);
  }
  ASSERT_FALSE(bodies.empty());
  EXPECT_EQ(bodies.back(), json::parse(R"({"flip_hor":false,"flip_ver":false,"rotate_type":90})"));
}

TEST(RunCommands, AbilityHandlerGoesInByAnUpdateAndIsCalled) {
  const Workplace workplace;
  WriteScript(workplace,
              R"({"at":0.2,"call":"LoadInteractiveBoxResource","path":"/too/early"}
{"at":0.5,"update":{"effect_json_ability_handler":true}}
{"at":1,"call":"LoadInteractiveBoxResource","path":"/box"}
{"at":1.2,"call":"UnloadInteractiveBoxResource"}
{"at":1.5,"update":{"effect_json_ability_handler":false}}
{"at":2,"call":"UnloadInteractiveBoxResource"}
)");
  const ProgramResult result =
      RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--seconds", "2.5", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 8) << result.err;  // there are no such folders
  std::vector<std::string> asked;
  const json report = ReadReport(workplace / "r.json");
  for (const json &call : report["ability_calls"]) asked.push_back(call["operation"]);
  EXPECT_EQ(asked, (std::vector<std::string>{"PostSignalAfterLoadInteractiveBoxResource",
                                             "PostSignalAfterUnloadInteractiveBoxResource"}));
  EXPECT_NE(result.err.find("ability handler: PostSignalAfterLoadInteractiveBoxResource"), std::string::npos);
}

TEST(RunCommands, EffectForSourcesGoesToTheFilterAlone) {
  const Workplace workplace;
  WriteScript(
      workplace,
      R"({"at":0.2,"call":"SetMagicEffectForSources","sources":["video","beauty"],"request":{"path":"/fx","slot":0,"flag":true}})");
  const ProgramResult result =
      RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--seconds", "1", "--log", "log.txt"}));
  ASSERT_EQ(result.exit_code, 8) << result.err;  // there is no such folder
  const std::string log = TextOf(workplace, "log.txt");
  const size_t first = log.find("magic_main_path_= /fx");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(log.find("magic_main_path_= /fx", first + 1), std::string::npos);
}

TEST(RunCommands, BadLineStopsTheRunBeforeItStarts) {
  const Workplace workplace;
  WriteScript(workplace, "{\"at\":1,\"quit\":true}\n{\"at\":2,\"call\":\"SetNothing\"}\n");
  const ProgramResult result = RunProgram(workplace, With({"--commands", "s.jsonl", "--output", "o.mp4"}),
                                          {{{"DISPLAY", std::nullopt}, {"PATH", "/nowhere"}}, {}});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_EQ(result.err, "vanta-run: s.jsonl:2: no operation is called 'SetNothing'; see vanta-run --help-commands\n");
  EXPECT_EQ(workplace.Files(), std::vector<std::string>{"s.jsonl"});
}

TEST(RunCommands, ScriptOfAPictureIsPlayedToItsEnd) {
  const Workplace workplace;
  WriteScript(workplace, R"({"at":5.5,"call":"CancelMagicEffect"})");
  const ProgramResult result = RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(NamesSent(ReadReport(workplace / "r.json")), std::vector<std::string>{"CancelMagicEffect"});
}

TEST(RunCommands, CommandsBehindTheEndAreTold) {
  const Workplace workplace;
  WriteScript(workplace, R"({"at":60,"call":"CancelMagicEffect"})");
  const ProgramResult result =
      RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--seconds", "0.5", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("s.jsonl:1: the run ended before this line's 60.0 s"), std::string::npos) << result.err;
  EXPECT_EQ(ReadReport(workplace / "r.json")["commands"]["not_sent"], 1);
}

TEST(RunCommands, AsynchronousCommandsCanBeSwitchedOff) {
  const Workplace workplace;
  WriteScript(workplace, R"({"at":0.2,"call":"SetBeautyIntensityWithType","type":"smooth","intensity":1})");
  const ProgramResult result = RunProgram(workplace, InStepWith({"--commands", "s.jsonl", "--async-commands", "off",
                                                                 "--seconds", "3", "--report", "r.json"}));
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const json report = ReadReport(workplace / "r.json");
  EXPECT_FALSE(report["switches"]["async-commands"].get<bool>());
  EXPECT_EQ(report["engine"]["last_applied"]["beauty"]["smooth"], 1.0);
}

TEST(RunInteractive, LinesAreTakenWhileItRuns) {
  const Workplace workplace;
  const std::filesystem::path box = workplace / "box";
  std::filesystem::create_directory(box);
  std::ofstream(box / "effect.json")
      << R"({"format":1,"description":"box","messages":[{"at":"start","game_data":{}}]})";
  RunningProgram program(workplace, With({"--interactive", "--report", "r.json"}), {{}, {}, true});
  program.Type("{\"update\":{\"effect_json_ability_handler\":true}}\n");
  program.Type("nonsense\n{\"call\":\"SetNothing\"}\n");
  ASSERT_TRUE(program.WaitForLine("standard input:3: no operation is called 'SetNothing'")) << program.errors();
  program.Type(json({{"call", "LoadInteractiveBoxResource"}, {"path", box.string()}}).dump() + "\n");
  ASSERT_TRUE(program.WaitForLine("ability handler: PostSignalAfterLoadInteractiveBoxResource")) << program.errors();
  program.Type("quit\n");
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("standard input:2: is not JSON"), std::string::npos) << result.err;
  const json report = ReadReport(workplace / "r.json");
  EXPECT_EQ(NamesSent(report), (std::vector<std::string>{"update", "LoadInteractiveBoxResource", "quit"}));
  EXPECT_EQ(report["run"]["ended_by"], "quit");
}

TEST(RunInteractive, FileThatIsRefusedAfterTheEndIsToldAllTheSame) {
  const Workplace workplace;
  RunningProgram program(workplace, With({"--interactive", "--quiet"}), {{}, {}, true});
  program.Type("{\"call\":\"LoadInteractiveBoxResource\",\"path\":\"/missing\"}\nquit\n");
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 8) << result.err;
  EXPECT_NE(result.err.find("/missing"), std::string::npos) << result.err;
}

TEST(RunInteractive, EndOfStandardInputDoesNotEndTheRun) {
  const Workplace workplace;
  RunningProgram program(workplace, With({"--interactive", "--seconds", "2", "--report", "r.json"}), {{}, {}, true});
  program.EndTyping();
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(ReadReport(workplace / "r.json")["run"]["ended_by"], "limit");
}

// A program that writes faster than its lines are read.
TEST(RunInteractive, LinesWithoutAnEndDoNotHoldUpTheEndOfTheRun) {
  const std::string text = RunTool({"sh", "-c",
                                    "yes '#' | timeout -s KILL 240 " VANTA_TEST_PROGRAM
                                    " --quiet --input color:203040 --size 64x64 --interactive --seconds 1 --report -"});
  EXPECT_EQ(json::parse(text)["run"]["ended_by"], "limit");
}

TEST(RunInteractive, TimeThatHasPassedIsRefused) {
  const Workplace workplace;
  RunningProgram program(workplace, With({"--interactive"}), {{}, {}, true});
  program.Type("{\"at\":0,\"call\":\"CancelMagicEffect\"}\n");
  EXPECT_TRUE(program.WaitForLine("standard input:1: its time 0.0 has passed")) << program.errors();
  program.Type("quit\n");
  EXPECT_EQ(program.Finish().exit_code, 0);
}

}  // namespace
}  // namespace vanta_test
