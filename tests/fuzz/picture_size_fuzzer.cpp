// A picture file from anywhere: the size is read without a step past its end, is no negative number, and is the one
// with which the picture is decoded later, so that no budget is passed by.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <opencv2/imgcodecs.hpp>

#include "files/picture_size.h"

namespace {

constexpr int64_t kMostSide = 256;  // pixels of those that are decoded here

// The decoders tell on standard error what is wrong with each.
cv::Mat Decoded(const std::vector<uint8_t> &file) {
  static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  static const int told = dup(STDERR_FILENO);
  dup2(nowhere, STDERR_FILENO);
  cv::Mat picture;
  try {
    picture = cv::imdecode(file, cv::IMREAD_UNCHANGED);
  } catch (const cv::Exception &) {
    // Broken, as where it gives nothing.
  }
  dup2(told, STDERR_FILENO);
  return picture;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const auto read = lumivex::ReadPictureSize({data, size});
  if (!read) return 0;
  if (read->width < 0 || read->height < 0) std::abort();
  if (read->width > kMostSide || read->height > kMostSide) return 0;
  const cv::Mat picture = Decoded({data, data + size});
  if (!picture.empty() && (picture.cols != read->width || picture.rows != read->height)) std::abort();
  return 0;
}
