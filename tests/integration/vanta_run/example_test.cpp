// The example of the README works.
#include <gtest/gtest.h>

#include <string>

#include "program.h"
#include "session/virtual_display.h"

namespace vanta_test {
namespace {

int BrightnessAfter(const std::string &text, const std::string &step) {
  const std::string start = step + ": brightness ";
  const size_t at = text.rfind("\n" + start);
  if (at == std::string::npos) return text.rfind(start, 0) == 0 ? std::stoi(text.substr(start.size())) : -1;
  return std::stoi(text.substr(at + 1 + start.size()));
}

TEST(Example, ControlObjectChangesThePictureStepByStep) {
  const vanta_run::VirtualDisplay display;
  const std::string text = RunTool({VANTA_TEST_EXAMPLE, VANTA_TEST_MODULE, VANTA_TEST_DATA});
  EXPECT_GT(BrightnessAfter(text, "snapshot"), 100) << text;
  EXPECT_GT(BrightnessAfter(text, "command"), BrightnessAfter(text, "snapshot")) << text;
  EXPECT_EQ(BrightnessAfter(text, "jump"), 100) << text;
  EXPECT_GT(BrightnessAfter(text, "no jump"), 100) << text;
}

}  // namespace
}  // namespace vanta_test
