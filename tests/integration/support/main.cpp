// Opens a display for the process, then runs its tests.
#include <gtest/gtest.h>

#include <cstdio>
#include <optional>

#include "failure.h"
#include "integration/support/display.h"
#include "virtual_display.h"

namespace {

_XDisplay *opened = nullptr;

}  // namespace

_XDisplay *vanta_integration::Display() {
  return opened;
}

int main(int argc, char **argv) {
  testing::InitGoogleTest(&argc, argv);
  if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
  std::optional<vanta_run::VirtualDisplay> display;
  try {
    display.emplace();
  } catch (const vanta_run::Failure &failure) {
    std::printf("skipped: %s\n", failure.what());
    return 0;
  }
  opened = display->connection();
  return RUN_ALL_TESTS();
}
