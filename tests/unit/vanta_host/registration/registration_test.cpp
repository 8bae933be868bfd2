#include "registration/registration.h"

#include <array>
#include <cstring>
#include <string>
#include <system_error>

#include <gtest/gtest.h>
#include <obs.hpp>

#include "fakes/control/fake_filter.h"
#include "fixtures/host/headless_session.h"
#include "fixtures/host/registrations.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"

namespace {

using namespace vanta_test;

constexpr size_t kLong = 432;
constexpr size_t kPublic = 400;

void Register(const HostSourceInfo &record) {
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), kLong);
}

uint64_t Word(const void *record, size_t offset) {
  uint64_t word;
  std::memcpy(&word, static_cast<const char *>(record) + offset, sizeof(word));
  return word;
}

TEST(Registration, EachSlotOfTheLongRecordReachesItsPublicPlace) {
  HeadlessSession obs;
  ForwardRegistrations(false);
  alignas(HostSourceInfo) char bytes[kLong];
  for (uint64_t offset = 0; offset < kLong; offset += 8) {
    const uint64_t word = 0x5500000000000000 + offset;
    std::memcpy(bytes + offset, &word, sizeof(word));
  }
  const char *id = "slots";
  std::memcpy(bytes, &id, sizeof(id));
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(bytes), kLong);

  EXPECT_EQ(LastRegistration().size, kPublic);
  const obs_source_info &info = LastRegistration().info;
  EXPECT_STREQ(info.id, "slots");
  for (size_t offset = 8; offset < kPublic; offset += 8) {
    const size_t from = offset < 72 ? offset : offset + 8;
    const bool host_stands_between = from == 24 || from == 32 || from == 136;  // create, destroy, filter_video
    if (host_stands_between)
      EXPECT_NE(Word(&info, offset), 0x5500000000000000 + from) << offset;
    else
      EXPECT_EQ(Word(&info, offset), 0x5500000000000000 + from) << offset;
  }
}

TEST(Registration, SlotsKeepTheirNames) {
  HeadlessSession obs;
  ForwardRegistrations(false);
  HostSourceInfo record = FakeRecord("names");
  record.get_properties = [](void *) -> obs_properties_t * { return nullptr; };
  record.host_slot = [] {};
  record.video_render = [](void *, gs_effect_t *) {};
  record.filter_remove = [](void *, obs_source_t *) {};
  record.icon_type = OBS_ICON_TYPE_CAMERA;
  record.version = 3;
  record.video_get_color_space = [](void *, size_t, const gs_color_space *) { return GS_CS_SRGB; };
  Register(record);
  const obs_source_info &info = LastRegistration().info;
  EXPECT_EQ(info.type, OBS_SOURCE_TYPE_FILTER);
  EXPECT_EQ(info.output_flags, uint32_t{OBS_SOURCE_VIDEO});
  EXPECT_EQ(info.get_name, record.get_name);
  EXPECT_EQ(info.get_properties, record.get_properties);
  EXPECT_EQ(info.update, record.update);
  EXPECT_EQ(info.video_render, record.video_render);
  EXPECT_EQ(info.filter_remove, record.filter_remove);
  EXPECT_EQ(info.icon_type, OBS_ICON_TYPE_CAMERA);
  EXPECT_EQ(info.version, 3u);
  EXPECT_EQ(info.video_get_color_space, record.video_get_color_space);
}

TEST(Registration, EmptySlotsStayEmpty) {
  HeadlessSession obs;
  ForwardRegistrations(false);
  HostSourceInfo record{};
  record.id = "empty";
  Register(record);
  const obs_source_info &info = LastRegistration().info;
  for (size_t offset = 8; offset < kPublic; offset += 8) EXPECT_EQ(Word(&info, offset), 0u) << offset;
}

TEST(Registration, RecordsOfAnotherLengthGoOnAsTheyAre) {
  HeadlessSession obs;
  ForwardRegistrations(false);
  obs_source_info info{};
  info.id = "public";
  for (size_t size : {kPublic, size_t{392}}) {
    __wrap_obs_register_source_s(&info, size);
    EXPECT_EQ(LastRegistration().address, &info);
    EXPECT_EQ(LastRegistration().size, size);
  }
}

TEST(Registration, LibobsTakesTheFilterAndDrivesIt) {
  HeadlessSession obs;
  ASSERT_TRUE(StartVideo());
  Register(FakeRecord("fake_filter"));
  EXPECT_STREQ(obs_source_get_display_name("fake_filter"), "fake");
  {
    OBSSourceAutoRelease source = obs_source_create_private("fake_filter", "one", nullptr);
    EXPECT_EQ(TheFakeFilter().source, source.Get());
    EXPECT_EQ(TheFakeFilter().Calls().at(0), "create");
    obs_source_update(source, nullptr);
    EXPECT_TRUE(WaitUntil([] { return TheFakeFilter().Has("update"); }));
  }
  EXPECT_TRUE(WaitUntil([] { return TheFakeFilter().Has("destroy"); }));
}

TEST(Registration, ARefusedDuplicateLeavesTheFirstItsCallbacks) {
  HeadlessSession obs;
  Register(FakeRecord("fake_filter"));
  HostSourceInfo duplicate = FakeRecord("fake_filter");
  duplicate.create = [](obs_data_t *, obs_source_t *) -> void * {
    TheFakeFilter().Note("duplicate");
    return nullptr;
  };
  Register(duplicate);
  OBSSourceAutoRelease source = obs_source_create_private("fake_filter", "one", nullptr);
  EXPECT_EQ(TheFakeFilter().Calls().at(0), "create");
}

// libobs would keep half a source, and a host in C would end.
TEST(Registration, AFilterWhoseThreadCannotBeMadeIsNotMade) {
  HeadlessSession obs;
  HostSourceInfo record = FakeRecord("fake_filter");
  record.create = [](obs_data_t *, obs_source_t *) -> void * {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  };
  Register(record);
  const OBSSourceAutoRelease source = obs_source_create_private("fake_filter", "one", nullptr);
  EXPECT_EQ(obs_obj_get_data(source), nullptr);
}

TEST(Registration, AfterARestartTheNewCallbacksCount) {
  {
    HeadlessSession obs;
    Register(FakeRecord("fake_filter"));
  }
  HeadlessSession obs;
  HostSourceInfo anew = FakeRecord("fake_filter");
  anew.create = [](obs_data_t *, obs_source_t *) -> void * {
    TheFakeFilter().Note("create anew");
    return new char;
  };
  Register(anew);
  OBSSourceAutoRelease source = obs_source_create_private("fake_filter", "one", nullptr);
  EXPECT_EQ(TheFakeFilter().Calls().at(0), "create anew");
}

TEST(Registration, TypesPastTheTableStillWorkWithoutMarks) {
  std::array<std::string, 17> ids;  // libobs keeps their addresses
  HeadlessSession obs;
  LogCapture log;
  for (size_t i = 0; i < ids.size(); ++i) {
    ids[i] = "fake_" + std::to_string(i);
    Register(FakeRecord(ids[i].c_str()));
  }
  EXPECT_TRUE(log.Has(LOG_WARNING, "[vanta_host] no room for fake_16: its frames cannot be marked for a dump"));
  OBSSourceAutoRelease last = obs_source_create_private("fake_16", "last", nullptr);
  ASSERT_TRUE(last);
  EXPECT_EQ(TheFakeFilter().source, last.Get());
  EXPECT_FALSE(vanta_host_mark_next_frame(last, 5));
  OBSSourceAutoRelease other = obs_source_create_private("fake_15", "other", nullptr);
  EXPECT_TRUE(vanta_host_mark_next_frame(other, 5));
}

TEST(Registration, TheFirstOneAttachesTheHost) {
  HeadlessSession obs;
  LogCapture log;
  Register(FakeRecord("fake_filter"));
  static bool came = false;
  signal_handler_connect(
      obs_get_signal_handler(), "body_slimming_status", [](void *, calldata_t *) { came = true; }, nullptr);
  signal_handler_signal(obs_get_signal_handler(), "body_slimming_status", nullptr);
  EXPECT_TRUE(came);
}

}  // namespace
