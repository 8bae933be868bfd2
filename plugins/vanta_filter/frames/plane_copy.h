// Copies NV12 pictures between host and engine frames, never beyond what both planes hold.
#pragma once

#include <cstddef>
#include <cstdint>

#include <obs.h>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Where one plane lies. Holds nothing (`data` null, all zero) when the frame's own figures make no sense.
struct Plane {
  uint8_t *data = nullptr;
  size_t pitch = 0;  // bytes per row
  size_t size = 0;   // bytes from `data` on
};

struct Nv12Planes {
  Plane luma;
  Plane chroma;  // `size` is pitch * height / 2: with an odd height the last row counts half
};

// A pitch outside 1..INT32_MAX, a null pointer and an empty plane give a plane that holds nothing.
// `half_rows` is the height in half rows.
Plane MakePlane(uint8_t *data, int64_t pitch, uint64_t half_rows);
Nv12Planes Nv12PlanesOf(const obs_source_frame &frame);
Nv12Planes Nv12PlanesOf(const LX::FrameData &frame);

// One block where the pitches are equal, else row by row, each bounded by both planes. False, with nothing copied, when
// a plane holds nothing.
bool CopyPlane(const Plane &to, const Plane &from);
bool CopyNv12(const Nv12Planes &to, const Nv12Planes &from);

}  // namespace vanta
