// Smoothing and whitening of a 1920x1080 frame by the open engine, against OpenCV's bilateral filter (d = 9) on the
// same luma plane, both on one thread, turn by turn in one run.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "engine/lumivex_api.h"
#include "lumivex/lumivex_values.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kWarmUps = 5;
constexpr int kRounds = 60;
constexpr double kBar = 0.2;

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

template <typename Work>
double Milliseconds(Work &&work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void Fill(const Picture &picture, LX::FrameData &frame) {
  for (int y = 0; y < kHeight; ++y) {
    std::memcpy(frame.planes[0] + ptrdiff_t{frame.strides[0]} * y, picture.luma.ptr(y), kWidth);
  }
  for (int y = 0; y < kHeight / 2; ++y) {
    std::memcpy(frame.planes[1] + ptrdiff_t{frame.strides[1]} * y, picture.chroma.ptr(y), kWidth);
  }
}

}  // namespace

// lumivex_bench [FILE]: writes the figures to FILE as JSON. Ends with 1 when the bar is missed.
int main(int argc, char **argv) {
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

  std::vector<double> ours;
  std::vector<double> theirs;
  std::vector<double> ratios;
  for (int round = -kWarmUps; round < kRounds; ++round) {
    std::shared_ptr<LX::FrameData> frame = pool.takeFrameDataNV12(kWidth, kHeight, 0, 0);
    Fill(picture, *frame);
    const double beauty = Milliseconds([&] { frame = engine->processFrameData(std::move(frame)); });
    const double bilateral = Milliseconds([&] { cv::bilateralFilter(picture.luma, smoothed, 9, 75, 75); });
    if (!frame || round < 0) continue;
    ours.push_back(beauty);
    theirs.push_back(bilateral);
    ratios.push_back(beauty / bilateral);
  }
  if (ratios.empty()) {
    std::fprintf(stderr, "lumivex_bench: the engine gave no frame back\n");
    return 2;
  }
  const double ratio = Median(ratios);
  std::printf("lumivex smoothing+whitening / bilateral d=9: %.3f (bar %.3f)   %.2f ms / %.2f ms, medians of %zu\n",
              ratio, kBar, Median(ours), Median(theirs), ratios.size());
  if (argc > 1) {
    const nlohmann::ordered_json json = {{"name", "lumivex smoothing+whitening / bilateral d=9"},
                                         {"ours_ms", Median(ours)},
                                         {"other_ms", Median(theirs)},
                                         {"ratio", ratio},
                                         {"bar", kBar}};
    std::ofstream(argv[1]) << json.dump(2) << '\n';
  }
  return ratio <= kBar ? 0 : 1;
}
