// The faces that landmark filters have found last.
#pragma once

#include <callback/calldata.h>
#include <obs.h>

#include "controls/face_tally.h"

namespace vanta_host {

// The signal "TesseraFacePointRet". Threads: any.
void OnFacePoints(void *param, calldata_t *data);
// In the picture of the landmark filter's source, as far as they can be told from those of other filters.
FoundFaces FacesOf(obs_source_t *landmark_filter);
// Of all filters.
int CountFaces();
void ForgetFaces();

}  // namespace vanta_host
