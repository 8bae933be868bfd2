#include "platform/text.h"

#include <algorithm>

namespace vanta {

std::string NativePath(std::string host_path) {
  std::replace(host_path.begin(), host_path.end(), '\\', '/');
  return host_path;
}

}  // namespace vanta
