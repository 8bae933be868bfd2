// Records and interfaces that host, engine and module share, held against layouts written down a second time: what
// moves shows here, on every compiler that builds them.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "vanta_filter/engine/ability_handler.h"
#include "vanta_filter/engine/lumivex_api.h"
#include "vanta_filter/engine/records.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/stats/statistics_sample.h"

namespace {

// ---- Records ----

struct Place {
  const char *field;
  ptrdiff_t offset;
  size_t size;
  bool operator==(const Place &other) const { return offset == other.offset && size == other.size; }
};

std::ostream &operator<<(std::ostream &out, const Place &place) {
  return out << place.field << " at " << place.offset << ", " << place.size << " bytes";
}

template <typename Record, typename Field>
Place PlaceOf(const char *name, const Record &record, const Field &field) {
  return {name, reinterpret_cast<const char *>(&field) - reinterpret_cast<const char *>(&record), sizeof(field)};
}

#define PLACE(field) PlaceOf(#field, record, record.field)

struct FrameLayout {
  void *table;
  std::weak_ptr<int> self;
  uint8_t *planes[3];
  int32_t strides[3];
  int32_t word;
  int32_t color_code;
  int32_t layout_code;
  int32_t pixel_format;
  int32_t reserved;
  int32_t width;
  int32_t height;
  int32_t rotation;
  float prepared_mark;
  uint8_t flip;
  float tessera_ms;
  float beauty_ms;
  std::string dump_text;
  uint64_t timestamp;
  uint64_t stamp;
  uint8_t dump_flag;
  std::shared_ptr<int> shared_texture;
};

TEST(ContractLayout, OfTheEnginesFrame) {
  const auto places = [](const auto &record) {
    return std::vector<Place>{PLACE(planes),      PLACE(strides),      PLACE(word),          PLACE(color_code),
                              PLACE(layout_code), PLACE(pixel_format), PLACE(reserved),      PLACE(width),
                              PLACE(height),      PLACE(rotation),     PLACE(prepared_mark), PLACE(flip),
                              PLACE(tessera_ms),  PLACE(beauty_ms),    PLACE(dump_text),     PLACE(timestamp),
                              PLACE(stamp),       PLACE(dump_flag),    PLACE(shared_texture)};
  };
  EXPECT_EQ(places(LX::FrameData()), places(FrameLayout()));
  EXPECT_EQ(sizeof(LX::FrameData), sizeof(FrameLayout));
}

struct SnapshotLayout {
  std::map<int32_t, bool> effect_enabled;
  std::map<int32_t, float> body_slimming;
  std::map<int32_t, float> deform;
  std::map<int32_t, float> beauty;
  std::vector<LXMakeupInfo> makeup;
  std::optional<LXLookupInfo> lookup;
  std::optional<LXGroupConfig> group;
  std::string model_root_path;
  std::map<int32_t, float> basic_adjust;
  int32_t words[3];
  std::optional<std::string> tessera_params;
  std::optional<std::string> magic_path;
  std::optional<std::string> boom_game_data;
};

TEST(ContractLayout, OfTheSnapshot) {
  const auto places = [](const auto &record) {
    return std::vector<Place>{
        PLACE(effect_enabled), PLACE(body_slimming), PLACE(deform),          PLACE(beauty),       PLACE(makeup),
        PLACE(lookup),         PLACE(group),         PLACE(model_root_path), PLACE(basic_adjust), PLACE(words),
        PLACE(tessera_params), PLACE(magic_path),    PLACE(boom_game_data)};
  };
  EXPECT_EQ(places(FacelessEngineSnapshot()), places(SnapshotLayout()));
  EXPECT_EQ(sizeof(FacelessEngineSnapshot), sizeof(SnapshotLayout));
}

struct BoxLayout {
  std::string path;
  bool loaded;
};

TEST(ContractLayout, OfTheInteractiveBox) {
  const auto places = [](const auto &record) { return std::vector<Place>{PLACE(path), PLACE(loaded)}; };
  EXPECT_EQ(places(InteractiveBoxInfo()), places(BoxLayout()));
  EXPECT_EQ(sizeof(InteractiveBoxInfo), sizeof(BoxLayout));
}

struct EffectRequestLayout {
  std::string path;
  int32_t slot;
  bool flag;
  std::string event_name;
};

TEST(ContractLayout, OfTheEffectRequest) {
  const auto places = [](const auto &record) {
    return std::vector<Place>{PLACE(path), PLACE(slot), PLACE(flag), PLACE(event_name)};
  };
  EXPECT_EQ(places(MagicEffectRequest()), places(EffectRequestLayout()));
  EXPECT_EQ(sizeof(MagicEffectRequest), sizeof(EffectRequestLayout));
}

TEST(ContractLayout, OfTheGameData) {
  const LX::BoomGameData record;
  EXPECT_EQ(PLACE(json), (Place{"json", 0, sizeof(std::string)}));
}

struct StatisticsLayout {
  std::string name;
  std::string resolution;
  uint32_t width, height;
  float arrived_fps, render_fps;
  int32_t jank_count, big_jank_count;
  float jank_seconds;
  int32_t enqueue_fail_count, spurious_wake_count, empty_dequeue_count, taken_count;
  float filter_avg, tessera_avg, beauty_avg, async_avg, whole_avg;
  float filter_max, tessera_max, beauty_max, async_max;
  int32_t arrived_max, render_max;
  float filter_min, tessera_min, beauty_min, async_min;
  int32_t arrived_min, render_min;
  std::string ability_text;
  float filter_p95, tessera_p95, beauty_p95, async_p95;
  float face_avg, face_max, face_min;
  int32_t drop_count;
  std::vector<float> filter_samples, tessera_samples, beauty_samples, async_samples, whole_samples, face_samples;
};

TEST(ContractLayout, OfTheStatistics) {
  const auto places = [](const auto &record) {
    return std::vector<Place>{PLACE(name),
                              PLACE(resolution),
                              PLACE(width),
                              PLACE(height),
                              PLACE(arrived_fps),
                              PLACE(render_fps),
                              PLACE(jank_count),
                              PLACE(big_jank_count),
                              PLACE(jank_seconds),
                              PLACE(enqueue_fail_count),
                              PLACE(spurious_wake_count),
                              PLACE(empty_dequeue_count),
                              PLACE(taken_count),
                              PLACE(filter_avg),
                              PLACE(tessera_avg),
                              PLACE(beauty_avg),
                              PLACE(async_avg),
                              PLACE(whole_avg),
                              PLACE(filter_max),
                              PLACE(tessera_max),
                              PLACE(beauty_max),
                              PLACE(async_max),
                              PLACE(arrived_max),
                              PLACE(render_max),
                              PLACE(filter_min),
                              PLACE(tessera_min),
                              PLACE(beauty_min),
                              PLACE(async_min),
                              PLACE(arrived_min),
                              PLACE(render_min),
                              PLACE(ability_text),
                              PLACE(filter_p95),
                              PLACE(tessera_p95),
                              PLACE(beauty_p95),
                              PLACE(async_p95),
                              PLACE(face_avg),
                              PLACE(face_max),
                              PLACE(face_min),
                              PLACE(drop_count),
                              PLACE(filter_samples),
                              PLACE(tessera_samples),
                              PLACE(beauty_samples),
                              PLACE(async_samples),
                              PLACE(whole_samples),
                              PLACE(face_samples)};
  };
  EXPECT_EQ(places(StatisticsSample()), places(StatisticsLayout()));
  EXPECT_EQ(sizeof(StatisticsSample), sizeof(StatisticsLayout));
}

struct CentreLayout {
  std::vector<void *> observers;
  std::mutex lock;
};

TEST(ContractLayout, OfTheFrameRateCentre) {
  const auto places = [](const auto &record) { return std::vector<Place>{PLACE(observers), PLACE(lock)}; };
  EXPECT_EQ(places(FrameRateCalcCenter()), places(CentreLayout()));
  EXPECT_EQ(sizeof(FrameRateCalcCenter), sizeof(CentreLayout));
}

#undef PLACE

// ---- Tables of virtual functions ----

// Calls what stands at `slot` of an object's table, as a caller from elsewhere does.
template <typename... Args>
void CallSlot(void *object, size_t slot, Args... args) {
  void **table = *static_cast<void ***>(object);
  reinterpret_cast<void (*)(void *, Args...)>(table[slot])(object, args...);
}

using Texts = std::vector<std::string>;

struct Observer final : FrameRateCalcObserver {
  void OnCostReport(const std::string &name, int avg_cost_us) override {
    calls.push_back("report of " + name + ": " + std::to_string(avg_cost_us));
  }
  void OnCostSpike(const std::string &name, int cost_us) override {
    calls.push_back("spike of " + name + ": " + std::to_string(cost_us));
  }
  Texts calls;
};

TEST(ContractLayout, OfTheObserversTable) {
  Observer observer;
  FrameRateCalcObserver *const shared = &observer;
  const std::string name = "render";
  CallSlot<const std::string &, int>(shared, 0, name, 1);
  CallSlot<const std::string &, int>(shared, 1, name, 2);
  EXPECT_EQ(observer.calls, (Texts{"report of render: 1", "spike of render: 2"}));
}

struct AbilityHandler final : ILiveEffectJsonAbilityHandler {
  void Reserved() override { calls.push_back("reserved"); }
  void PostGameData(const std::string &raw, const std::string &method, const std::string &params) override {
    calls.push_back(raw + " " + method + " " + params);
  }
  void PostSignalAfterLoadInteractiveBoxResource() override { calls.push_back("loaded"); }
  void PostSignalAfterUnloadInteractiveBoxResource() override { calls.push_back("unloaded"); }
  Texts calls;
};

TEST(ContractLayout, OfTheAbilityHandlersTable) {
  AbilityHandler handler;
  ILiveEffectJsonAbilityHandler *const shared = &handler;
  const std::string raw = "raw", method = "method", params = "params";
  CallSlot<>(shared, 0);
  CallSlot<const std::string &, const std::string &, const std::string &>(shared, 1, raw, method, params);
  CallSlot<>(shared, 2);
  CallSlot<>(shared, 3);
  EXPECT_EQ(handler.calls, (Texts{"reserved", "raw method params", "loaded", "unloaded"}));
}

}  // namespace
