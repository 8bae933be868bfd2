// A short clip of raw video, made for one test.
#pragma once

#include <obs.hpp>

#include <cstdint>
#include <string>

namespace vanta_integration {

// Writes `frames` pictures at 30 a second in `format` into a container that keeps the raw format, with ffmpeg. Picture
// n is the ramp of HostFrame::Draw(first + n * step). Owns: the file.
class MediaClip {
 public:
  MediaClip(video_format format, int frames, int first, int step, uint32_t width = 64, uint32_t height = 48);
  ~MediaClip();
  MediaClip(const MediaClip &) = delete;
  MediaClip &operator=(const MediaClip &) = delete;

  bool Made() const { return made_; }
  // A stock media source that plays the clip when it is shown, once or over and over.
  OBSSourceAutoRelease MakeSource(bool looping = false) const;

 private:
  std::string folder_;
  std::string clip_;
  bool made_ = false;
};

}  // namespace vanta_integration
