// One line of a script: what it means, and why it is refused.
#include "commands/command.h"

#include <gtest/gtest.h>

#include "fakes/control/fake_target.h"
#include "vanta_host.h"

namespace vanta_test {
namespace {

using vanta_run::BadCommand;
using vanta_run::ReadCommand;

std::string Refusal(const std::string &line) {
  std::optional<double> at;
  try {
    ReadCommand(line, at);
  } catch (const BadCommand &reason) {
    return reason.what();
  }
  return "";
}

TEST(Command, BlankLinesAndRemarksSayNothing) {
  std::optional<double> at;
  for (const char *line : {"", "  \t\r", "# {\"quit\":true}", "   # remark"})
    EXPECT_FALSE(ReadCommand(line, at)) << line;
}

TEST(Command, TimeIsTakenFromTheLine) {
  std::optional<double> at;
  ASSERT_TRUE(ReadCommand(R"({"at":2.5,"call":"CancelMagicEffect"})", at));
  EXPECT_EQ(at, 2.5);
}

TEST(Command, LineWithoutATimeHasNone) {
  std::optional<double> at = 7;
  ASSERT_TRUE(ReadCommand(R"({"call":"CancelMagicEffect"})", at));
  EXPECT_FALSE(at);
}

TEST(Command, TimeOfARefusedLineIsKnownAllTheSame) {
  std::optional<double> at;
  EXPECT_THROW(ReadCommand(R"({"at":3,"call":"Nothing"})", at), BadCommand);
  EXPECT_EQ(at, 3.0);
}

TEST(Command, UpdateIsHandedOverAsOneObject) {
  FakeTarget target;
  std::optional<double> at;
  ReadCommand(R"({"update":{"no_green_matting":true,"other":{"a":[{}]}}})", at)->action(target);
  EXPECT_EQ(target.updates, std::vector<std::string>{R"({"no_green_matting":true,"other":{"a":[{}]}})"});
}

TEST(Command, SwitchIsSetAtTheHost) {
  FakeTarget target;
  std::optional<double> at;
  ReadCommand(R"({"switch":"async-commands","on":false})", at)->action(target);
  EXPECT_FALSE(vanta_host_get_switch(VANTA_SWITCH_ASYNC_BEAUTY));
}

TEST(Command, QuitIsAnObjectOrTheWordAlone) {
  for (const char *line : {R"({"quit":true})", "quit", "  quit \r"}) {
    FakeTarget target;
    std::optional<double> at;
    ReadCommand(line, at)->action(target);
    EXPECT_TRUE(target.quit) << line;
  }
}

struct Refused {
  const char *name;
  std::string line;
  const char *reason;  // how it begins
};

class RefusedCommand : public testing::TestWithParam<Refused> {};

TEST_P(RefusedCommand, TellsTheReason) {
  const std::string reason = Refusal(GetParam().line);
  EXPECT_EQ(reason.substr(0, std::string(GetParam().reason).size()), GetParam().reason);
  EXPECT_EQ(reason.find('\n'), std::string::npos) << reason;
}

INSTANTIATE_TEST_SUITE_P(
    All, RefusedCommand,
    testing::Values(
        Refused{"NoJson", "nonsense", "is not JSON: column 2: "}, Refused{"HalfJson", R"({"call")", "is not JSON: "},
        Refused{"TwoObjects", "{} {}", "is not JSON: "}, Refused{"BrokenText", "{\"call\":\"\xff\"}", "is not JSON: "},
        Refused{"List", "[1]", "is no JSON object"},
        Refused{"Nothing", R"({"at":1})", "asks for nothing: neither 'call', 'update', 'switch' nor 'quit'"},
        Refused{"TwoThings", R"({"quit":true,"update":{}})", "asks for two things, 'update' and 'quit'"},
        Refused{"TimeText", R"({"at":"1","quit":true})", "member 'at' is no number of seconds, 0 or more"},
        Refused{"NegativeTime", R"({"at":-1,"quit":true})", "member 'at' is no number of seconds, 0 or more"},
        Refused{"UnknownName", R"({"call":"SetBeauty"})", "no operation is called 'SetBeauty'"},
        Refused{"NameOfACommandInOtherLetters", R"({"call":"cancelMagicEffect"})",
                "no operation is called 'cancelMagicEffect'"},
        Refused{"NameNoText", R"({"call":3})", "member 'call' is no text"},
        Refused{"Missing", R"({"call":"SetLookupIntensity"})", "member 'intensity' is missing"},
        Refused{"Unknown", R"({"call":"CancelMagicEffect","x":1})", "no member is called 'x' here"},
        Refused{"WrongNumber", R"({"call":"SetLookupIntensity","intensity":"1"})", "member 'intensity' is no number"},
        Refused{"LargeNumber", R"({"call":"SetLookupIntensity","intensity":1e39})", "member 'intensity' is too large"},
        Refused{"WrongBool", R"({"call":"SetFacelessJumpInfo","need_jump":1,"jump_type":0})",
                "member 'need_jump' is neither true nor false"},
        Refused{"WrongInteger", R"({"call":"SetEffectStateWithState","state":1.0})",
                "member 'state' is no whole number"},
        Refused{"LargeInteger", R"({"call":"SetEffectStateWithState","state":2147483648})",
                "member 'state' does not fit into 32 bits"},
        Refused{"SmallInteger", R"({"call":"SetEffectStateWithState","state":-2147483649})",
                "member 'state' does not fit into 32 bits"},
        Refused{"WrongText", R"({"call":"SetModelRootPath","path":null})", "member 'path' is no text"},
        Refused{"ZeroCharacter", R"({"call":"SetModelRootPath","path":"a\u0000b"})",
                "member 'path' holds a zero character"},
        Refused{"LongPath", R"({"call":"SetBeautyGroupPath","path":")" + std::string(1024, 'x') + R"("})",
                "member 'path' is longer than 1023 bytes"},
        Refused{"TypeName", R"({"call":"SetBeautyIntensityWithType","type":"charm","intensity":1})",
                "member 'type' names no intensity"},
        Refused{"EffectName", R"({"call":"SetEffectEnabledWithEffectType","type":"charm","enabled":true})",
                "member 'type' names no effect"},
        Refused{"List2", R"({"call":"SetMagicCustomImage","paths":["a",2]})", "member 'paths': item 2 is no text"},
        Refused{"NoList", R"({"call":"SetMagicCustomImage","paths":"a"})", "member 'paths' is no list"},
        Refused{"Record", R"({"call":"SetEngineSnapshot","lookup":{"intensity":1}})",
                "member 'lookup': member 'path' is missing"},
        Refused{"RecordOfList", R"({"call":"SetMakeupInfo","layers":[{"resourceDir":"d","key":1,"intensity":1}]})",
                "member 'layers': item 1: member 'key' is no text"},
        Refused{"Map", R"({"call":"SetEngineSnapshot","deform":{"two":1}})",
                "member 'deform': member 'two' is no whole number"},
        Refused{"Words", R"({"call":"SetEngineSnapshot","words":[1,2]})", "member 'words' is no list of 3"},
        Refused{"Source",
                R"({"call":"SetMagicEffectForSources","sources":["desk"],"request":{"path":"","slot":0,"flag":true}})",
                "member 'sources' names no source 'desk'"},
        Refused{"UpdateNoObject", R"({"update":[]})", "member 'update' is no object"},
        Refused{"UpdateWithMore", R"({"update":{},"x":1})", "no member is called 'x' here"},
        Refused{"UpdateBool", R"({"update":{"no_green_matting":"yes"}})",
                "member 'update': member 'no_green_matting' is neither true nor false"},
        Refused{"UpdateInterop", R"({"update":{"lx_enable_nvdx_interop":true}})",
                "member 'update': member 'lx_enable_nvdx_interop' is no text"},
        Refused{"UpdateAngle", R"({"update":{"sceneitem_orientation_info":{"rot_deg":1.5}}})",
                "member 'update': member 'sceneitem_orientation_info': member 'rot_deg' is no whole number"},
        Refused{"UpdateAddress", R"({"update":{"effect_json_ability_handler":4096}})",
                "member 'update': member 'effect_json_ability_handler' is neither true nor false"},
        Refused{"UpdateDepth",
                R"({"update":)" +
                    [] {
                      std::string deep;
                      for (int i = 0; i < 200; ++i) deep += R"({"a":)";
                      return deep + "1" + std::string(200, '}');
                    }() +
                    "}",
                "member 'update' is nested too deeply"},
        Refused{"SwitchName", R"({"switch":"light","on":true})", "no host switch is called 'light'"},
        Refused{"SwitchWithoutOn", R"({"switch":"async-commands"})", "member 'on' is missing"},
        Refused{"QuitFalse", R"({"quit":false})", "member 'quit' is not true"}),
    [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vanta_test
