#include "platform/cascade_folder.h"

namespace tessera {

const char *const kCascadeRemedy = "install opencv-data";

std::filesystem::path InstalledCascadeFolder() {
  return "/usr/share/opencv4/haarcascades";
}

}  // namespace tessera
