// The open engine on a 1920x1080 frame, on one thread, turn by turn in one run: smoothing and whitening against
// OpenCV's bilateral filter (d = 9) on the same luma plane, and makeup on all five parts of a face against OpenCV's
// turning of a whole picture with alpha.
#include <util/base.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "lumivex/lumivex_values.h"
#include "makeup/makeup_stage.h"
#include "ratio.h"
#include "shape/mean_shape.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kWarmUps = 5;
constexpr int kRounds = 60;
constexpr double kSkinBar = 0.25;
constexpr double kMakeupBar = 0.5;
constexpr float kEyeDistance = 150.0f;  // pixels: a face of half the picture's height

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

lumivex::Face MeanFace() {
  lumivex::FacePoints points;
  size_t i = 0;
  for (const cv::Point2f &point : tessera::MeanShape())
    points[i++] = {kWidth / 2.0f + kEyeDistance * point.x, kHeight / 3.0f + kEyeDistance * point.y};
  return *lumivex::MakeFace(points, {});
}

vanta_bench::Row MakeupRow(Picture picture) {
  std::vector<lumivex::MakeupChoice> choices;
  for (const lumivex::MakeupPartInfo &part : lumivex::kMakeupParts) {
    lumivex::MakeupChoice choice;
    choice.key = part.name;
    choice.resource = lumivex::MakeupOfColor("color:b02040", choice.key).resource;
    choices.push_back(choice);
  }
  const lumivex::Faces faces = {MeanFace()};
  lumivex::Nv12View view;
  view.y = picture.luma.data;
  view.uv = picture.chroma.data;
  view.y_stride = static_cast<ptrdiff_t>(picture.luma.step);
  view.uv_stride = static_cast<ptrdiff_t>(picture.chroma.step);
  view.width = kWidth;
  view.height = kHeight;
  view.chroma_width = kWidth / 2;
  view.chroma_height = kHeight / 2;
  const cv::Mat layer(kHeight, kWidth, CV_8UC4, cv::Scalar(10, 20, 30, 40));
  const cv::Matx23d turn(0.999, -0.04, 20, 0.04, 0.999, -15);
  cv::Mat turned;
  lumivex::MakeupStage stage;
  vanta_bench::Turns turns;
  for (int round = -kWarmUps; round < kRounds; ++round) {
    const double makeup =
        vanta_bench::ProcessorMilliseconds([&] { stage.Apply(view, lumivex::SpaceOf(0), faces, choices); });
    const double affine =
        vanta_bench::ProcessorMilliseconds([&] { cv::warpAffine(layer, turned, turn, layer.size()); });
    if (round >= 0) turns.Add(makeup, affine);
  }
  return turns.Result("engine makeup of five parts / warpAffine of RGBA", kMakeupBar);
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

// lumivex_bench [--out FILE]: writes the figures to FILE as JSON. Ends with 1 when a bar is missed.
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
  const vanta_bench::Row row = turns.Result("engine smoothing + whitening / bilateral filter d = 9", kSkinBar);
  vanta_bench::PrintRow(row);
  const vanta_bench::Row makeup = MakeupRow(MakeSkin());
  vanta_bench::PrintRow(makeup);
  return vanta_bench::Finish({row, makeup}, vanta_bench::OutPath(argc, argv));
}
