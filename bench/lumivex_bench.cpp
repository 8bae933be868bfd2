// Smoothing and whitening of a 1920x1080 frame by the open engine, against OpenCV's bilateral filter (d = 9) on the
// same luma plane, both on one thread, turn by turn in one run.
#include <util/base.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "lumivex/lumivex_values.h"
#include "ratio.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kWarmUps = 5;
constexpr int kRounds = 60;
constexpr double kBar = 0.25;

// All skin, lit unevenly and with texture, so that no row can be left out.
struct Picture {
  cv::Mat luma = cv::Mat(kHeight, kWidth, CV_8U);
  cv::Mat chroma = cv::Mat(kHeight / 2, kWidth / 2, CV_8UC2, cv::Scalar(108, 150));
};

Picture MakeSkin() {
  Picture picture;
  cv::RNG random(7);
  random.fill(picture.luma, cv::RNG::NORMAL, 0, 6);
  for (int y = 0; y < kHeight; ++y) {
    uint8_t *row = picture.luma.ptr<uint8_t>(y);
    for (int x = 0; x < kWidth; ++x) {
      const int lit = 110 + 60 * x / kWidth + 30 * y / kHeight + ((x / 90 + y / 70) % 2 ? 18 : 0);
      row[x] = cv::saturate_cast<uint8_t>(lit + static_cast<int8_t>(row[x]) % 16);
    }
  }
  return picture;
}

void Fill(const Picture &picture, LX::FrameData &frame) {
  for (int y = 0; y < kHeight; ++y) {
    std::memcpy(frame.planes[0] + ptrdiff_t{frame.strides[0]} * y, picture.luma.ptr(y), kWidth);
  }
  for (int y = 0; y < kHeight / 2; ++y) {
    std::memcpy(frame.planes[1] + ptrdiff_t{frame.strides[1]} * y, picture.chroma.ptr(y), kWidth);
  }
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

// lumivex_bench [--out FILE]: writes the figures to FILE as JSON. Ends with 1 when the bar is missed.
int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  cv::setNumThreads(1);
  const Picture picture = MakeSkin();
  LXEngineConfig config{};
  config.width = kWidth;
  config.height = kHeight;
  const std::shared_ptr<LX::LumivexSync> engine = LX::LumivexSync::createEngine(&config);
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.7f);
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 0.4f);
  LX::FramePool pool;
  cv::Mat smoothed;

  vanta_bench::Turns turns;
  for (int round = -kWarmUps; round < kRounds; ++round) {
    std::shared_ptr<LX::FrameData> frame = pool.takeFrameDataNV12(kWidth, kHeight, 0, 0);
    Fill(picture, *frame);
    const double beauty =
        vanta_bench::ProcessorMilliseconds([&] { frame = engine->processFrameData(std::move(frame)); });
    const double bilateral =
        vanta_bench::ProcessorMilliseconds([&] { cv::bilateralFilter(picture.luma, smoothed, 9, 75, 75); });
    if (frame && round >= 0) turns.Add(beauty, bilateral);
  }
  if (turns.Count() == 0) {
    std::fprintf(stderr, "lumivex_bench: the engine gave no frame back\n");
    return 2;
  }
  const vanta_bench::Row row = turns.Result("engine smoothing + whitening / bilateral filter d = 9", kBar);
  vanta_bench::PrintRow(row);
  return vanta_bench::Finish({row}, vanta_bench::OutPath(argc, argv));
}
