#include "output/cost_observer.h"

#include <dlfcn.h>
#include <util/platform.h>

namespace vanta_run {
namespace {

constexpr size_t kMaxNotes = 1000;

// Members of a class of the module, by their names in the platform's C++ binary interface, where a member function
// takes its object as its first argument.
constexpr char kAdd[] = "_ZN19FrameRateCalcCenter11AddObserverEP21FrameRateCalcObserver";
constexpr char kRemove[] = "_ZN19FrameRateCalcCenter14RemoveObserverEP21FrameRateCalcObserver";

}  // namespace

CostObserver::CostObserver(void *library) {
  const auto add = reinterpret_cast<Operation>(dlsym(library, kAdd));
  remove_ = reinterpret_cast<Operation>(dlsym(library, kRemove));
  if (add != nullptr && remove_ != nullptr) {
    add(&FrameRateCalcCenter::Instance(), this);
  } else {
    blog(LOG_WARNING, "[vanta-run] the plug-in exports no frame-rate centre: slow frames will not be reported");
  }
}

CostObserver::~CostObserver() {
  if (remove_ != nullptr) remove_(&FrameRateCalcCenter::Instance(), this);
}

void CostObserver::OnCostReport(const std::string &name, int avg_cost_us) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (averages_.size() < kMaxNotes) averages_.push_back({name, avg_cost_us, os_gettime_ns()});
}

void CostObserver::OnCostSpike(const std::string &name, int cost_us) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (spikes_.size() < kMaxNotes) spikes_.push_back({name, cost_us, os_gettime_ns()});
}

std::vector<CostNote> CostObserver::Averages() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return averages_;
}

std::vector<CostNote> CostObserver::Spikes() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return spikes_;
}

}  // namespace vanta_run
