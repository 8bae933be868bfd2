// The landmark filter's page, and the points that it can draw.
#pragma once

#include <obs.h>

namespace vanta_host {

// `filter` may be null. Threads: [control].
obs_properties_t *MakeLandmarkPage(obs_source_t *filter);
void SetLandmarkDefaults(obs_data_t *settings);
// Over what has been drawn, if the settings ask for it. Threads: [render].
void DrawLandmarks(obs_source_t *filter);

}  // namespace vanta_host
