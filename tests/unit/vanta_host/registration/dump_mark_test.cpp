#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <obs.hpp>

#include "fakes/control/fake_filter.h"
#include "fixtures/host/headless_session.h"
#include "fixtures/host/registrations.h"
#include "fixtures/process/wait.h"
#include "registration/registration.h"
#include "vanta_filter/module/host_frame.h"
#include "vanta_host.h"

namespace {

using namespace vanta_test;

// A filter of the module's kind, and the callback that libobs calls for each of its frames.
class DumpMark : public testing::Test {
 protected:
  DumpMark() {
    const HostSourceInfo record = FakeRecord("fake_filter");
    __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
    filter_video_ = LastRegistration().info.filter_video;
    filter_ = obs_source_create_private("fake_filter", "one", nullptr);
    data_ = obs_obj_get_data(filter_.Get());
  }

  // One frame goes through the filter `data`; `left_over` is what its recycled record still holds.
  void Pass(void *data, uint32_t left_over) {
    obs_source_frame frame{};
    vanta::SetDumpId(&frame, left_over);
    EXPECT_EQ(filter_video_(data, &frame), &frame);
  }
  void Pass(uint32_t left_over = 0) { Pass(data_, left_over); }

  HeadlessSession obs_;
  OBSSourceAutoRelease filter_;
  decltype(obs_source_info::filter_video) filter_video_;
  void *data_;
};

TEST_F(DumpMark, AMarkComesWithTheNextFrameAlone) {
  Pass();
  EXPECT_TRUE(vanta_host_mark_next_frame(filter_, 77));
  Pass();
  Pass();
  EXPECT_EQ(TheFakeFilter().dump_ids, (std::vector<uint32_t>{0, 77, 0}));
}

TEST_F(DumpMark, ARecycledRecordsOldMarkIsCleared) {
  Pass(77);
  EXPECT_EQ(TheFakeFilter().dump_ids, std::vector<uint32_t>{0});
}

TEST_F(DumpMark, ASecondMarkReplacesTheFirst) {
  EXPECT_TRUE(vanta_host_mark_next_frame(filter_, 77));
  EXPECT_TRUE(vanta_host_mark_next_frame(filter_, 78));
  Pass();
  Pass();
  EXPECT_EQ(TheFakeFilter().dump_ids, (std::vector<uint32_t>{78, 0}));
}

TEST_F(DumpMark, GoesToItsFilterAlone) {
  OBSSourceAutoRelease other = obs_source_create_private("fake_filter", "other", nullptr);
  EXPECT_TRUE(vanta_host_mark_next_frame(filter_, 76));
  Pass();
  EXPECT_TRUE(vanta_host_mark_next_frame(other, 77));
  Pass();
  Pass(obs_obj_get_data(other.Get()), 0);
  EXPECT_EQ(TheFakeFilter().dump_ids, (std::vector<uint32_t>{76, 0, 77}));
}

TEST_F(DumpMark, GoesWithItsFilter) {
  obs_source_t *gone;
  {
    OBSSourceAutoRelease other = obs_source_create_private("fake_filter", "other", nullptr);
    gone = other;
    EXPECT_TRUE(vanta_host_mark_next_frame(other, 77));
  }
  ASSERT_TRUE(WaitUntil([] { return TheFakeFilter().Has("destroy"); }));
  EXPECT_FALSE(vanta_host_mark_next_frame(gone, 78));
  Pass(5);
  EXPECT_EQ(TheFakeFilter().dump_ids, std::vector<uint32_t>{0});
}

TEST_F(DumpMark, IsRefusedForZeroForNothingAndForAStranger) {
  EXPECT_FALSE(vanta_host_mark_next_frame(filter_, 0));
  EXPECT_FALSE(vanta_host_mark_next_frame(nullptr, 77));
  obs_source_info info{};
  info.id = "stranger";
  info.type = OBS_SOURCE_TYPE_FILTER;
  info.output_flags = OBS_SOURCE_VIDEO;
  info.get_name = [](void *) { return "stranger"; };
  info.create = [](obs_data_t *, obs_source_t *) -> void * { return new char; };
  info.destroy = [](void *data) { delete static_cast<char *>(data); };
  obs_register_source(&info);
  OBSSourceAutoRelease stranger = obs_source_create_private("stranger", "stranger", nullptr);
  ASSERT_TRUE(stranger);
  EXPECT_FALSE(vanta_host_mark_next_frame(stranger, 77));
}

TEST_F(DumpMark, IsRefusedForAFilterThatSeesNoFrames) {
  HostSourceInfo record = FakeRecord("no_frames");
  record.filter_video = nullptr;
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  EXPECT_EQ(LastRegistration().info.filter_video, nullptr);
  OBSSourceAutoRelease filter = obs_source_create_private("no_frames", "one", nullptr);
  ASSERT_TRUE(filter);
  EXPECT_FALSE(vanta_host_mark_next_frame(filter, 77));
}

TEST_F(DumpMark, ANullFrameIsPassedOn) {
  EXPECT_EQ(filter_video_(data_, nullptr), nullptr);
  EXPECT_TRUE(TheFakeFilter().Has("filter_video"));
}

TEST_F(DumpMark, AFailedCreationLeavesNoInstance) {
  HostSourceInfo record = FakeRecord("failing");
  record.create = [](obs_data_t *, obs_source_t *source) -> void * {
    TheFakeFilter().source = source;
    return nullptr;
  };
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  OBSSourceAutoRelease filter = obs_source_create_private("failing", "one", nullptr);
  EXPECT_FALSE(vanta_host_mark_next_frame(TheFakeFilter().source, 77));
}

using DumpJson = DumpMark;

TEST_F(DumpJson, IsTheFiltersText) {
  TheFakeFilter().dump_json = R"({"dump":1})";
  const char *text = nullptr;
  uint32_t length = 0;
  ASSERT_TRUE(vanta_host_get_dump_json(filter_, &text, &length));
  EXPECT_EQ(std::string(text, length), TheFakeFilter().dump_json);
}

TEST_F(DumpJson, IsRefusedWhereThereIsNone) {
  const char *text = "kept";
  uint32_t length = 4;
  EXPECT_FALSE(vanta_host_get_dump_json(filter_, &text, &length));
  TheFakeFilter().dump_json = "x";
  EXPECT_FALSE(vanta_host_get_dump_json(nullptr, &text, &length));
  EXPECT_FALSE(vanta_host_get_dump_json(filter_, nullptr, &length));
  EXPECT_FALSE(vanta_host_get_dump_json(filter_, &text, nullptr));
  EXPECT_STREQ(text, "kept");
  EXPECT_EQ(length, 4u);
}

TEST_F(DumpJson, IsRefusedForAFilterWithoutTheCallback) {
  HostSourceInfo record = FakeRecord("no_json");
  record.get_dump_json = nullptr;
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  TheFakeFilter().dump_json = "x";
  OBSSourceAutoRelease filter = obs_source_create_private("no_json", "one", nullptr);
  const char *text;
  uint32_t length;
  EXPECT_FALSE(vanta_host_get_dump_json(filter, &text, &length));
}

}  // namespace
