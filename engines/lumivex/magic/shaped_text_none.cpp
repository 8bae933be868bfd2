#include "magic/shaped_text.h"

namespace lumivex {

cv::Mat ShapedText(const std::string &) {
  return {};
}

}  // namespace lumivex
