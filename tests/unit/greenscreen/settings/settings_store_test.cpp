#include "greenscreen/settings/settings_store.h"

#include <gtest/gtest.h>

#include "fixtures/process/log_capture.h"

namespace vanta_test {
namespace {

TEST(SettingsStore, BeginsWithTheDefaults) {
  const vanta::SettingsStore store;
  EXPECT_EQ(store.Current().alpha_down, 0.75f);
  EXPECT_EQ(store.Snapshot().revision, 0u);
}

TEST(SettingsStore, CountsAChange) {
  vanta::SettingsStore store;
  store.Update(R"({"alphaUp":0.5})");
  EXPECT_EQ(store.Snapshot().values.alpha_up, 0.5f);
  EXPECT_EQ(store.Snapshot().revision, 1u);
  EXPECT_EQ(store.Snapshot().key_revision, 0u) << "the key table does not know this one";
}

TEST(SettingsStore, CountsAChangeOfTheKeyApart) {
  vanta::SettingsStore store;
  store.Update(R"({"similarity":0.5})");
  store.Update(R"({"alphaUp":0.5})");
  EXPECT_EQ(store.Snapshot().revision, 2u);
  EXPECT_EQ(store.Snapshot().key_revision, 1u);
}

TEST(SettingsStore, DoesNotCountATextThatSaysTheSame) {
  vanta::SettingsStore store;
  store.Update(R"({"similarity":0.5})");
  store.Update(R"({ "similarity" : 0.5 })");
  store.Update("{}");
  store.Update("");
  store.Update(nullptr);
  EXPECT_EQ(store.Snapshot().revision, 1u);
  EXPECT_EQ(store.Snapshot().key_revision, 1u);
}

TEST(SettingsStore, KeepsItsSettingsAtATextThatIsNoJson) {
  const LogCapture log;
  vanta::SettingsStore store;
  store.Update(R"({"alphaUp":0.5})");
  store.Update("[1]");
  EXPECT_EQ(store.Current().alpha_up, 0.5f);
  EXPECT_EQ(store.Snapshot().revision, 1u);
  EXPECT_EQ(log.CountWith("invalid config json, keep previous settings. json=[1]"), 1u);
}

}  // namespace
}  // namespace vanta_test
