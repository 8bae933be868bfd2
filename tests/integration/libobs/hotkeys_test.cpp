// Hotkeys, pressed by libobs itself.
#include <gtest/gtest.h>
#include <obs.hpp>

#include <cstring>
#include <string>

#include "fixtures/libobs/obs_session.h"

namespace vanta_integration {
namespace {

struct Search {
  const char *name;
  const void *registerer;  // null: any
  obs_hotkey_id id;
  std::string description;
};

// A source's hotkey is registered by a weak reference on it.
Search Find(const char *name, obs_source_t *source = nullptr) {
  Search search{name, source, OBS_INVALID_HOTKEY_ID, {}};
  obs_enum_hotkeys(
      [](void *data, obs_hotkey_id id, obs_hotkey_t *key) {
        auto &wanted = *static_cast<Search *>(data);
        if (std::strcmp(obs_hotkey_get_name(key), wanted.name) != 0) return true;
        auto *weak = static_cast<obs_weak_source_t *>(obs_hotkey_get_registerer(key));
        if (wanted.registerer) {
          const OBSSourceAutoRelease source = obs_weak_source_get_source(weak);
          if (source != wanted.registerer) return true;
        }
        wanted.id = id;
        wanted.description = obs_hotkey_get_description(key);
        return false;
      },
      &search);
  return search;
}

class Hotkeys : public testing::Test {
 protected:
  Hotkeys() : filter_(obs_source_create("face_beauty_filter_v2", "beauty", nullptr, nullptr)) {
    obs_hotkey_enable_callback_rerouting(true);
  }

  void Press(const char *name, bool pressed = true) { obs_hotkey_trigger_routed_callback(Find(name).id, pressed); }
  void Tap(const char *name) {
    Press(name);
    Press(name, false);
  }
  int Value(const char *name) const {
    const OBSDataAutoRelease settings = obs_source_get_settings(filter_);
    return static_cast<int>(obs_data_get_int(settings, name));
  }
  void Set(const char *name, int value) {
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, name, value);
    obs_source_update(filter_, settings);
    WaitForTicks(2);
  }

  const ObsSession session_;
  OBSSourceAutoRelease filter_;
};

TEST_F(Hotkeys, AreDescribedInTheHostsLanguageWithTheFiltersName) {
  EXPECT_EQ(Find("vanta_filter.on", filter_).description, "Switch on beauty");
  EXPECT_EQ(Find("vanta_filter.compare").description, "Face Beauty: hold to compare");
}

TEST_F(Hotkeys, SwitchOneFilterOffAndOn) {
  Tap("vanta_filter.off");
  EXPECT_FALSE(obs_source_enabled(filter_));
  Tap("vanta_filter.on");
  EXPECT_TRUE(obs_source_enabled(filter_));
}

TEST_F(Hotkeys, SwitchTheLookOffAndBringItBack) {
  Set("beauty_smooth", 80);
  Tap("vanta_filter.beauty_off");
  EXPECT_EQ(Value("beauty_smooth"), 0);
  Tap("vanta_filter.beauty_off");  // off already
  Tap("vanta_filter.beauty_on");
  EXPECT_EQ(Value("beauty_smooth"), 80);
  EXPECT_EQ(Value("beauty_whiten"), 15);
}

TEST_F(Hotkeys, GoFromLookToLookAndBeginAgain) {
  Tap("vanta_filter.next_look");
  const int first = Value("beauty_smooth");
  EXPECT_EQ(first, 60);  // "baixi"
  Tap("vanta_filter.next_look");
  EXPECT_NE(Value("beauty_smooth"), first);
  for (int i = 0; i < 4; ++i) Tap("vanta_filter.next_look");
  EXPECT_EQ(Value("beauty_smooth"), first);
}

TEST_F(Hotkeys, CompareAsLongAsTheKeyIsHeld) {
  Set("beauty_smooth", 80);
  Press("vanta_filter.compare");
  EXPECT_EQ(Value("beauty_smooth"), 0);
  Press("vanta_filter.compare");  // a key that repeats
  Press("vanta_filter.compare", false);
  EXPECT_EQ(Value("beauty_smooth"), 80);
}

TEST_F(Hotkeys, LeaveALookAloneThatWasChangedWhileComparing) {
  Press("vanta_filter.compare");
  Set("beauty_smooth", 12);
  Press("vanta_filter.compare", false);
  EXPECT_EQ(Value("beauty_smooth"), 12);
  EXPECT_EQ(Value("beauty_whiten"), 0);
}

TEST_F(Hotkeys, OfAFilterGoWithIt) {
  filter_ = nullptr;
  while (obs_wait_for_destroy_queue()) {
  }
  EXPECT_EQ(Find("vanta_filter.on").id, OBS_INVALID_HOTKEY_ID);
}

}  // namespace
}  // namespace vanta_integration
