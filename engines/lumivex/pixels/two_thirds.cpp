#include "pixels/two_thirds.h"

#include <cstdint>
#include <opencv2/core/hal/intrin.hpp>
#include <vector>

namespace lumivex {
namespace {

constexpr int kStep = 16;  // bytes that a loop takes at once
constexpr int kHalf = 8;
// Of three pixels in a row the first of the small one lies a quarter of the way from the first to the second, the other
// one as far from the third. So many sixteenths each pixel of four counts once both ways are taken.
constexpr int kNear = 3;
constexpr int kRounding = 8;
constexpr int kShift = 4;

// kNear times one row and once the other.
void MixRows(const uint8_t *near, const uint8_t *far, int width, std::vector<uint16_t> &mixed) {
  int x = 0;
  for (; x + kStep <= width; x += kStep) {
    cv::v_uint16x8 near_low;
    cv::v_uint16x8 near_high;
    cv::v_uint16x8 far_low;
    cv::v_uint16x8 far_high;
    cv::v_expand(cv::v_load(near + x), near_low, near_high);
    cv::v_expand(cv::v_load(far + x), far_low, far_high);
    cv::v_store(mixed.data() + x, near_low + near_low + near_low + far_low);
    cv::v_store(mixed.data() + x + kHalf, near_high + near_high + near_high + far_high);
  }
  for (; x < width; ++x) mixed[static_cast<size_t>(x)] = static_cast<uint16_t>(kNear * near[x] + far[x]);
}

// The same across, eight times three pixels.
void MixColumns(const uint16_t *row, cv::v_uint16x8 &first, cv::v_uint16x8 &second) {
  cv::v_uint16x8 a;
  cv::v_uint16x8 b;
  cv::v_uint16x8 c;
  cv::v_load_deinterleave(row, a, b, c);
  const cv::v_uint16x8 middle = b + cv::v_setall_u16(kRounding);
  first = cv::v_shr<kShift>(a + a + a + middle);
  second = cv::v_shr<kShift>(c + c + c + middle);
}

void MixRow(const std::vector<uint16_t> &row, int thirds, uint8_t *small) {
  int i = 0;
  for (; i + kStep <= thirds; i += kStep) {
    cv::v_uint16x8 first[2];
    cv::v_uint16x8 second[2];
    for (int half = 0; half < 2; ++half) MixColumns(row.data() + 3 * (i + kHalf * half), first[half], second[half]);
    cv::v_store_interleave(small + 2 * i, cv::v_pack(first[0], first[1]), cv::v_pack(second[0], second[1]));
  }
  for (; i < thirds; ++i) {
    const uint16_t *three = row.data() + 3 * i;
    small[2 * i] = static_cast<uint8_t>((kNear * three[0] + three[1] + kRounding) >> kShift);
    small[2 * i + 1] = static_cast<uint8_t>((kNear * three[2] + three[1] + kRounding) >> kShift);
  }
}

}  // namespace

void TwoThirds(const cv::Mat &plane, cv::Mat &small) {
  const cv::Size thirds(plane.cols / 3, plane.rows / 3);
  small.create(thirds * 2, CV_8UC1);
  std::vector<uint16_t> mixed(static_cast<size_t>(plane.cols));
  for (int y = 0; y < thirds.height; ++y) {
    const uint8_t *middle = plane.ptr(3 * y + 1);
    MixRows(plane.ptr(3 * y), middle, plane.cols, mixed);
    MixRow(mixed, thirds.width, small.ptr(2 * y));
    MixRows(plane.ptr(3 * y + 2), middle, plane.cols, mixed);
    MixRow(mixed, thirds.width, small.ptr(2 * y + 1));
  }
}

}  // namespace lumivex
