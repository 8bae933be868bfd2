// The built plug-in as a host meets it: by its exports, on real libobs.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <obs.h>
#include <util/bmem.h>

#include "session/virtual_display.h"

namespace {

using Strings = std::set<std::string>;

Strings DynamicSymbols() {
  const std::string command = std::string(VANTA_TEST_NM) + " -D --defined-only " + VANTA_TEST_MODULE_FILE;
  const std::unique_ptr<FILE, int (*)(FILE *)> output(popen(command.c_str(), "r"), pclose);
  std::string text;
  char buffer[512];
  while (output && std::fgets(buffer, sizeof(buffer), output.get())) text += buffer;
  Strings names;
  std::istringstream words(text);
  for (std::string address, kind, name; words >> address >> kind >> name;) names.insert(name);
  return names;
}

// libobs without video or audio, and the module opened in it. Even so libobs wants a display, for its hotkeys.
class ModuleFile : public testing::Test {
 protected:
  ModuleFile() {
    EXPECT_TRUE(obs_startup("en-US", nullptr, nullptr));
    EXPECT_EQ(obs_open_module(&module_, VANTA_TEST_MODULE_FILE, VANTA_TEST_DATA_FOLDER), MODULE_SUCCESS);
    EXPECT_TRUE(obs_init_module(module_));
  }
  ~ModuleFile() override {
    if (obs_initialized()) obs_shutdown();
  }
  static std::string DisplayName(const char *id) {
    const char *name = obs_source_get_display_name(id);
    return name ? name : "";
  }

  vanta_run::VirtualDisplay display_;
  obs_module_t *module_ = nullptr;
};

TEST(ModuleExports, AreTheElevenNamesAndNoOther) {
  EXPECT_EQ(
      DynamicSymbols(),
      (Strings{"obs_module_load", "obs_module_ver", "obs_module_set_pointer", "obs_module_set_locale",
               "obs_module_free_locale", "obs_module_get_string", "FindFacelessInstance", "NvOptimusEnablement",
               "AmdPowerXpressRequestHighPerformance", "_ZN19FrameRateCalcCenter11AddObserverEP21FrameRateCalcObserver",
               "_ZN19FrameRateCalcCenter14RemoveObserverEP21FrameRateCalcObserver"}));
}

TEST_F(ModuleFile, LoadsInPublicLibobsAndOffersTheBeautyFilter) {
  EXPECT_EQ(obs_get_source_output_flags("face_beauty_filter_v2"), static_cast<uint32_t>(OBS_SOURCE_VIDEO));
  EXPECT_EQ(DisplayName("face_beauty_filter_v2"), "Face Beauty");
}

TEST_F(ModuleFile, DisplayNameFollowsTheHostsLocale) {
  obs_set_locale("de-DE");
  EXPECT_EQ(DisplayName("face_beauty_filter_v2"), "Gesichtsverschönerung");
}

TEST_F(ModuleFile, LocaleWithoutAFileReadsAsTheDefault) {
  obs_set_locale("xx-XX");
  EXPECT_EQ(DisplayName("face_beauty_filter_v2"), "Face Beauty");
}

// A leak shows in every round; a thread of libobs that allocates once, when it gets to start, in one only.
TEST_F(ModuleFile, ChangesOfLocaleLeaveNothingAllocated) {
  obs_set_locale("de-DE");
  long left = LONG_MAX;
  for (int round = 0; round < 5; ++round) {
    const long before = bnum_allocs();
    for (int i = 0; i < 20; ++i) obs_set_locale(i % 2 == 0 ? "zh-CN" : "de-DE");
    left = std::min(left, bnum_allocs() - before);
  }
  EXPECT_EQ(left, 0);
}

TEST_F(ModuleFile, EffectAndBuiltinPresetsAreFoundInItsData) {
  for (const char *file : {"vanta_beauty.effect", "faceless_builtin"}) {
    char *path = obs_find_module_file(module_, file);
    EXPECT_NE(path, nullptr) << file;
    bfree(path);
  }
}

TEST_F(ModuleFile, ShutdownLeavesNothingAllocated) {
  obs_shutdown();
  EXPECT_EQ(bnum_allocs(), 0);
}

}  // namespace
