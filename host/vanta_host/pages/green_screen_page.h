// The green screen's page.
#pragma once

#include <obs.h>

namespace vanta_host {

// `filter` may be null. Threads: [control].
obs_properties_t *MakeGreenScreenPage(obs_source_t *filter);
void SetGreenScreenDefaults(obs_data_t *settings);

}  // namespace vanta_host
