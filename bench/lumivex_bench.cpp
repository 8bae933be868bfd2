// The open engine on a 1920x1080 frame, on one thread, turn by turn in one run: smoothing and whitening, also around a
// known face, against OpenCV's bilateral filter (d = 9) on the same luma plane; a table of 33 entries an axis against a
// copy of a frame; makeup on all five parts of a face against OpenCV's turning of a whole picture with alpha. Then
// the slow frames of 1280x720 with everything on, on two processors, against a bar in time and against everything off.
#include <util/base.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "color/lookup_stage.h"
#include "lumivex/lumivex_control.h"
#include "lumivex/lumivex_values.h"
#include "makeup/makeup_stage.h"
#include "ratio.h"
#include "shape/mean_shape.h"
#include "skin/beauty_stage.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kWarmUps = 5;
constexpr int kRounds = 60;
constexpr double kSkinBar = 0.25;
constexpr double kMakeupBar = 0.5;
constexpr double kTableBar = 6.0;
constexpr double kSlowFrameBarMs = 20.0;
constexpr int kFrames = 400;            // of which the slow ones are looked for
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

lumivex::Nv12View ViewOf(Picture &picture) {
  lumivex::Nv12View view;
  view.y = picture.luma.data;
  view.uv = picture.chroma.data;
  view.y_stride = static_cast<ptrdiff_t>(picture.luma.step);
  view.uv_stride = static_cast<ptrdiff_t>(picture.chroma.step);
  view.width = kWidth;
  view.height = kHeight;
  view.chroma_width = kWidth / 2;
  view.chroma_height = kHeight / 2;
  return view;
}

vanta_bench::Row FaceRow(const Picture &picture) {
  const lumivex::Faces faces = {MeanFace()};
  lumivex::BeautyStage stage;
  cv::Mat smoothed;
  vanta_bench::Turns turns;
  for (int round = -kWarmUps; round < kRounds / 2; ++round) {
    Picture frame{picture.luma.clone(), picture.chroma.clone()};
    const lumivex::Nv12View view = ViewOf(frame);
    const double beauty = vanta_bench::ProcessorMilliseconds([&] {
      if (stage.FindSkin(view, lumivex::SpaceOf(0), faces)) stage.Apply(view, lumivex::SpaceOf(0), {0.7f, 0.4f, 0.0f});
    });
    const double bilateral =
        vanta_bench::ProcessorMilliseconds([&] { cv::bilateralFilter(picture.luma, smoothed, 9, 75, 75); });
    if (round >= 0) turns.Add(beauty, bilateral);
  }
  return turns.Result("engine the same around a known face / bilateral d = 9", kSkinBar);
}

// Twice: where frame and copy lie in the cache, and where they do not. A frame comes from a decoder or another thread,
// into memory that was used last some frames ago, so the second is the copy that each frame costs anyway.
std::vector<vanta_bench::Row> TableRows(const Picture &picture) {
  const auto table = std::make_shared<lumivex::LookupTable>();
  table->side = 33;
  for (int blue = 0; blue < 33; ++blue) {
    for (int green = 0; green < 33; ++green) {
      for (int red = 0; red < 33; ++red) {
        const auto warmer = [](int entry, float more) {
          return std::min(static_cast<float>(entry) / 32.0f * more, 1.0f);
        };
        table->entries.push_back({warmer(red, 1.1f), warmer(green, 1.0f), warmer(blue, 0.9f)});
      }
    }
  }
  Picture colours{picture.luma.clone(), picture.chroma.clone()};
  cv::RNG random(3);
  for (int y = 0; y < colours.chroma.rows; ++y) {  // some thousands of chroma codes, as a camera's picture has
    for (int x = 0; x < colours.chroma.cols; ++x) {
      colours.chroma.at<cv::Vec2b>(y, x) =
          cv::Vec2b(cv::saturate_cast<uint8_t>(100 + x * 50 / colours.chroma.cols + random.uniform(-2, 3)),
                    cv::saturate_cast<uint8_t>(110 + y * 60 / colours.chroma.rows + random.uniform(-2, 3)));
    }
  }
  lumivex::LookupStage stage;
  const auto turn = [&](Picture &frame, const Picture &from, Picture &to, vanta_bench::Turns &turns, bool counts) {
    const lumivex::Nv12View view = ViewOf(frame);
    const double lookup =
        vanta_bench::ProcessorMilliseconds([&] { stage.Apply(view, lumivex::SpaceOf(0), table, 1.0f); });
    const double copied = vanta_bench::ProcessorMilliseconds([&] {
      from.luma.copyTo(to.luma);
      from.chroma.copyTo(to.chroma);
    });
    if (counts) turns.Add(lookup, copied);
  };
  Picture copy{colours.luma.clone(), colours.chroma.clone()};
  vanta_bench::Turns cached;
  for (int round = -kWarmUps; round < kRounds; ++round) {
    Picture frame{colours.luma.clone(), colours.chroma.clone()};
    turn(frame, frame, copy, cached, round >= 0);
  }
  // Some hundred MiB, so that each frame has left the cache when its turn comes.
  constexpr size_t kUncached = 72;
  std::vector<Picture> frames;
  for (size_t i = 0; i < kUncached; ++i) frames.push_back({colours.luma.clone(), colours.chroma.clone()});
  vanta_bench::Turns uncached;
  for (size_t i = 0; i < kUncached / 3; ++i)
    turn(frames[i], frames[kUncached / 3 + i], frames[kUncached / 3 * 2 + i], uncached, i >= size_t{kWarmUps});
  return {uncached.Result("engine table of 33 / copy of a frame beyond the cache", kTableBar),
          cached.Result("engine table of 33 / copy within the cache", vanta_bench::kNoBar)};
}

// Of many frames' times the one that a hundredth of them passes.
double SlowFrame(bool everything) {
  constexpr int kSmallWidth = 1280;
  constexpr int kSmallHeight = 720;
  LXEngineConfig config{};
  config.width = kSmallWidth;
  config.height = kSmallHeight;
  const std::shared_ptr<LX::LumivexSync> engine = LX::LumivexSync::createEngine(&config);
  engine->updateTesseraParams(R"({"threads":2})");
  if (everything) {
    for (const lumivex::BeautyTypeInfo &info : lumivex::kBeautyTypes)
      engine->setBeautyIntensityWithType(info.type, 0.5f);
    for (const lumivex::DeformModeInfo &info : lumivex::kDeformModes)
      engine->setDeformIntensityWithMode(info.mode, 0.5f);
    std::vector<LXMakeupInfo> makeup;
    for (const lumivex::MakeupPartInfo &part : lumivex::kMakeupParts) {
      LXMakeupInfo layer{};
      std::snprintf(layer.resourceDir, sizeof(layer.resourceDir), "color:b02040");
      std::snprintf(layer.key, sizeof(layer.key), "%.*s", static_cast<int>(part.name.size()), part.name.data());
      layer.intensity = 0.5f;
      makeup.push_back(layer);
    }
    engine->setMakeupInfo(makeup);
  }
  const cv::Mat portrait = cv::imread(VANTA_PORTRAIT);
  cv::Mat bgr;
  cv::resize(portrait, bgr, cv::Size(kSmallWidth, kSmallHeight), 0, 0, cv::INTER_CUBIC);
  cv::resize(portrait, bgr(cv::Rect(256, 0, 768, 720)), cv::Size(768, 720), 0, 0, cv::INTER_CUBIC);
  cv::Mat i420;
  cv::cvtColor(bgr, i420, cv::COLOR_BGR2YUV_I420);
  LX::FramePool pool;
  std::vector<double> times;
  for (int i = -20; i < kFrames; ++i) {
    std::shared_ptr<LX::FrameData> frame = pool.takeFrameDataNV12(kSmallWidth, kSmallHeight, 0, 0);
    frame->timestamp = static_cast<uint64_t>(i + 21) * 33'333'333;
    for (int y = 0; y < kSmallHeight; ++y)
      std::memcpy(frame->planes[0] + ptrdiff_t{frame->strides[0]} * y, i420.ptr(y), kSmallWidth);
    const uint8_t *u = i420.ptr(kSmallHeight);
    const uint8_t *v = u + kSmallWidth * kSmallHeight / 4;
    for (int y = 0; y < kSmallHeight / 2; ++y) {
      uint8_t *codes = frame->planes[1] + ptrdiff_t{frame->strides[1]} * y;
      for (int x = 0; x < kSmallWidth / 2; ++x, ++u, ++v) {
        codes[2 * x] = *u;
        codes[2 * x + 1] = *v;
      }
    }
    const double time = vanta_bench::Milliseconds([&] { frame = engine->processFrameData(std::move(frame)); });
    if (i >= 0) times.push_back(time);
  }
  std::sort(times.begin(), times.end());
  return times[times.size() * 99 / 100];
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
  const lumivex::Nv12View view = ViewOf(picture);
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
  lumivex_set_frames_await_loads(true);
  cv::setNumThreads(1);
  const Picture picture = MakeSkin();
  LXEngineConfig config{};
  config.width = kWidth;
  config.height = kHeight;
  const std::shared_ptr<LX::LumivexSync> engine = LX::LumivexSync::createEngine(&config);
  engine->updateTesseraParams(R"({"threads":1})");
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
  std::vector<vanta_bench::Row> rows = {turns.Result("engine smoothing + whitening / bilateral filter d = 9", kSkinBar),
                                        FaceRow(picture), MakeupRow(MakeSkin())};
  for (const vanta_bench::Row &row : TableRows(picture)) rows.push_back(row);
  cv::setNumThreads(2);
  const double slow = SlowFrame(true);
  const double off = SlowFrame(false);
  rows.push_back(
      {"p99 of 720p, everything on / 20 ms, two processors", slow, kSlowFrameBarMs, slow / kSlowFrameBarMs, 1.0});
  rows.push_back({"p99 of 720p, everything on / everything off", slow, off, slow / off, vanta_bench::kNoBar});
  for (const vanta_bench::Row &row : rows) vanta_bench::PrintRow(row);
  return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
}
