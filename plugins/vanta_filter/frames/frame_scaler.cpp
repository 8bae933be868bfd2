#include "frames/frame_scaler.h"

#include <cstring>

#include "frames/plane_layout.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

namespace {

constexpr int kNeutralChroma = 128;

video_scale_info ScaleInfo(const ScalerParameters &parameters, video_format format) {
  video_scale_info info = {};
  info.format = format;
  info.width = static_cast<uint32_t>(parameters.width);
  info.height = static_cast<uint32_t>(parameters.height);
  info.range = static_cast<video_range_type>(parameters.range);
  info.colorspace = static_cast<video_colorspace>(parameters.colorspace);
  return info;
}

}  // namespace

ScalerParameters ScalerParametersOf(const obs_source_frame &frame) {
  ScalerParameters parameters;
  parameters.width = static_cast<int32_t>(frame.width);
  parameters.height = static_cast<int32_t>(frame.height);
  parameters.colorspace = video_format_get_colorspace_from_matrix(
      frame.color_matrix, frame.color_range_min, frame.color_range_max, frame.format, frame.full_range);
  parameters.range = frame.full_range ? VIDEO_RANGE_FULL : VIDEO_RANGE_PARTIAL;
  parameters.format = frame.format;
  return parameters;
}

bool FrameScaler::Check(const ScalerParameters &wanted) const {
  if (!scaler_) {
    blog(LOG_INFO, "[beauty] Invalid scaler_");
    return false;
  }
  if (wanted.width != built_for_.width || wanted.height != built_for_.height) {
    blog(LOG_INFO, "[beauty] Invalid width or height! width %d width_ %d height %d height_ %d", wanted.width,
         built_for_.width, wanted.height, built_for_.height);
    return false;
  }
  if (wanted.format != built_for_.format) {
    blog(LOG_INFO, "[beauty] Invalid source frame format!  src_frame %d src_frame_format_", wanted.format);
    return false;
  }
  if (wanted.colorspace != built_for_.colorspace || wanted.range != built_for_.range) {
    blog(LOG_INFO, "[beauty] Valid parameters! colorspace %d colorspace_ %d range_type %d height_ %d",
         wanted.colorspace, built_for_.colorspace, wanted.range, built_for_.range);
    return false;
  }
  return true;
}

bool FrameScaler::Rebuild(const ScalerParameters &wanted) {
  const bool to_nv12 = direction_ == ScaleDirection::kToNv12;
  scaler_.reset();
  if (!to_nv12) blog(LOG_INFO, "[beauty] Initialize scalers. Size %d x %d", wanted.width, wanted.height);

  const video_scale_info host = ScaleInfo(wanted, static_cast<video_format>(wanted.format));
  const video_scale_info nv12 = ScaleInfo(wanted, VIDEO_FORMAT_NV12);
  video_scaler_t *scaler = nullptr;
  const int result =
      video_scaler_create(&scaler, to_nv12 ? &nv12 : &host, to_nv12 ? &host : &nv12, VIDEO_SCALE_DEFAULT);
  if (result != VIDEO_SCALER_SUCCESS) {
    built_for_ = {};
    return !to_nv12;
  }
  scaler_.reset(scaler);
  built_for_ = wanted;
  MakeStagingFrame();
  return true;
}

void FrameScaler::MakeStagingFrame() {
  nv12_frame_.reset();  // first, so that the old and the new one never stand side by side
  const auto width = static_cast<uint32_t>(built_for_.width);
  const auto height = static_cast<uint32_t>(built_for_.height);
  // Rows more than the picture has, since the scaler reads past the last one.
  const uint32_t spare_rows = 2 * (static_cast<uint32_t>(kScalerReadAhead) / width + 1);
  nv12_frame_.reset(obs_source_frame_create(VIDEO_FORMAT_NV12, width, height + spare_rows));
  nv12_frame_->height = height;
  // Bytes that neither scaler nor engine writes must not show what the memory held before.
  std::memset(nv12_frame_->data[0], 0, size_t{height} * nv12_frame_->linesize[0]);
  std::memset(nv12_frame_->data[1], kNeutralChroma, (size_t{height} + 1) / 2 * nv12_frame_->linesize[1]);
}

void FrameScaler::CompleteChroma(size_t offset) {
  const size_t rows = static_cast<size_t>(built_for_.height);
  const size_t pitch = nv12_frame_->linesize[1];
  if (rows % 2 == 0 || rows < 3) return;
  uint8_t *chroma = nv12_frame_->data[1];
  std::memcpy(chroma + offset, chroma + offset - pitch, (rows + 1) / 2 * pitch - offset);
}

bool FrameScaler::Fits(const obs_source_frame &frame) const {
  return static_cast<int32_t>(frame.width) == built_for_.width &&
         static_cast<int32_t>(frame.height) == built_for_.height && frame.format == built_for_.format;
}

bool FrameScaler::ToNv12(const obs_source_frame &frame, const Nv12Planes &nv12) {
  if (!scaler_) {
    blog(LOG_INFO, "[beauty] Scaler not initialized!");
    return false;
  }
  if (!Fits(frame)) return false;
  const FrameLayout layout = LayoutOf(frame.format, frame.width, frame.height);
  if (!HasAllPlanes(frame, layout)) return false;
  if (!video_scaler_scale(scaler_.get(), nv12_frame_->data, nv12_frame_->linesize, readable_.Of(frame, layout),
                          frame.linesize)) {
    return false;
  }
  CompleteChroma(static_cast<size_t>(frame.height) / 2 * nv12_frame_->linesize[1]);
  return CopyNv12(nv12, Nv12PlanesOf(*nv12_frame_));
}

bool FrameScaler::FromNv12(const Nv12Planes &nv12, obs_source_frame &frame) {
  if (!scaler_ || !Fits(frame)) return false;
  if (!HasAllPlanes(frame, LayoutOf(frame.format, frame.width, frame.height))) return false;
  const Nv12Planes staging = Nv12PlanesOf(*nv12_frame_);
  if (!CopyNv12(staging, nv12)) return false;
  CompleteChroma(staging.chroma.size);
  return video_scaler_scale(scaler_.get(), frame.data, frame.linesize, nv12_frame_->data, nv12_frame_->linesize);
}

}  // namespace vanta
