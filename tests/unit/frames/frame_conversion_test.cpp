#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "beauty/face_beauty_filter_worker.h"
#include "frames/libyuv_to_i420_frame.h"
#include "frames/pack_v210.h"
#include "frames/plane_layout.h"
#include "support/log_capture.h"
#include "unit/frames/host_frame.h"
#include "unit/frames/i420_picture.h"

namespace vanta {
namespace {

using namespace vanta_test;

constexpr auto kV210 = static_cast<video_format>(kHostFormatV210);

// What the converted picture should hold, and how far a fast path may round off.
struct Reference {
  std::function<int(int x, int y)> luma;
  std::function<int(int plane, int x, int y)> chroma;
  int tolerance = 0;
};

int At(const obs_source_frame &f, int plane, int x, int y) {
  return f.data[plane][static_cast<size_t>(y) * f.linesize[plane] + static_cast<size_t>(x)];
}

// The row below, or the last row again below an odd height's end.
int Below(const obs_source_frame &f, int y) {
  return std::min(y + 1, static_cast<int>(f.height) - 1);
}

int WorstDifference(const LX::FrameData &d, const Reference &reference) {
  int worst = 0;
  for (int y = 0; y < d.height; ++y)
    for (int x = 0; x < d.width; ++x) worst = std::max(worst, std::abs(Y(d, x, y) - reference.luma(x, y)));
  for (int plane = 1; plane <= 2; ++plane)
    for (int y = 0; y < ChromaSide(d.height); ++y)
      for (int x = 0; x < ChromaSide(d.width); ++x)
        worst = std::max(worst, std::abs(C(d, plane, x, y) - reference.chroma(plane, x, y)));
  return worst;
}

void ExpectCovers(video_format format, const std::function<Reference(const obs_source_frame &)> &reference) {
  for (const auto &[width, height] : PictureSizes()) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    const HostFrame host =
        MakeHostFrame(format, static_cast<uint32_t>(width), static_cast<uint32_t>(height), Fill::kRandom);
    const FramePtr i420 = MakeI420Frame(width, height);
    LibYuvToI420Frame::CoverFrame(*host, *i420);
    const Reference wanted = reference(*host);
    ASSERT_LE(WorstDifference(*i420, wanted), wanted.tolerance);
  }
}

Reference FromPairs(const obs_source_frame &f, int luma_at, int u_at) {
  const auto chroma = [&f, u_at](int plane, int x, int y) {
    const int at = x * 4 + u_at + (plane - 1) * 2;
    return (At(f, 0, at, y * 2) + At(f, 0, at, Below(f, y * 2)) + 1) / 2;
  };
  return {[&f, luma_at](int x, int y) { return At(f, 0, x * 2 + luma_at, y); }, chroma, 0};
}

// BT.601, partial range. libyuv's coefficients have seven or eight bits, and its vectors average in two steps.
Reference FromRgb(const obs_source_frame &f, int red, int blue) {
  const auto mean = [&f](int channel, int x, int y) {
    const int right = std::min(x * 2 + 1, static_cast<int>(f.width) - 1);
    return (At(f, 0, x * 8 + channel, y * 2) + At(f, 0, right * 4 + channel, y * 2) +
            At(f, 0, x * 8 + channel, Below(f, y * 2)) + At(f, 0, right * 4 + channel, Below(f, y * 2))) /
           4.0;
  };
  const auto luma = [&f, red, blue](int x, int y) {
    return Clamp8(16 + 0.257 * At(f, 0, x * 4 + red, y) + 0.504 * At(f, 0, x * 4 + 1, y) +
                  0.098 * At(f, 0, x * 4 + blue, y));
  };
  const auto chroma = [mean, red, blue](int plane, int x, int y) {
    const double r = mean(red, x, y), g = mean(1, x, y), b = mean(blue, x, y);
    return plane == 1 ? Clamp8(128 - 0.148 * r - 0.291 * g + 0.439 * b)
                      : Clamp8(128 + 0.439 * r - 0.368 * g - 0.071 * b);
  };
  return {luma, chroma, 3};
}

TEST(CoverFrame, I420IsCopied) {
  for (const auto &[width, height] : PictureSizes()) {
    if (height % 2) continue;
    const HostFrame host =
        MakeHostFrame(VIDEO_FORMAT_I420, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    const FramePtr i420 = MakeI420Frame(width, height);
    LibYuvToI420Frame::CoverFrame(*host, *i420);
    const Reference same{[&](int x, int y) { return At(*host, 0, x, y); },
                         [&](int plane, int x, int y) { return At(*host, plane, x, y); }, 0};
    ASSERT_EQ(WorstDifference(*i420, same), 0) << width << "x" << height;
  }
}

TEST(CoverFrame, I420OfAnOddHeightLosesHalfOfTheLastChromaRow) {
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_I420, 8, 5);
  const FramePtr i420 = MakeI420Frame(8, 5);
  LibYuvToI420Frame::CoverFrame(*host, *i420);
  EXPECT_EQ(C(*i420, 1, 1, 2), At(*host, 1, 1, 2));
  EXPECT_EQ(C(*i420, 1, 2, 2), 0);
}

TEST(CoverFrame, I420OfAnotherPitchGoesRowByRow) {
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_I420, 16, 4);
  uint8_t padded[3][4 * 40] = {};
  obs_source_frame wide = *host;
  for (int plane = 0; plane < 3; ++plane) {
    for (uint32_t y = 0; y < (plane ? 2u : 4u); ++y)
      std::memcpy(padded[plane] + y * 40, host->data[plane] + y * host->linesize[plane], host->linesize[plane]);
    wide.data[plane] = padded[plane];
    wide.linesize[plane] = 40;
  }
  const FramePtr i420 = MakeI420Frame(16, 4);
  LibYuvToI420Frame::CoverFrame(wide, *i420);
  const Reference same{[&](int x, int y) { return At(*host, 0, x, y); },
                       [&](int plane, int x, int y) { return At(*host, plane, x, y); }, 0};
  EXPECT_EQ(WorstDifference(*i420, same), 0);
}

TEST(CoverFrame, Nv12IsTakenApart) {
  ExpectCovers(VIDEO_FORMAT_NV12, [](const obs_source_frame &f) -> Reference {
    return {[&f](int x, int y) { return At(f, 0, x, y); },
            [&f](int plane, int x, int y) { return At(f, 1, x * 2 + plane - 1, y); }, 0};
  });
}

TEST(CoverFrame, Yuy2KeepsLumaAndAveragesChromaRows) {
  ExpectCovers(VIDEO_FORMAT_YUY2, [](const obs_source_frame &f) { return FromPairs(f, 0, 1); });
}

TEST(CoverFrame, UyvyKeepsLumaAndAveragesChromaRows) {
  ExpectCovers(VIDEO_FORMAT_UYVY, [](const obs_source_frame &f) { return FromPairs(f, 1, 0); });
}

TEST(CoverFrame, RgbaIsBt601) {
  ExpectCovers(VIDEO_FORMAT_RGBA, [](const obs_source_frame &f) { return FromRgb(f, 0, 2); });
}

TEST(CoverFrame, BgraIsBt601) {
  ExpectCovers(VIDEO_FORMAT_BGRA, [](const obs_source_frame &f) { return FromRgb(f, 2, 0); });
}

TEST(CoverFrame, BgrxIsBt601) {
  ExpectCovers(VIDEO_FORMAT_BGRX, [](const obs_source_frame &f) { return FromRgb(f, 2, 0); });
}

TEST(CoverFrame, I422KeepsLumaAndAveragesChromaRows) {
  ExpectCovers(VIDEO_FORMAT_I422, [](const obs_source_frame &f) -> Reference {
    return {[&f](int x, int y) { return At(f, 0, x, y); },
            [&f](int plane, int x, int y) {
              const double at = (y + 0.5) * f.height / ChromaSide(static_cast<int>(f.height)) - 0.5;
              const int above = static_cast<int>(at);
              // libyuv does not filter a plane one sample wide.
              const double part = f.width > 2 ? at - above : 0;
              return Clamp8(At(f, plane, x, above) * (1 - part) + At(f, plane, x, Below(f, above)) * part);
            },
            1};
  });
}

TEST(CoverFrame, UnknownFormatIsLoggedWithTheTargetsLayoutAndLeavesIt) {
  for (const video_format format : {VIDEO_FORMAT_NONE, VIDEO_FORMAT_YVYU, VIDEO_FORMAT_P010}) {
    const HostFrame host = MakeHostFrame(VIDEO_FORMAT_YUY2, 8, 4);
    host->format = format;
    const FramePtr i420 = RandomI420(8, 4);
    i420->layout_code = 77;
    const std::vector<uint8_t> before(i420->planes[0], i420->planes[0] + 48);
    LogCapture log;
    LibYuvToI420Frame::CoverFrame(*host, *i420);
    EXPECT_TRUE(log.Has(LOG_ERROR, "LibYuvToI420Frame::CoverFrame unknown format 77"));
    EXPECT_EQ(std::memcmp(before.data(), i420->planes[0], before.size()), 0);
  }
}

TEST(CoverFrame, TargetThatIsTooSmallStaysAsItWas) {
  for (const video_format format : {VIDEO_FORMAT_NV12, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_RGBA,
                                    VIDEO_FORMAT_BGRA, VIDEO_FORMAT_BGRX, VIDEO_FORMAT_I422}) {
    const HostFrame host = MakeHostFrame(format, 16, 8);
    const FramePtr i420 = MakeI420Frame(16, 4);
    LibYuvToI420Frame::CoverFrame(*host, *i420);
    EXPECT_EQ(std::count(i420->planes[0], i420->planes[0] + 16 * 4 * 4, 0), 16 * 4 * 4) << format;
  }
}

TEST(CoverFrame, FrameWithoutAPlaneIsNotRead) {
  for (const video_format format :
       {VIDEO_FORMAT_I420, VIDEO_FORMAT_NV12, VIDEO_FORMAT_I422, VIDEO_FORMAT_RGBA, kV210}) {
    obs_source_frame host = {};
    host.format = format;
    host.width = 16;
    host.height = 4;
    host.linesize[0] = 128;
    const FramePtr i420 = MakeI420Frame(16, 4);
    LibYuvToI420Frame::CoverFrame(host, *i420);
    EXPECT_EQ(std::count(i420->planes[0], i420->planes[0] + 256, 0), 256) << format;
  }
}

TEST(CoverFrame, NoFormatReadsPastItsPlanes) {
  for (const video_format format : {VIDEO_FORMAT_I420, VIDEO_FORMAT_NV12, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY,
                                    VIDEO_FORMAT_RGBA, VIDEO_FORMAT_BGRA, VIDEO_FORMAT_I422}) {
    for (const auto &[width, height] : PictureSizes()) {
      GuardedHostFrame host(format, static_cast<uint32_t>(width), static_cast<uint32_t>(height), GuardSide::kBehind);
      const FramePtr i420 = MakeI420Frame(width, height);
      LibYuvToI420Frame::CoverFrame(*host.get(), *i420);
    }
  }
}

// From I420: what each plane of the host frame should hold, byte by byte.
void ExpectCopies(video_format format, int tolerance, bool odd_sides,
                  const std::function<int(const LX::FrameData &, int plane, int x, int y)> &reference) {
  for (const auto &[width, height] : PictureSizes()) {
    if (!odd_sides && (width % 2 || height % 2)) continue;
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    GuardedHostFrame host(format, static_cast<uint32_t>(width), static_cast<uint32_t>(height), GuardSide::kBehind);
    const FramePtr i420 = RandomI420(width, height);
    ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(host.get(), *i420));
    const FrameLayout layout = LayoutOf(format, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    int worst = 0;
    for (int plane = 0; plane < layout.count; ++plane)
      for (int y = 0; y < static_cast<int>(layout.planes[plane].rows); ++y)
        for (int x = 0; x < static_cast<int>(layout.planes[plane].row_bytes); ++x)
          worst = std::max(worst, std::abs(At(*host.get(), plane, x, y) - reference(*i420, plane, x, y)));
    ASSERT_LE(worst, tolerance);
  }
}

// BT.601, partial range, of one pixel.
int Rgb(const LX::FrameData &s, int x, int y, int channel, int red, int blue) {
  const double luma = 1.164 * (Y(s, x, y) - 16);
  const int u = C(s, 1, x / 2, y / 2) - 128;
  const int v = C(s, 2, x / 2, y / 2) - 128;
  if (channel == red) return Clamp8(luma + 1.596 * v);
  if (channel == blue) return Clamp8(luma + 2.018 * u);
  return channel == 1 ? Clamp8(luma - 0.391 * u - 0.813 * v) : 255;
}

TEST(CopyFrame, I420IsCopied) {
  ExpectCopies(VIDEO_FORMAT_I420, 0, false,
               [](const LX::FrameData &s, int plane, int x, int y) { return plane ? C(s, plane, x, y) : Y(s, x, y); });
}

TEST(CopyFrame, I420OfAnOddHeightLosesHalfOfTheLastChromaRow) {
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_I420, 8, 5, Fill::kZero);
  const FramePtr i420 = RandomI420(8, 5);
  i420->planes[1][2 * i420->strides[1] + 2] = 9;
  ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(host.get(), *i420));
  EXPECT_EQ(At(*host, 1, 1, 2), C(*i420, 1, 1, 2));
  EXPECT_EQ(At(*host, 1, 2, 2), 0);
}

TEST(CopyFrame, Nv12IsPutTogether) {
  ExpectCopies(VIDEO_FORMAT_NV12, 0, true, [](const LX::FrameData &s, int plane, int x, int y) {
    return plane ? C(s, 1 + x % 2, x / 2, y) : Y(s, x, y);
  });
}

TEST(CopyFrame, Yuy2TakesEachChromaRowTwice) {
  ExpectCopies(VIDEO_FORMAT_YUY2, 0, true, [](const LX::FrameData &s, int, int x, int y) {
    return x % 2 == 0 ? Y(s, x / 2, y) : C(s, x % 4 == 1 ? 1 : 2, x / 4, y / 2);
  });
}

TEST(CopyFrame, UyvyTakesEachChromaRowTwice) {
  ExpectCopies(VIDEO_FORMAT_UYVY, 0, true, [](const LX::FrameData &s, int, int x, int y) {
    return x % 2 == 1 ? Y(s, x / 2, y) : C(s, x % 4 == 0 ? 1 : 2, x / 4, y / 2);
  });
}

TEST(CopyFrame, RgbaIsBt601) {
  ExpectCopies(VIDEO_FORMAT_RGBA, 3, true,
               [](const LX::FrameData &s, int, int x, int y) { return Rgb(s, x / 4, y, x % 4, 0, 2); });
}

TEST(CopyFrame, BgraIsBt601) {
  ExpectCopies(VIDEO_FORMAT_BGRA, 3, true,
               [](const LX::FrameData &s, int, int x, int y) { return Rgb(s, x / 4, y, x % 4, 2, 0); });
}

TEST(CopyFrame, BgrxIsBt601) {
  ExpectCopies(VIDEO_FORMAT_BGRX, 3, true,
               [](const LX::FrameData &s, int, int x, int y) { return Rgb(s, x / 4, y, x % 4, 2, 0); });
}

// The first and the last chroma row become the first and the last one; the others are weighed by distance.
TEST(CopyFrame, I422SpreadsChromaRows) {
  ExpectCopies(VIDEO_FORMAT_I422, 2, true, [](const LX::FrameData &s, int plane, int x, int y) {
    if (!plane) return Y(s, x, y);
    const int rows = ChromaSide(s.height);
    if (rows == 1) return C(s, plane, x, 0);
    const double at = y * (rows - 1.0 - 1.0 / 65536) / (s.height - 1.0);  // libyuv steps just short of the last row
    const int above = std::min(static_cast<int>(at), rows - 2);
    const double part = s.width > 2 ? at - above : std::floor(at - above);  // one sample wide: not filtered
    return Clamp8(C(s, plane, x, above) * (1 - part) + C(s, plane, x, above + 1) * part);
  });
}

TEST(CopyFrame, UnknownFormatIsLoggedAndRefused) {
  for (const int format : {0, 3, 9, 23}) {
    const HostFrame host = MakeHostFrame(VIDEO_FORMAT_YUY2, 8, 4);
    host->format = static_cast<video_format>(format);
    const std::vector<uint8_t> before(host->data[0], host->data[0] + 64);
    LogCapture log;
    EXPECT_FALSE(FaceBeautyFilterWorker::CopyFrame(host.get(), *RandomI420(8, 4)));
    EXPECT_TRUE(log.Has(LOG_ERROR, "FaceBeautyFilterWorker::CopyFrame unknown format " + std::to_string(format)));
    EXPECT_EQ(std::memcmp(before.data(), host->data[0], before.size()), 0);
  }
}

TEST(CopyFrame, FrameThatIsTooSmallIsRefused) {
  for (const video_format format : {VIDEO_FORMAT_NV12, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_RGBA,
                                    VIDEO_FORMAT_BGRA, VIDEO_FORMAT_BGRX, VIDEO_FORMAT_I422}) {
    GuardedHostFrame host(format, 8, 4, GuardSide::kBehind);
    EXPECT_FALSE(FaceBeautyFilterWorker::CopyFrame(host.get(), *RandomI420(8, 6))) << format;
    EXPECT_FALSE(FaceBeautyFilterWorker::CopyFrame(host.get(), *RandomI420(10, 4))) << format;
  }
}

TEST(CopyFrame, V210GoesThereAndComesBackThroughTheHost) {
  std::vector<int> widths{1920, 1922, 3840};
  for (int width = 2; width <= 66; width += 2) widths.push_back(width);
  for (const int width : widths) {
    const uint32_t columns = static_cast<uint32_t>(width);
    for (const size_t pitch : {V210RowBytes(columns), V210RowBytes(columns) + 256}) {
      std::vector<uint8_t> packed(pitch * 4);
      obs_source_frame host = {};
      host.format = kV210;
      host.width = columns;
      host.height = 4;
      host.data[0] = packed.data();
      host.linesize[0] = static_cast<uint32_t>(pitch);
      const FramePtr before = RandomI420(width, 4);
      const FramePtr after = MakeI420Frame(width, 4);
      ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(&host, *before));
      LibYuvToI420Frame::CoverFrame(host, *after);
      EXPECT_EQ(std::memcmp(before->planes[0], after->planes[0], columns * 6), 0) << width;
    }
  }
}

TEST(CopyFrame, V210WithAShortPitchIsRefused) {
  std::vector<uint8_t> packed(5120 * 2, 9);
  obs_source_frame host = {};
  host.format = kV210;
  host.width = 1922;
  host.height = 2;
  host.data[0] = packed.data();
  host.linesize[0] = 5120;
  EXPECT_FALSE(FaceBeautyFilterWorker::CopyFrame(&host, *RandomI420(1922, 2)));
  EXPECT_EQ(std::count(packed.begin(), packed.end(), 9), static_cast<ptrdiff_t>(packed.size()));
}

}  // namespace
}  // namespace vanta
