// Cameras, real and virtual, as the system's video devices.
#pragma once

#include <optional>
#include <string>

#include "common/options.h"

namespace vanta_run {

struct VideoDevice {
  bool captures = false;  // gives pictures
  bool loops = false;     // shows other programs what is written into it
  PictureSize size;       // of its pictures as it is set now; 0 where it does not say
};

// Empty where `path` is no video device or cannot be opened.
std::optional<VideoDevice> ProbeVideoDevice(const std::string &path);

// The path says that a camera is meant: "/dev/video0" for instance, there or not, or another character device.
bool NamesVideoDevice(const std::string &path);

// Whether the system has a device through which a picture can be shown as a camera's.
bool HasLoopDevice();

}  // namespace vanta_run
