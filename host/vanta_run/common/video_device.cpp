#include "common/video_device.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

namespace vanta_run {
namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/dev";
constexpr char kNames[] = "/dev/video";
constexpr char kLoopDriver[] = "v4l2 loopback";

}  // namespace

std::optional<VideoDevice> ProbeVideoDevice(const std::string &path) {
  const int file = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  std::optional<VideoDevice> device;
  v4l2_capability capability{};
  if (ioctl(file, VIDIOC_QUERYCAP, &capability) == 0) {
    const bool own = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0;
    const uint32_t abilities = own ? capability.device_caps : capability.capabilities;
    device.emplace();
    device->captures = (abilities & V4L2_CAP_VIDEO_CAPTURE) != 0;
    device->loops = std::strcmp(reinterpret_cast<const char *>(capability.driver), kLoopDriver) == 0 &&
                    (abilities & V4L2_CAP_VIDEO_OUTPUT) != 0;
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (device->captures && ioctl(file, VIDIOC_G_FMT, &format) == 0) {
      device->size = {format.fmt.pix.width, format.fmt.pix.height};
    }
  }
  close(file);
  return device;
}

bool NamesVideoDevice(const std::string &path) {
  std::error_code ignored;
  return path.rfind(kNames, 0) == 0 || fs::is_character_file(path, ignored);
}

bool HasLoopDevice() {
  std::error_code ignored;
  for (const fs::directory_entry &entry : fs::directory_iterator(kFolder, ignored)) {
    if (entry.path().string().rfind(kNames, 0) != 0) continue;
    const auto device = ProbeVideoDevice(entry.path().string());
    if (device && device->loops) return true;
  }
  return false;
}

}  // namespace vanta_run
