#include "module/statistics_reader.h"

#include "module/module_control.h"
#include "vanta_base/mutex.h"

namespace vanta_host {

std::vector<StatisticsSample> ReadStatistics() {
  static auto *mutex = new vanta::Mutex;
  ILumivex *control = FindControl();
  if (!control) return {};
  vanta::MutexLock lock(*mutex);
  return control->GetBeautyStatistics();
}

}  // namespace vanta_host
