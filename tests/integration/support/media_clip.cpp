#include "integration/support/media_clip.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "integration/support/host_frame.h"

namespace vanta_integration {
namespace {

struct RawFormat {
  video_format format;
  const char *name;  // ffmpeg's
};
constexpr RawFormat kRawFormats[] = {
    {VIDEO_FORMAT_NV12, "nv12"},    {VIDEO_FORMAT_I420, "yuv420p"}, {VIDEO_FORMAT_I422, "yuv422p"},
    {VIDEO_FORMAT_YUY2, "yuyv422"}, {VIDEO_FORMAT_UYVY, "uyvy422"}, {VIDEO_FORMAT_BGRA, "bgra"},
};

std::string RawName(video_format format) {
  for (const RawFormat &raw : kRawFormats)
    if (raw.format == format) return raw.name;
  return "";
}

struct PlaneSize {
  uint32_t bytes;  // per row
  uint32_t rows;
};

// For even sizes.
PlaneSize SizeOfPlane(const HostFrame &frame, size_t plane) {
  const uint32_t width = frame.Width();
  const uint32_t height = frame.Height();
  switch (frame.Format()) {
    case VIDEO_FORMAT_NV12:
      return plane == 0 ? PlaneSize{width, height} : PlaneSize{width, height / 2};
    case VIDEO_FORMAT_I420:
      return plane == 0 ? PlaneSize{width, height} : PlaneSize{width / 2, height / 2};
    case VIDEO_FORMAT_I422:
      return plane == 0 ? PlaneSize{width, height} : PlaneSize{width / 2, height};
    case VIDEO_FORMAT_BGRA:
      return {width * 4, height};
    default:
      return {width * 2, height};
  }
}

void WriteRaw(std::ostream &out, const HostFrame &frame) {
  for (size_t plane = 0; plane < MAX_AV_PLANES && frame.Get()->data[plane]; ++plane) {
    const PlaneSize size = SizeOfPlane(frame, plane);
    for (uint32_t y = 0; y < size.rows; ++y) {
      const uint8_t *row = frame.Get()->data[plane] + size_t{y} * frame.Get()->linesize[plane];
      out.write(reinterpret_cast<const char *>(row), size.bytes);
    }
  }
}

}  // namespace

MediaClip::MediaClip(video_format format, int frames, int first, int step, uint32_t width, uint32_t height) {
  std::string pattern = (std::filesystem::temp_directory_path() / "vanta_clip_XXXXXX").string();
  if (!mkdtemp(pattern.data())) return;
  folder_ = pattern;
  clip_ = folder_ + "/clip.nut";
  const std::string raw = folder_ + "/clip.raw";
  {
    std::ofstream out(raw, std::ios::binary);
    HostFrame frame(format, width, height);
    for (int picture = 0; picture < frames; ++picture) {
      frame.Draw(first + picture * step);
      WriteRaw(out, frame);
    }
  }
  const std::string command = "ffmpeg -nostdin -v error -y -f rawvideo -pix_fmt " + RawName(format) + " -s " +
                              std::to_string(width) + "x" + std::to_string(height) + " -r 30 -i " + raw +
                              " -c:v rawvideo -pix_fmt " + RawName(format) + " " + clip_;
  made_ = std::system(command.c_str()) == 0;
}

MediaClip::~MediaClip() {
  std::error_code ignored;
  if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

OBSSourceAutoRelease MediaClip::MakeSource(bool looping) const {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "local_file", clip_.c_str());
  obs_data_set_bool(settings, "is_local_file", true);
  obs_data_set_bool(settings, "looping", looping);
  obs_data_set_bool(settings, "restart_on_activate", true);
  obs_data_set_bool(settings, "clear_on_media_end", false);
  obs_data_set_bool(settings, "hw_decode", false);
  return OBSSourceAutoRelease(obs_source_create("ffmpeg_source", "clip", settings, nullptr));
}

}  // namespace vanta_integration
