#include "platform/named_event.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace {

struct Event {
  explicit Event(const char *name) : handle(CreateEventA(nullptr, TRUE, FALSE, name)) {}
  ~Event() { CloseHandle(handle); }
  bool IsSet() const { return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0; }
  HANDLE handle;
};

TEST(NamedEvent, EventOfThatNameIsSet) {
  const Event event("vanta_gift_done");
  ASSERT_FALSE(event.IsSet());
  EXPECT_TRUE(vanta::SetNamedEvent("vanta_gift_done"));
  EXPECT_TRUE(event.IsSet());
}

TEST(NamedEvent, OtherEventsStayUnset) {
  const Event event("vanta_gift_done");
  const Event other("vanta_gift_other");
  vanta::SetNamedEvent("vanta_gift_done");
  EXPECT_FALSE(other.IsSet());
}

TEST(NamedEvent, UnknownNameIsRefused) {
  EXPECT_FALSE(vanta::SetNamedEvent("vanta_nobody_made_this"));
}

TEST(NamedEvent, EmptyNameIsRefused) {
  EXPECT_FALSE(vanta::SetNamedEvent(""));
}

TEST(NamedEvent, SettingLeavesNoHandleBehind) {
  {
    const Event event("vanta_gift_done");
    vanta::SetNamedEvent("vanta_gift_done");
  }
  EXPECT_FALSE(vanta::SetNamedEvent("vanta_gift_done"));
}

}  // namespace
