#include "beauty/worker/worker_statistics.h"

#include <optional>
#include <utility>

#include "beauty/worker/processor_holder.h"
#include "engine/faceless_instance.h"

namespace vanta {
namespace {

constexpr int32_t kSamplesPerReport = 10;
constexpr int32_t kSamplesPerAbilityText = 300;

}  // namespace

void WorkerStatistics::Collect() {
  stat_samples_.push_back(stats_.MakeSample());
  ++stat_batch_count_;
  ++stat_ability_count_;
  if (stat_batch_count_ < kSamplesPerReport) return;
  stat_batch_count_ = 0;
  StatisticsSample report = DelayStats::Aggregate(stat_samples_);
  stat_samples_.clear();
  if (stat_ability_count_ >= kSamplesPerAbilityText) RefreshAbilityText();
  report.ability_text = ability_text_;
  FacelessInstance::GetInstance()->UpdateStatistics(source_, report);
}

void WorkerStatistics::RefreshAbilityText() {
  stat_ability_count_ = 0;
  if (std::optional<std::string> text = processor_.TakeStats()) ability_text_ = std::move(*text);
}

}  // namespace vanta
