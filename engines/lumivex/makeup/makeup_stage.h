// Lays makeup on faces.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "faces/face_fit.h"
#include "faces/face_settings.h"
#include "faces/faces.h"
#include "makeup/face_paint.h"
#include "makeup/makeup_resource.h"
#include "makeup/rgba_blend.h"
#include "pixels/nv12_view.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// Owns: the laid out picture, and scratch rows. Borrows: frame, faces and makeup, for the call. Threads: one at a time.
class MakeupStage {
 public:
  void Apply(const Nv12View &view, const YuvSpace &space, const Faces &faces, const std::vector<MakeupChoice> &choices,
             const RowBands &bands = RowBands());

 private:
  void Lay(const Nv12View &view, const YuvSpace &space, const Face &face, const MakeupLayer &layer, MakeupBlend blend,
           float strength, const RowBands &bands);

  void Paint(const Nv12View &view, const YuvSpace &space, const Face &face, const MakeupColor &color, MakeupBlend blend,
             float strength, const RowBands &bands);

  FacePaint paint_;
  std::vector<FitPin> pins_;
  cv::Mat laid_;
  RgbaBlender blender_;
};

}  // namespace lumivex
