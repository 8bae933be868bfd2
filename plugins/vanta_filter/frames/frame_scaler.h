// One conversion direction between the host's pixel formats and NV12, on the host's scaler.
#pragma once

#include <cstdint>
#include <memory>

#include <media-io/video-scaler.h>
#include <obs.h>

#include "frames/conversion/readable_planes.h"
#include "frames/plane_copy.h"

namespace vanta {

// What a scaler is built for; all zero when there is none.
struct ScalerParameters {
  int32_t width = 0;       // pixels
  int32_t height = 0;      // pixels
  int32_t colorspace = 0;  // video_colorspace
  int32_t range = 0;       // video_range_type: 1 partial, 2 full
  int32_t format = 0;      // video_format of the host's frame
};

ScalerParameters ScalerParametersOf(const obs_source_frame &frame);

enum class ScaleDirection { kToNv12, kFromNv12 };

// Owns: the host's scaler and a staging frame in NV12 of the same size. Borrows: the host's frame, for the call only.
// Threads: confined by the owner, the input's to the enqueuing thread [video], the output's to the dequeuing one
// [video].
class FrameScaler {
 public:
  explicit FrameScaler(ScaleDirection direction) : direction_(direction) {}
  FrameScaler(const FrameScaler &) = delete;
  FrameScaler &operator=(const FrameScaler &) = delete;

  // Whether the scaler stands for `wanted`; a mismatch is logged.
  bool Check(const ScalerParameters &wanted) const;
  // Replaces the scaler. False when the host cannot build it; the direction from NV12 answers true even then, since
  // scaling fails by itself.
  bool Rebuild(const ScalerParameters &wanted);

  // Converts `frame`, of the size and format that the scaler was built for, into `nv12`.
  bool ToNv12(const obs_source_frame &frame, const Nv12Planes &nv12);
  // Converts `nv12` into `frame`.
  bool FromNv12(const Nv12Planes &nv12, obs_source_frame &frame);

 private:
  struct ScalerDeleter {
    void operator()(video_scaler_t *scaler) const { video_scaler_destroy(scaler); }
  };
  struct FrameDeleter {
    void operator()(obs_source_frame *frame) const { obs_source_frame_destroy(frame); }
  };

  void MakeStagingFrame();
  // The scaler leaves out the last chroma row of an odd height. Fills it from `offset` on with the row above.
  void CompleteChroma(size_t offset);
  bool Fits(const obs_source_frame &frame) const;

  const ScaleDirection direction_;
  ScalerParameters built_for_;
  std::unique_ptr<video_scaler_t, ScalerDeleter> scaler_;
  std::unique_ptr<obs_source_frame, FrameDeleter> nv12_frame_;
  ReadablePlanes readable_;
};

}  // namespace vanta
