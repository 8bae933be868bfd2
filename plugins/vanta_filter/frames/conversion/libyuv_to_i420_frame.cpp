#include "frames/conversion/libyuv_to_i420_frame.h"

#include <libyuv/convert.h>

#include <vector>

#include "frames/conversion/i420_planes.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

namespace {

// libyuv's calls from one packed plane are all alike.
using FromPacked = int (*)(const uint8_t *, int, uint8_t *, int, uint8_t *, int, uint8_t *, int, int, int);

void CoverFromPacked(FromPacked convert, const obs_source_frame &f, LX::FrameData &d) {
  if (!HoldsPicture(f, f.width, f.height) || !HoldsI420(d, f.width, f.height)) return;
  convert(f.data[0], static_cast<int>(f.linesize[0]), d.planes[0], d.strides[0], d.planes[1], d.strides[1], d.planes[2],
          d.strides[2], static_cast<int>(f.width), static_cast<int>(f.height));
}

void CoverFromNv12(const obs_source_frame &f, LX::FrameData &d) {
  if (!HoldsPicture(f, f.width, f.height) || !HoldsI420(d, f.width, f.height)) return;
  libyuv::NV12ToI420(f.data[0], static_cast<int>(f.linesize[0]), f.data[1], static_cast<int>(f.linesize[1]),
                     d.planes[0], d.strides[0], d.planes[1], d.strides[1], d.planes[2], d.strides[2],
                     static_cast<int>(f.width), static_cast<int>(f.height));
}

void CoverFromI422(const obs_source_frame &f, LX::FrameData &d) {
  if (!HoldsPicture(f, f.width, f.height) || !HoldsI420(d, f.width, f.height)) return;
  libyuv::I422ToI420(f.data[0], static_cast<int>(f.linesize[0]), f.data[1], static_cast<int>(f.linesize[1]), f.data[2],
                     static_cast<int>(f.linesize[2]), d.planes[0], d.strides[0], d.planes[1], d.strides[1], d.planes[2],
                     d.strides[2], static_cast<int>(f.width), static_cast<int>(f.height));
}

// Whether the planes of `d` are what the host writes for a picture of even sides: one block without padding.
bool IsHostsBlock(const LX::FrameData &d, size_t width, size_t height) {
  const auto pitch = [&d](int plane) { return static_cast<size_t>(d.strides[plane]); };
  return pitch(0) == width && pitch(1) == width / 2 && pitch(2) == width / 2 &&
         d.planes[1] == d.planes[0] + width * height && d.planes[2] == d.planes[1] + width / 2 * (height / 2);
}

void CoverFromV210(const obs_source_frame &f, LX::FrameData &d) {
  // Where the host puts the chroma of odd sides is not told.
  if (!f.data[0] || f.width % 2 || f.height % 2) return;
  if (!HostCanLayOut(f.width, f.height) || !HoldsI420(d, f.width, f.height)) return;
  if (IsHostsBlock(d, f.width, f.height)) {
    VantaDeckV210to420P(&f, d.planes[0], f.width, f.height);
    return;
  }
  const size_t luma = size_t{f.width} * f.height;
  std::vector<uint8_t> block(luma / 2 * 3);
  VantaDeckV210to420P(&f, block.data(), f.width, f.height);
  uint8_t *const u = block.data() + luma;
  const I420Planes unpacked{MakePlane(block.data(), f.width, uint64_t{f.height} * 2),
                            MakePlane(u, f.width / 2, f.height), MakePlane(u + luma / 4, f.width / 2, f.height)};
  CopyI420(I420PlanesOf(d), unpacked);
}

}  // namespace

void LibYuvToI420Frame::CoverFrame(const obs_source_frame &frame, LX::FrameData &i420) {
  switch (static_cast<int>(frame.format)) {
    case VIDEO_FORMAT_I420:
      CopyI420(I420PlanesOf(i420), I420PlanesOf(frame));
      break;
    case VIDEO_FORMAT_NV12:
      CoverFromNv12(frame, i420);
      break;
    case VIDEO_FORMAT_YUY2:
      CoverFromPacked(libyuv::YUY2ToI420, frame, i420);
      break;
    case VIDEO_FORMAT_UYVY:
      CoverFromPacked(libyuv::UYVYToI420, frame, i420);
      break;
    case VIDEO_FORMAT_RGBA:
      CoverFromPacked(libyuv::ABGRToI420, frame, i420);
      break;
    case VIDEO_FORMAT_BGRA:
    case VIDEO_FORMAT_BGRX:
      CoverFromPacked(libyuv::ARGBToI420, frame, i420);
      break;
    case VIDEO_FORMAT_I422:
      CoverFromI422(frame, i420);
      break;
    case kHostFormatV210:
      CoverFromV210(frame, i420);
      break;
    default:
      // The number is the target's layout, not the format: whoever reads these logs knows it so.
      blog(LOG_ERROR, "LibYuvToI420Frame::CoverFrame unknown format %d", i420.layout_code);
  }
}

}  // namespace vanta
