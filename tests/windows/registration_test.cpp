// What crosses between the host and the module's DLL: entry points, the registration record, the frame record.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "fakes/host/host_double.h"
#include "host/fake_host.h"
#include "module_dll.h"
#include "vanta_filter/module/host_frame.h"

using namespace vanta_test;

namespace {

struct Slots {
  std::vector<uint8_t> bytes;
  uint64_t Word(size_t offset) const {
    uint64_t word;
    std::memcpy(&word, bytes.data() + offset, sizeof(word));
    return word;
  }
  uint32_t Half(size_t offset) const {
    uint32_t half;
    std::memcpy(&half, bytes.data() + offset, sizeof(half));
    return half;
  }
};

class Registration : public testing::Test {
 protected:
  Registration() { dll_.Load(); }
  // Of the record in that place, in the order of registration.
  static Slots SlotsOf(size_t place) {
    const std::vector<std::vector<uint8_t>> records = host_double::Registrations();
    return place < records.size() ? Slots{records[place]} : Slots{std::vector<uint8_t>(432)};
  }
  static Slots BeautySlots() { return SlotsOf(0); }
  static void ExpectSet(const Slots &slots, const std::set<size_t> &set) {
    for (size_t offset = 16; offset < 432; offset += 8) {
      EXPECT_EQ(slots.Word(offset) != 0, set.count(offset) != 0) << "at offset " << offset;
    }
  }
  ModuleDll dll_;
};

TEST_F(Registration, EveryRecordHas432Bytes) {
  ASSERT_FALSE(host_double::Registrations().empty());
  for (const std::vector<uint8_t> &record : host_double::Registrations()) EXPECT_EQ(record.size(), 432u);
}

TEST_F(Registration, BeautyFilterComesFirstAsAVideoFilter) {
  const Slots slots = BeautySlots();
  EXPECT_STREQ(reinterpret_cast<const char *>(slots.Word(0)), "face_beauty_filter_v2");
  EXPECT_EQ(slots.Half(8), 1u);
  EXPECT_EQ(slots.Half(12), 1u);
}

TEST_F(Registration, EverySlotOfTheBeautyFilterIsAtItsOffset) {
  ExpectSet(BeautySlots(), {16, 24, 32, 64, 80, 128, 136, 216, 424});
}

TEST_F(Registration, ThreeFiltersComeInTheirOrder) {
  ASSERT_EQ(host_double::Registrations().size(), 3u);
  std::vector<std::string> ids;
  for (size_t i = 0; i < 3; ++i) ids.emplace_back(reinterpret_cast<const char *>(SlotsOf(i).Word(0)));
  EXPECT_EQ(ids,
            (std::vector<std::string>{"face_beauty_filter_v2", "LX_green_screen_filter", "tessera_landmark_filter"}));
}

TEST_F(Registration, EverySlotOfTheLandmarkFilterIsAtItsOffset) {
  const Slots slots = SlotsOf(2);
  EXPECT_EQ(slots.Half(8), 1u);
  EXPECT_EQ(slots.Half(12), 1u);
  ExpectSet(slots, {16, 24, 32, 56, 64, 80, 128, 216});
}

TEST_F(Registration, LandmarkFilterHasAFixedNameAndNoProperties) {
  const HostSourceInfo record = host_double::Registered("tessera_landmark_filter");
  EXPECT_STREQ(record.get_name(nullptr), "tessera landmark filter");
  EXPECT_EQ(record.get_properties(nullptr), nullptr);
}

TEST_F(Registration, SlotsAreTheFunctionsThatTheyAreNamedFor) {
  const Slots slots = BeautySlots();
  const auto get_name = reinterpret_cast<const char *(*)(void *)>(slots.Word(16));
  const auto get_properties = reinterpret_cast<obs_properties_t *(*)(void *)>(slots.Word(64));
  EXPECT_STREQ(get_name(nullptr), "Face Beauty");
  EXPECT_EQ(get_properties(nullptr), nullptr);
}

TEST_F(Registration, NameFollowsTheLocale) {
  dll_.Find<void(const char *)>("obs_module_set_locale")("zh-CN");
  EXPECT_STREQ(host_double::Registered("face_beauty_filter_v2").get_name(nullptr), "\xe7\xbe\x8e\xe9\xa2\x9c");
}

TEST_F(Registration, SecondLocaleLeavesOneTableAlive) {
  dll_.Find<void(const char *)>("obs_module_set_locale")("zh-CN");
  EXPECT_EQ(fake_host::TablesAlive(), 1);
}

TEST_F(Registration, DataWordsAskTheDriversForTheFastAdapter) {
  EXPECT_EQ(*dll_.Find<uint32_t>("NvOptimusEnablement"), 1u);
  EXPECT_EQ(*dll_.Find<uint32_t>("AmdPowerXpressRequestHighPerformance"), 1u);
}

TEST_F(Registration, ControlObjectIsTheSameForEveryCaller) {
  EXPECT_NE(dll_.Control(), nullptr);
  EXPECT_EQ(dll_.Control(), dll_.Control());
}

TEST(FrameRecord, Has224BytesWithTheDumpIdAtByte220) {
  EXPECT_EQ(sizeof(obs_source_frame), 224u);
  Frame frame = MakeFrame(16, 1);
  vanta::SetDumpId(frame.get(), 0x01020304);
  uint32_t at_220;
  std::memcpy(&at_220, reinterpret_cast<const char *>(frame.get()) + 220, sizeof(at_220));
  EXPECT_EQ(at_220, 0x01020304u);
}

}  // namespace
