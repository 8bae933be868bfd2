// The faces that landmark filters have found last.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <callback/calldata.h>

namespace vanta_host {

struct FoundFaces {
  int count = 0;                             // 0 too where nothing has been said for two seconds
  uint32_t width = 0, height = 0;            // of the picture, pixels
  std::vector<std::array<float, 2>> points;  // of all faces, pixels
};

// The signal "TesseraFacePointRet". It does not say which filter it comes from: with several, the last word counts.
// Threads: any.
void OnFacePoints(void *param, calldata_t *data);
FoundFaces LastFaces();
void ForgetFaces();

}  // namespace vanta_host
