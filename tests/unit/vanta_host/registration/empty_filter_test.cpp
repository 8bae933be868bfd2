// The record of a filter whose library is missing.
#include "registration/empty_filter.h"

#include <gtest/gtest.h>
#include <obs.h>

namespace {

const char *Name(void *) {
  return "name";
}
void *Create(obs_data_t *, obs_source_t *) {
  ADD_FAILURE() << "the module's own function was called";
  return nullptr;
}
void Destroy(void *) {
  ADD_FAILURE() << "the module's own function was called";
}
void Update(void *, obs_data_t *) {
  ADD_FAILURE() << "the module's own function was called";
}
void Defaults(obs_data_t *) {}
obs_source_frame *NoFrame(void *, obs_source_frame *) {
  ADD_FAILURE() << "the module's own function was called";
  return nullptr;
}

HostSourceInfo ModulesRecord() {
  HostSourceInfo record{};
  record.id = "filter";
  record.type = OBS_SOURCE_TYPE_FILTER;
  record.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  record.get_name = Name;
  record.create = Create;
  record.destroy = Destroy;
  record.update = Update;
  record.get_defaults = Defaults;
  record.filter_video = NoFrame;
  return record;
}

TEST(EmptyRecord, HasTheNameAndTheKindOfTheModules) {
  const HostSourceInfo empty = vanta_host::EmptyRecord(ModulesRecord());
  EXPECT_STREQ(empty.id, "filter");
  EXPECT_STREQ(empty.get_name(nullptr), "name");
  EXPECT_EQ(empty.type, OBS_SOURCE_TYPE_FILTER);
  EXPECT_EQ(empty.output_flags, static_cast<uint32_t>(OBS_SOURCE_ASYNC_VIDEO));
}

TEST(EmptyRecord, LetsFramesPassAndCallsNothingOfTheModule) {
  const HostSourceInfo empty = vanta_host::EmptyRecord(ModulesRecord());
  EXPECT_EQ(empty.get_defaults, nullptr);
  void *filter = empty.create(nullptr, nullptr);
  ASSERT_NE(filter, nullptr);
  empty.update(filter, nullptr);
  obs_source_frame frame{};
  EXPECT_EQ(empty.filter_video(filter, &frame), &frame);
  empty.destroy(filter);
}

TEST(EmptyRecord, TakesNoFramesWhereTheModulesFilterTakesNone) {
  HostSourceInfo record = ModulesRecord();
  record.filter_video = nullptr;
  EXPECT_EQ(vanta_host::EmptyRecord(record).filter_video, nullptr);
}

}  // namespace
