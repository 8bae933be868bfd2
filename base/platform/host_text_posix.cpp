#include "vanta_base/host_text.h"

namespace vanta {

std::string Utf8FromHostText(const std::string &text) {
  return text;
}

}  // namespace vanta
