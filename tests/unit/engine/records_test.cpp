// The records that cross to the engine and the host, held against their layout.
#include "vanta_filter/engine/records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

#include "vanta_filter/engine/lumivex_api.h"
#include "vanta_filter/stats/statistics_sample.h"

namespace {

TEST(Records, HaveTheirSizes) {
  EXPECT_EQ(sizeof(LXGroupConfig), 1025u);
  EXPECT_EQ(sizeof(LXLookupInfo), 1036u);
  EXPECT_EQ(sizeof(LXMakeupInfo), 2056u);
  EXPECT_EQ(sizeof(LXMediaResource), 1028u);
  EXPECT_EQ(sizeof(LXEngineConfig), 1036u);
  EXPECT_EQ(sizeof(FacelessJumpInfo), 8u);
}

TEST(Records, EnumerationsHave32Bits) {
  EXPECT_EQ(sizeof(LXEffectType), 4u);
  EXPECT_EQ(sizeof(LXBeautyType), 4u);
  EXPECT_EQ(sizeof(LXEffectSlot), 4u);
  EXPECT_EQ(sizeof(LXEffectState), 4u);
  EXPECT_EQ(sizeof(LXEffectAdjustType), 4u);
  EXPECT_EQ(sizeof(LXBodySlimmingType), 4u);
  EXPECT_EQ(sizeof(LXBodySlimmingStatus), 4u);
}

TEST(Records, ArePlainMemory) {
  EXPECT_TRUE(std::is_trivially_copyable_v<LXGroupConfig>);
  EXPECT_TRUE(std::is_trivially_copyable_v<LXLookupInfo>);
  EXPECT_TRUE(std::is_trivially_copyable_v<LXMakeupInfo>);
  EXPECT_TRUE(std::is_trivially_copyable_v<LXMediaResource>);
  EXPECT_TRUE(std::is_trivially_copyable_v<LXEngineConfig>);
  EXPECT_TRUE(std::is_trivially_copyable_v<FacelessJumpInfo>);
}

// Each field of the frame lies behind the one before it.
TEST(Records, FrameFieldsStandInTheirOrder) {
  LX::FrameData frame;
  const auto at = [&](const auto &field) {
    return reinterpret_cast<const char *>(&field) - reinterpret_cast<const char *>(&frame);
  };
  const std::vector<ptrdiff_t> places = {
      at(frame.planes),        at(frame.strides),  at(frame.word),       at(frame.color_code),    at(frame.layout_code),
      at(frame.pixel_format),  at(frame.reserved), at(frame.width),      at(frame.height),        at(frame.rotation),
      at(frame.prepared_mark), at(frame.flip),     at(frame.tessera_ms), at(frame.beauty_ms),     at(frame.dump_text),
      at(frame.timestamp),     at(frame.stamp),    at(frame.dump_flag),  at(frame.shared_texture)};
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
  // The table pointer and the weak pointer come first, then three pointers and ten words without a gap.
  EXPECT_EQ(places[0], static_cast<ptrdiff_t>(sizeof(void *) + sizeof(std::weak_ptr<LX::FrameData>)));
  EXPECT_EQ(places[11] - places[0], static_cast<ptrdiff_t>(3 * sizeof(void *) + 12 * 4));
}

TEST(Records, SnapshotBeginsWithItsThreeWords) {
  const FacelessEngineSnapshot snapshot;
  EXPECT_EQ(snapshot.words[0], 1);
  EXPECT_EQ(snapshot.words[1], 0);
  EXPECT_EQ(snapshot.words[2], 4);
}

TEST(Records, StatisticsBeginWithTheirDefaults) {
  const StatisticsSample sample;
  EXPECT_EQ(sample.name, "camera_");
  EXPECT_EQ(sample.resolution, "1920x1080");
  EXPECT_EQ(sample.width, 1920u);
  EXPECT_EQ(sample.height, 1080u);
}

}  // namespace
