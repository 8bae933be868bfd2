#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "beauty/face_beauty_filter_worker.h"
#include "fixtures/frames/guarded_frame.h"
#include "fixtures/frames/host_frame.h"
#include "fixtures/frames/i420_picture.h"
#include "fixtures/process/log_capture.h"
#include "frames/conversion/libyuv_to_i420_frame.h"
#include "frames/conversion/pack_v210.h"
#include "frames/plane_layout.h"

namespace vanta {
namespace {

using namespace vanta_test;

constexpr auto kV210 = static_cast<video_format>(kHostFormatV210);

// A V210 frame as a card gives it, without a plane of its own.
obs_source_frame V210Frame(std::vector<uint8_t> &packed, uint32_t width, uint32_t height, size_t pitch) {
  obs_source_frame frame = {};
  frame.format = kV210;
  frame.width = width;
  frame.height = height;
  frame.data[0] = packed.data();
  frame.linesize[0] = static_cast<uint32_t>(pitch);
  return frame;
}

// V210 of random groups, with padding of zeroes.
std::vector<uint8_t> RandomV210(uint32_t width, uint32_t height, size_t pitch) {
  std::vector<uint8_t> packed(pitch * height);
  for (uint32_t y = 0; y < height; ++y) FillRandom(packed.data() + y * pitch, V210RowBytes(width), y);
  return packed;
}

constexpr video_format kLibyuvFormats[] = {VIDEO_FORMAT_NV12, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_RGBA,
                                           VIDEO_FORMAT_BGRA, VIDEO_FORMAT_BGRX, VIDEO_FORMAT_I422};
constexpr std::pair<int, int> kEvenSizes[] = {{2, 2}, {6, 4}, {34, 6}, {66, 4}, {1922, 2}};

// An I420 frame whose planes end each at a page that nobody may touch.
FramePtr GuardedI420(int width, int height) {
  struct Guarded {
    GuardedMemory y, u, v;
    LX::FrameData frame;
  };
  const size_t chroma = static_cast<size_t>(ChromaSide(width)) * static_cast<size_t>(ChromaSide(height));
  std::shared_ptr<Guarded> guarded(
      new Guarded{GuardedMemory(static_cast<size_t>(width) * static_cast<size_t>(height), GuardSide::kBehind),
                  GuardedMemory(chroma, GuardSide::kBehind),
                  GuardedMemory(chroma, GuardSide::kBehind),
                  {}});
  LX::FrameData &frame = guarded->frame;
  frame.width = width;
  frame.height = height;
  const GuardedMemory *const planes[] = {&guarded->y, &guarded->u, &guarded->v};
  for (int plane = 0; plane < 3; ++plane) {
    frame.planes[plane] = planes[plane]->data();
    frame.strides[plane] = plane ? ChromaSide(width) : width;
  }
  return {guarded, &frame};
}

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

TEST(CoverFrame, I420IntoASmallerPictureGivesAsMuchAsItHolds) {
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_I420, 32, 8);
  for (const auto &[width, height] : {std::pair{16, 4}, {16, 8}, {32, 4}}) {
    const FramePtr smaller = GuardedI420(width, height);
    LibYuvToI420Frame::CoverFrame(*host, *smaller);
    ForEachSample(width, height, [&](int plane, int x, int y) {
      EXPECT_EQ(Sample(*smaller, plane, x, y), At(*host, plane, x, y)) << plane << " at " << x << "," << y;
    });
  }
}

TEST(CoverFrame, I420IntoALargerPictureFillsItsCorner) {
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_I420, 16, 4);
  const FramePtr larger = MakeI420Frame(32, 8);
  LibYuvToI420Frame::CoverFrame(*host, *larger);
  ForEachSample(32, 8, [&](int plane, int x, int y) {
    const bool inside = x < (plane ? 8 : 16) && y < (plane ? 2 : 4);
    EXPECT_EQ(Sample(*larger, plane, x, y), inside ? At(*host, plane, x, y) : 0) << plane << " at " << x << "," << y;
  });
}

TEST(CoverFrame, PaddedTargetGetsTheSamePictureAndKeepsItsPadding) {
  std::vector<video_format> formats(std::begin(kLibyuvFormats), std::end(kLibyuvFormats));
  formats.push_back(VIDEO_FORMAT_I420);
  for (const video_format format : formats) {
    for (const auto &[width, height] : kEvenSizes) {
      const HostFrame host = MakeHostFrame(format, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
      const FramePtr tight = MakeI420Frame(width, height), padded = MakePaddedI420(width, height);
      LibYuvToI420Frame::CoverFrame(*host, *tight);
      LibYuvToI420Frame::CoverFrame(*host, *padded);
      EXPECT_EQ(Differences(*padded, *tight), 0) << format << ", " << width << "x" << height;
    }
  }
}

TEST(CoverFrame, V210GivesAPaddedTargetTheSamePictureAndLeavesItsPadding) {
  for (const auto &[width, height] : kEvenSizes) {
    const auto columns = static_cast<uint32_t>(width), rows = static_cast<uint32_t>(height);
    const size_t pitch = V210RowBytes(columns);
    std::vector<uint8_t> packed = RandomV210(columns, rows, pitch);
    const obs_source_frame host = V210Frame(packed, columns, rows, pitch);
    const FramePtr tight = MakeI420Frame(width, height), padded = MakePaddedI420(width, height);
    LibYuvToI420Frame::CoverFrame(host, *tight);
    LibYuvToI420Frame::CoverFrame(host, *padded);
    EXPECT_EQ(Differences(*padded, *tight), 0) << width << "x" << height;
  }
}

TEST(CoverFrame, V210FillsTheCornerOfALargerPicture) {
  std::vector<uint8_t> packed = RandomV210(16, 4, V210RowBytes(16));
  const obs_source_frame host = V210Frame(packed, 16, 4, V210RowBytes(16));
  const FramePtr same = MakeI420Frame(16, 4), larger = MakeI420Frame(32, 8);
  LibYuvToI420Frame::CoverFrame(host, *same);
  LibYuvToI420Frame::CoverFrame(host, *larger);
  ForEachSample(32, 8, [&](int plane, int x, int y) {
    const bool inside = x < (plane ? 8 : 16) && y < (plane ? 2 : 4);
    EXPECT_EQ(Sample(*larger, plane, x, y), inside ? Sample(*same, plane, x, y) : 0)
        << plane << " at " << x << "," << y;
  });
}

TEST(CoverFrame, V210WithoutAPitchIsReadAtThePackersOwn) {
  std::vector<uint8_t> packed = RandomV210(50, 4, V210RowBytes(50));
  const FramePtr with = MakeI420Frame(50, 4), without = MakeI420Frame(50, 4);
  LibYuvToI420Frame::CoverFrame(V210Frame(packed, 50, 4, V210RowBytes(50)), *with);
  LibYuvToI420Frame::CoverFrame(V210Frame(packed, 50, 4, 0), *without);
  EXPECT_NE(Y(*with, 0, 3), 0);
  EXPECT_EQ(std::memcmp(with->planes[0], without->planes[0], 50 * 4 * 3 / 2), 0);
}

TEST(CoverFrame, V210OfAWiderPitchGoesRowByRow) {
  constexpr size_t kPitch = V210RowBytes(50);
  std::vector<uint8_t> packed = RandomV210(50, 4, kPitch), spread(kPitch * 3 * 4, 0xFF);
  for (size_t y = 0; y < 4; ++y) std::memcpy(spread.data() + y * kPitch * 3, packed.data() + y * kPitch, kPitch);
  const FramePtr tight = MakeI420Frame(50, 4), wide = MakeI420Frame(50, 4);
  LibYuvToI420Frame::CoverFrame(V210Frame(packed, 50, 4, kPitch), *tight);
  LibYuvToI420Frame::CoverFrame(V210Frame(spread, 50, 4, kPitch * 3), *wide);
  EXPECT_EQ(std::memcmp(tight->planes[0], wide->planes[0], 50 * 4 * 3 / 2), 0);
}

// Makers, packer and host put the chroma of odd sides in three places.
TEST(CoverFrame, V210OfAnOddSideLeavesTheTargetAsItWas) {
  for (const auto &[width, height] : {std::pair{7, 4}, {8, 5}, {7, 5}}) {
    const auto columns = static_cast<uint32_t>(width), rows = static_cast<uint32_t>(height);
    std::vector<uint8_t> packed = RandomV210(columns, rows, V210RowBytes(columns));
    const FramePtr i420 = MakeI420Frame(width, height);
    LibYuvToI420Frame::CoverFrame(V210Frame(packed, columns, rows, V210RowBytes(columns)), *i420);
    EXPECT_EQ(std::count(i420->planes[0], i420->planes[0] + width * height * 4, 0), width * height * 4);
  }
}

TEST(CoverFrame, V210IntoATargetThatIsTooSmallLeavesIt) {
  std::vector<uint8_t> packed = RandomV210(16, 8, V210RowBytes(16));
  const FramePtr i420 = MakeI420Frame(16, 4);
  LibYuvToI420Frame::CoverFrame(V210Frame(packed, 16, 8, V210RowBytes(16)), *i420);
  EXPECT_EQ(std::count(i420->planes[0], i420->planes[0] + 16 * 4 * 4, 0), 16 * 4 * 4);
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

TEST(CopyFrame, I420IntoASmallerFrameGivesAsMuchAsItHolds) {
  const FramePtr i420 = RandomI420(32, 8);
  for (const auto &[width, height] : {std::pair{16, 4}, {16, 8}, {32, 4}}) {
    GuardedHostFrame host(VIDEO_FORMAT_I420, static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                          GuardSide::kBehind);
    EXPECT_TRUE(FaceBeautyFilterWorker::CopyFrame(host.get(), *i420));
    ForEachSample(width, height, [&, host = host.get()](int plane, int x, int y) {
      EXPECT_EQ(At(*host, plane, x, y), Sample(*i420, plane, x, y)) << plane << " at " << x << "," << y;
    });
  }
}

TEST(CopyFrame, PaddedFrameGivesTheSamePicture) {
  std::vector<video_format> formats(std::begin(kLibyuvFormats), std::end(kLibyuvFormats));
  formats.push_back(VIDEO_FORMAT_I420);
  for (const video_format format : formats) {
    for (const auto &[width, height] : kEvenSizes) {
      const FramePtr i420 = RandomI420(width, height);
      const auto columns = static_cast<uint32_t>(width), rows = static_cast<uint32_t>(height);
      const HostFrame tight = MakeHostFrame(format, columns, rows, Fill::kZero);
      const HostFrame padded = MakeHostFrame(format, columns, rows, Fill::kZero);
      ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(tight.get(), *i420));
      ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(padded.get(), *Padded(*i420)));
      EXPECT_EQ(PixelsOf(*padded), PixelsOf(*tight)) << format << ", " << width << "x" << height;
    }
  }
}

TEST(CopyFrame, V210GoesThereAndComesBackThroughTheHost) {
  std::vector<int> widths{1920, 1922, 3840};
  for (int width = 2; width <= 66; width += 2) widths.push_back(width);
  for (const int width : widths) {
    const auto columns = static_cast<uint32_t>(width);
    std::vector<uint8_t> packed(V210RowBytes(columns) * 4);
    obs_source_frame host = V210Frame(packed, columns, 4, V210RowBytes(columns));
    const FramePtr before = RandomI420(width, 4);
    const FramePtr after = MakeI420Frame(width, 4);
    ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(&host, *before));
    LibYuvToI420Frame::CoverFrame(host, *after);
    EXPECT_EQ(std::memcmp(before->planes[0], after->planes[0], columns * 6), 0) << width;
  }
}

TEST(CopyFrame, V210HasThePackersRowsWhateverPitchTheFrameNames) {
  constexpr size_t kPitch = V210RowBytes(50);
  const FramePtr i420 = RandomI420(50, 4);
  std::vector<uint8_t> wanted(kPitch * 2 * 4, kNobodys);
  PackV210(i420->planes[0], reinterpret_cast<uint32_t *>(wanted.data()), 50, 4);
  for (const size_t pitch : {size_t{0}, kPitch, kPitch * 2}) {
    std::vector<uint8_t> packed(kPitch * 2 * 4, kNobodys);
    obs_source_frame host = V210Frame(packed, 50, 4, pitch);
    EXPECT_TRUE(FaceBeautyFilterWorker::CopyFrame(&host, *i420));
    EXPECT_EQ(packed, wanted) << pitch;
  }
}

TEST(CopyFrame, V210OfAPaddedFrameIsTheSame) {
  for (const auto &[width, height] : kEvenSizes) {
    const FramePtr i420 = RandomI420(width, height);
    const auto columns = static_cast<uint32_t>(width), rows = static_cast<uint32_t>(height);
    std::vector<uint8_t> tight(V210RowBytes(columns) * rows), padded(tight);
    obs_source_frame tight_host = V210Frame(tight, columns, rows, V210RowBytes(columns));
    obs_source_frame padded_host = V210Frame(padded, columns, rows, V210RowBytes(columns));
    ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(&tight_host, *i420));
    ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(&padded_host, *Padded(*i420)));
    EXPECT_EQ(padded, tight) << width << "x" << height;
  }
}

// The first word of each group of six pixels: U, Y and V, each at the top of ten bits.
TEST(CopyFrame, V210OfAnOddSideTakesChromaWhereTheFrameHasIt) {
  for (const auto &[width, height] : {std::pair{12, 3}, {12, 5}, {7, 4}, {13, 5}}) {
    const FramePtr i420 = RandomI420(width, height);
    const auto columns = static_cast<uint32_t>(width), rows = static_cast<uint32_t>(height);
    std::vector<uint8_t> packed(V210RowBytes(columns) * rows);
    obs_source_frame host = V210Frame(packed, columns, rows, V210RowBytes(columns));
    ASSERT_TRUE(FaceBeautyFilterWorker::CopyFrame(&host, *i420));
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; x += 6) {
        const uint8_t *const bytes = packed.data() + static_cast<size_t>(y) * V210RowBytes(columns) + x / 6 * 16;
        const int word = bytes[0] | bytes[1] << 8 | bytes[2] << 16 | (bytes[3] & 0x3F) << 24;
        EXPECT_EQ(word >> 2 & 0xFF, C(*i420, 1, x / 2, y / 2)) << "U at " << x << "," << y;
        EXPECT_EQ(word >> 12 & 0xFF, Y(*i420, x, y)) << "Y at " << x << "," << y;
        EXPECT_EQ(word >> 22 & 0xFF, C(*i420, 2, x / 2, y / 2)) << "V at " << x << "," << y;
      }
    }
  }
}

TEST(CopyFrame, V210WithAShortPitchIsRefused) {
  std::vector<uint8_t> packed(5120 * 2, 9);
  obs_source_frame host = V210Frame(packed, 1922, 2, 5120);
  EXPECT_FALSE(FaceBeautyFilterWorker::CopyFrame(&host, *RandomI420(1922, 2)));
  EXPECT_EQ(std::count(packed.begin(), packed.end(), 9), static_cast<ptrdiff_t>(packed.size()));
}

}  // namespace
}  // namespace vanta
