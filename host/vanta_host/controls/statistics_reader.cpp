#include "controls/statistics_reader.h"

#include "vanta_base/mutex.h"
#include "vanta_filter/engine/i_faceless.h"
#include "vanta_host.h"

namespace vanta_host {

std::vector<StatisticsSample> ReadStatistics() {
  static auto *mutex = new vanta::Mutex;
  auto *control = static_cast<ILumivex *>(vanta_host_get_faceless());
  if (!control) return {};
  vanta::MutexLock lock(*mutex);
  return control->GetBeautyStatistics();
}

}  // namespace vanta_host
