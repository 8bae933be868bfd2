#include "platform/named_event.h"

#include <gtest/gtest.h>

#include <string>

#include "fixtures/platform/system_facts.h"

namespace {

using vanta_test::HostEvent;

std::string Unique(const std::string &name) {
  return name + std::to_string(vanta_test::ProcessId());
}

TEST(NamedEvent, EventOfThatNameIsSet) {
  const HostEvent event(Unique("vanta_gift_done"));
  ASSERT_FALSE(event.IsSet());
  EXPECT_TRUE(vanta::SetNamedEvent(Unique("vanta_gift_done")));
  EXPECT_TRUE(event.IsSet());
}

TEST(NamedEvent, OtherEventsStayUnset) {
  const HostEvent event(Unique("vanta_gift_done"));
  const HostEvent other(Unique("vanta_gift_other"));
  vanta::SetNamedEvent(Unique("vanta_gift_done"));
  EXPECT_FALSE(other.IsSet());
}

TEST(NamedEvent, UnknownNameIsRefusedAndMakesNone) {
  EXPECT_FALSE(vanta::SetNamedEvent(Unique("vanta_nobody_made_this")));
  EXPECT_FALSE(vanta::SetNamedEvent(Unique("vanta_nobody_made_this")));
}

TEST(NamedEvent, EmptyNameIsRefused) {
  EXPECT_FALSE(vanta::SetNamedEvent(""));
}

TEST(NamedEvent, SettingKeepsNothingOpen) {
  {
    const HostEvent event(Unique("vanta_gift_done"));
    vanta::SetNamedEvent(Unique("vanta_gift_done"));
  }
  EXPECT_FALSE(vanta::SetNamedEvent(Unique("vanta_gift_done")));
}

}  // namespace
