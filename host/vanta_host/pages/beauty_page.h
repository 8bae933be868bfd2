// The beauty filter's page.
#pragma once

#include <obs.h>

namespace vanta_host {

// `filter` may be null. Threads: [control].
obs_properties_t *MakeBeautyPage(obs_source_t *filter);
void SetBeautyDefaults(obs_data_t *settings);
// Threads: [tick], after each update of the filter.
void AfterBeautyUpdate(obs_source_t *filter, obs_data_t *settings);

}  // namespace vanta_host
