// A cascade from anywhere: one that is taken can search a picture.
#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

#include "require.h"
#include "vision/cascade.h"

namespace {

cv::Mat Noise() {
  cv::Mat picture(48, 64, CV_8UC1);
  cv::RNG(1).fill(picture, cv::RNG::UNIFORM, 0, 256);
  return picture;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const cv::Mat picture = Noise();
  tessera::Cascade cascade;
  const std::string fault = cascade.Read({reinterpret_cast<const char *>(data), size});
  Require(fault.empty() != cascade.empty(), "neither good nor bad");
  Require(fault.find('\n') == std::string::npos, "a reason of several lines");
  if (!fault.empty()) return 0;
  for (const tessera::VotedBox &found : cascade.Find(picture, 1.3, 1, 0))
    Require((found.box & cv::Rect({}, picture.size())) == found.box, "outside of the picture");
  return 0;
}
