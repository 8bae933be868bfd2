// Brightens eyes and whitens teeth on known faces.
#pragma once

#include "faces/faces.h"
#include "pixels/nv12_view.h"
#include "pixels/yuv_space.h"
#include "skin/face_regions.h"

namespace lumivex {

struct EyesAndTeethStrength {
  float bright_eyes = 0.0f;  // each 0 to 1, 0 is off
  float white_teeth = 0.0f;

  bool Any() const { return bright_eyes > 0.0f || white_teeth > 0.0f; }
};

// Between the lids the lighter part (white of the eye, light of the iris) gets lighter and less coloured; pupil and
// lashes stay. Between open lips the same happens to what is light and not red: teeth, not tongue, gums and lips.
// Borrows: the frame, for the call. Threads: one at a time.
class EyesAndTeethStage {
 public:
  void Apply(const Nv12View &view, const YuvSpace &space, const Faces &faces, const EyesAndTeethStrength &strength);

 private:
  void Brighten(const Nv12View &view, const YuvSpace &space, const FaceMask &eye, float strength);
  void Whiten(const Nv12View &view, const YuvSpace &space, const FaceMask &mouth, float strength);
};

}  // namespace lumivex
