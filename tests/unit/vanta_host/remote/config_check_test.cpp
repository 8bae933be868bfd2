#include "remote/config_check.h"

#include <gtest/gtest.h>
#include <obs.hpp>

#include "controls/green_screen_keys.h"

namespace {

using vanta_host::FindConfigFault;

std::string Fault(const char *config) {
  return FindConfigFault(config).value_or("");
}

TEST(ConfigCheck, FindsNothingInACompleteConfig) {
  const OBSDataAutoRelease settings = obs_data_create();
  vanta_host::SetKeyDefaults(settings);
  EXPECT_EQ(Fault(vanta_host::CompleteConfig(settings).c_str()), "");
  EXPECT_EQ(Fault(R"({"keyColor":[0,0.5,1],"blueBgFlag":true})"), "");
}

TEST(ConfigCheck, FindsATextThatIsNoObject) {
  for (const char *config : {"", "[1]", "{", "1"})
    EXPECT_EQ(Fault(config), "'config' is no text that holds a JSON object");
}

TEST(ConfigCheck, FindsANameThatNoSettingHas) {
  EXPECT_EQ(Fault(R"({"similarity":0.5,"nonsense":1})"), "'nonsense' is no setting of the green screen");
}

TEST(ConfigCheck, FindsAWrongType) {
  EXPECT_EQ(Fault(R"({"similarity":"0.5"})"), "'similarity' is no number");
  EXPECT_EQ(Fault(R"({"spillSupMethod":5.0})"), "'spillSupMethod' is no whole number");
  EXPECT_EQ(Fault(R"({"denoiseEnabled":1})"), "'denoiseEnabled' is neither true nor false");
  EXPECT_EQ(Fault(R"({"blueBgFlag":"yes"})"), "'blueBgFlag' is neither true nor false");
}

TEST(ConfigCheck, FindsANumberOutOfItsRange) {
  EXPECT_EQ(Fault(R"({"similarity":1.5})"), "'similarity' is 1.5; it goes from 0 to 1");
  EXPECT_EQ(Fault(R"({"spillSupRedW":0.25})"), "'spillSupRedW' is 0.25; it goes from 0.5 to 1");
  EXPECT_EQ(Fault(R"({"spillSupMethod":9})"), "'spillSupMethod' is 9; it goes from 0 to 8");
}

TEST(ConfigCheck, FindsAKeyColorThatIsNone) {
  for (const char *config : {R"({"keyColor":[0,1]})", R"({"keyColor":[0,1,2]})", R"({"keyColor":"green"})"})
    EXPECT_EQ(Fault(config), "'keyColor' is no list of three numbers from 0 to 1");
}

}  // namespace
