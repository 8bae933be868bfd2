// Without its effect file the filter cannot be made; its record and its running worker stay behind on purpose, so each
// case ends in a process of its own.
#include <unistd.h>

#include "fixtures/module/filter_fixture.h"
#include "fixtures/process/wait.h"

namespace {

using namespace vanta_test;

class MissingEffect : public FilterFixture {
 protected:
  // Ends the process with 0 when `create` gave null and left everything running.
  [[noreturn]] void CreateAndLeave() {
    void *instance = record_.create(settings_, &filter_);
    if (instance) _exit(1);
    if (!WaitUntil([] { return host_double::Count("AddThread") == 1; })) _exit(2);
    if (!log_.WaitFor(300, "[beauty] LumivexProcessor init successful 0 0")) _exit(3);
    if (host_double::Count("RemoveThread") != 0) _exit(4);
    if (obs_data_has_user_value(settings_, "apply_flag")) _exit(5);  // the steps behind the effect are not taken
    if (gs_recorder::Count("gs_texture_create") != 0) _exit(6);
    if (gs_recorder::GraphicsDepth() != 0) _exit(7);
    _exit(0);
  }
};

using MissingEffectDeathTest = MissingEffect;

TEST_F(MissingEffectDeathTest, CreateGivesNullAndTheWorkerRunsOn) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        gs_recorder::SetModuleFile("");
        CreateAndLeave();
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(MissingEffectDeathTest, SoItIsWithAFileThatDoesNotCompile) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        gs_recorder::FailAll("gs_effect_create_from_file");
        CreateAndLeave();
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
