#include "platform/cascade_folder.h"
#include "vanta_base/installed_folder_win32.h"

namespace tessera {

const char *const kCascadeRemedy = "unpack the folder 'cascades' that comes with tessera.dll there";

std::filesystem::path InstalledCascadeFolder() {
  const std::filesystem::path found = vanta::InstalledFolder("cascades");
  return found.empty() ? vanta::OwnFolder() / "cascades" : found;
}

}  // namespace tessera
