#include "platform/text.h"

namespace vanta {

std::string NativePath(std::string host_path) {
  return host_path;
}

}  // namespace vanta
