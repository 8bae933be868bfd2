// Planar engine frames straight into host frames, one libyuv call for each format: LibYuvToI420Frame's way back.
#include <libyuv/convert.h>
#include <libyuv/convert_from.h>

#include "frames/conversion/copy_frame.h"
#include "frames/conversion/i420_planes.h"
#include "frames/conversion/libyuv_to_i420_frame.h"
#include "frames/conversion/pack_v210.h"

namespace vanta {

namespace {

bool BothHold(const obs_source_frame &f, const LX::FrameData &s) {
  if (s.width <= 0 || s.height <= 0) return false;
  const auto width = static_cast<uint32_t>(s.width);
  const auto height = static_cast<uint32_t>(s.height);
  return HoldsI420(s, width, height) && HoldsPicture(f, width, height);
}

// libyuv's calls into one packed plane are all alike.
using ToPacked = int (*)(const uint8_t *, int, const uint8_t *, int, const uint8_t *, int, uint8_t *, int, int, int);

bool CopyToPacked(ToPacked convert, obs_source_frame &f, const LX::FrameData &s) {
  if (!BothHold(f, s)) return false;
  convert(s.planes[0], s.strides[0], s.planes[1], s.strides[1], s.planes[2], s.strides[2], f.data[0],
          static_cast<int>(f.linesize[0]), s.width, s.height);
  return true;
}

bool CopyToNv12(obs_source_frame &f, const LX::FrameData &s) {
  if (!BothHold(f, s)) return false;
  libyuv::I420ToNV12(s.planes[0], s.strides[0], s.planes[1], s.strides[1], s.planes[2], s.strides[2], f.data[0],
                     static_cast<int>(f.linesize[0]), f.data[1], static_cast<int>(f.linesize[1]), s.width, s.height);
  return true;
}

bool CopyToI422(obs_source_frame &f, const LX::FrameData &s) {
  if (!BothHold(f, s)) return false;
  libyuv::I420ToI422(s.planes[0], s.strides[0], s.planes[1], s.strides[1], s.planes[2], s.strides[2], f.data[0],
                     static_cast<int>(f.linesize[0]), f.data[1], static_cast<int>(f.linesize[1]), f.data[2],
                     static_cast<int>(f.linesize[2]), s.width, s.height);
  return true;
}

// The rows lie as the packer has them. The frame's own pitch tells only whether there is room for them: 0 means that it
// is padded as cards do.
bool CopyToV210(obs_source_frame &f, const LX::FrameData &s) {
  if (s.width <= 0 || s.height <= 0 || !f.data[0]) return false;
  const auto width = static_cast<uint32_t>(s.width);
  const auto height = static_cast<uint32_t>(s.height);
  if (f.width < width || f.height < height || !HoldsI420(s, width, height)) return false;
  if (f.linesize[0] != 0 && f.linesize[0] < V210RowBytes(width)) return false;
  const size_t pitches[] = {static_cast<size_t>(s.strides[0]), static_cast<size_t>(s.strides[1]),
                            static_cast<size_t>(s.strides[2])};
  PackV210Planes(s.planes, pitches, f.data[0], width, height);
  return true;
}

}  // namespace

bool CopyI420ToHostFrame(obs_source_frame *frame, const LX::FrameData &i420) {
  switch (static_cast<int>(frame->format)) {
    case VIDEO_FORMAT_I420:
      return CopyI420(I420PlanesOf(*frame), I420PlanesOf(i420));
    case VIDEO_FORMAT_NV12:
      return CopyToNv12(*frame, i420);
    case VIDEO_FORMAT_YUY2:
      return CopyToPacked(libyuv::I420ToYUY2, *frame, i420);
    case VIDEO_FORMAT_UYVY:
      return CopyToPacked(libyuv::I420ToUYVY, *frame, i420);
    case VIDEO_FORMAT_RGBA:
      return CopyToPacked(libyuv::I420ToABGR, *frame, i420);
    case VIDEO_FORMAT_BGRA:
    case VIDEO_FORMAT_BGRX:
      return CopyToPacked(libyuv::I420ToARGB, *frame, i420);
    case VIDEO_FORMAT_I422:
      return CopyToI422(*frame, i420);
    case kHostFormatV210:
      return CopyToV210(*frame, i420);
    default:
      blog(LOG_ERROR, "FaceBeautyFilterWorker::CopyFrame unknown format %d", static_cast<int>(frame->format));
      return false;
  }
}

}  // namespace vanta
