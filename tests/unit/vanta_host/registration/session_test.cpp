#include <clocale>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <util/platform.h>
#include <obs.hpp>

#include "fixtures/host/headless_session.h"
#include "fixtures/process/log_capture.h"
#include "vanta_host.h"

namespace {

using namespace vanta_test;

const std::vector<const char *> kSignals = {"vanta_filter_callback", "zt_magic_callback", "body_slimming_status",
                                            "TesseraFacePointRet"};

// How many of the module's signals reach a subscriber.
size_t SignalsThatArrive() {
  size_t arrived = 0;
  for (const char *name : kSignals) {
    const auto count = [](void *param, calldata_t *) { ++*static_cast<size_t *>(param); };
    signal_handler_connect(obs_get_signal_handler(), name, count, &arrived);
    calldata_t data{};
    signal_handler_signal(obs_get_signal_handler(), name, &data);
    signal_handler_disconnect(obs_get_signal_handler(), name, count, &arrived);
  }
  return arrived;
}

TEST(Session, IsNotAttachedWithoutLibobs) {
  EXPECT_FALSE(vanta_host_attach());
}

TEST(Session, DetachingWithoutLibobsIsHarmless) {
  vanta_host_detach();
  EXPECT_FALSE(vanta_host_attach());
}

TEST(Session, DeclaresTheModulesSignals) {
  HeadlessSession obs;
  EXPECT_EQ(SignalsThatArrive(), 0u);
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_EQ(SignalsThatArrive(), kSignals.size());
}

TEST(Session, DeclaresThemOnceHoweverOftenItIsAttached) {
  HeadlessSession obs;
  LogCapture log;
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_TRUE(vanta_host_attach());
  vanta_host_detach();
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_TRUE(log.Lines().empty()) << log.Lines()[0].text;
  EXPECT_EQ(SignalsThatArrive(), kSignals.size());
}

TEST(Session, DeclaresThemAgainAfterEachStart) {
  for (int i = 0; i < 3; ++i) {
    HeadlessSession obs;
    EXPECT_TRUE(vanta_host_attach());
    EXPECT_EQ(SignalsThatArrive(), kSignals.size()) << i;
  }
}

TEST(Session, DeclaresThemAgainWhereNobodyDetached) {
  OpenDisplay();
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(obs_startup("en-US", nullptr, nullptr));
    EXPECT_TRUE(vanta_host_attach());
    EXPECT_EQ(SignalsThatArrive(), kSignals.size()) << i;
    obs_shutdown();
  }
}

TEST(Session, LeavesNothingBehind) {
  const long before = bnum_allocs();
  {
    HeadlessSession obs;
    EXPECT_TRUE(vanta_host_attach());
  }
  EXPECT_EQ(bnum_allocs(), before);
}

TEST(Session, SwitchesOutliveIt) {
  {
    HeadlessSession obs;
    EXPECT_TRUE(vanta_host_attach());
    vanta_host_set_switch(VANTA_SWITCH_FRAME_FLIP, false);
  }
  EXPECT_FALSE(vanta_host_get_switch(VANTA_SWITCH_FRAME_FLIP));
}

size_t MultibyteCount(const char *text) {
  char *converted = nullptr;
  const size_t count = os_utf8_to_mbs_ptr(text, std::strlen(text), &converted);
  bfree(converted);
  return count;
}

TEST(Session, LeavesThePlainLocale) {
  std::setlocale(LC_ALL, "C");
  setenv("LC_ALL", "C", 1);
  HeadlessSession obs;
  const char *path = "/home/\xC3\xA9t\xC3\xA9";
  ASSERT_EQ(MultibyteCount(path), 0u);
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_EQ(MultibyteCount(path), std::strlen(path));
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

TEST(Session, KeepsTheLocaleOfTheProgram) {
  ASSERT_TRUE(std::setlocale(LC_CTYPE, "C.utf8"));  // a name that nobody else gives it
  setenv("LC_ALL", "POSIX", 1);
  HeadlessSession obs;
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C.utf8");
}

}  // namespace
