#include "key_sheet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "keyer_scene.h"

namespace keyer_bench {
namespace {

using vanta_integration::GreenScreen;
using vanta_integration::PaintedSource;
using vanta_integration::Picture;
using vanta_integration::Screenshot;

constexpr int kCellWidth = 300, kCellHeight = 200, kLabelHeight = 20, kGap = 6;
constexpr int kPairsInARow = 2;
constexpr int kFrames = 14;

// What a cell shows: the front over another backing, its hair from near, its matte, or twelve times the matte's change
// between two frames in which the picture rests.
enum class Show { kFront, kNear, kMatte, kChange };

struct Pair {
  Show show;
  const char *before_label;
  const char *before;
  const char *after_label;
  const char *after;
};

constexpr char kPicked[] = R"("keyColor":[0.2,0.68,0.28])";

constexpr Pair kPairs[] = {
    {Show::kMatte, "keyColor 0, 1, 0", R"("keyColor":[0,1,0])", "keyColor picked", ""},
    {Show::kMatte, "similarity 0.667", "", "similarity 0.2", R"("similarity":0.2)"},
    {Show::kFront, "spillSupEnabled false", R"("spillSupEnabled":false)", "spillSupEnabled true", ""},
    {Show::kNear, "spillSupScaleR 0", R"("spillSupScaleR":0)", "spillSupScaleR 0.5", ""},
    {Show::kFront, "spillSupScaleG -0.4", R"("spillSupScaleG":-0.4)", "spillSupScaleG -1", ""},
    {Show::kFront, "spillSupScaleB 0", "", "spillSupScaleB 0.8", R"("spillSupScaleB":0.8)"},
    {Show::kNear, "spillSupColorMix 0", R"("spillSupColorMix":0)", "spillSupColorMix 0.5", ""},
    {Show::kFront, "method 2, spillSupRedW 0.5", R"("spillSupMethod":2,"spillSupRedW":0.5)", "method 2, spillSupRedW 1",
     R"("spillSupMethod":2,"spillSupRedW":1)"},
    {Show::kNear, "spillSupOffset 0.55", "", "spillSupOffset 1", R"("spillSupOffset":1)"},
    {Show::kNear, "spillSupYThres 0.9", "", "spillSupYThres 0", R"("spillSupYThres":0)"},
    {Show::kFront, "blueBgFlag true (wrong)", R"("blueBgFlag":true)", "blueBgFlag found", ""},
    {Show::kChange, "denoiseEnabled false", R"("denoiseEnabled":false)", "denoiseEnabled true", ""},
    {Show::kChange, "aKalmanQ 60", R"("aKalmanQ":60)", "aKalmanQ 15", ""},
    {Show::kMatte, "alphaDown 0.75", "", "alphaDown 0.15", R"("alphaDown":0.15)"},
    {Show::kMatte, "alphaDown 0.5, alphaUp 0", R"("alphaDown":0.5,"alphaUp":0)", "alphaDown 0.5, alphaUp 0.5",
     R"("alphaDown":0.5,"alphaUp":0.5)"},
    {Show::kMatte, "alphaAdjustEnabled true, alphaUp 0.8", R"("alphaUp":0.8)", "alphaAdjustEnabled false",
     R"("alphaUp":0.8,"alphaAdjustEnabled":false)"},
    {Show::kMatte, "alphaShrink 0", "", "alphaShrink 4", R"("alphaShrink":4)"},
    {Show::kMatte, "fgAlphaBlurEnabled false", "", "true, fgAlphaBlurIntensity 0.5",
     R"("fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.5)"},
};

struct Shots {
  Screenshot last, before_last;
};

Shots Run(const Scene &scene, const std::string &patch) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), std::string("{") + kPicked + (patch.empty() ? "" : "," + patch) + "}");
  Shots shots;
  for (int frame = 0; frame < kFrames; ++frame) {
    Picture picture(scene.Options().width, scene.Options().height);
    picture.pixels = scene.Frame(frame).rgba;
    source.Paint(picture);
    vanta_integration::WaitForTicks(2);
    shots.before_last = std::move(shots.last);
    shots.last = vanta_integration::TakeScreenshot(source.Get());
  }
  return shots;
}

cv::Vec3b PixelOf(const Shots &shots, Show show, uint32_t x, uint32_t y) {
  const std::array<int, 4> now = shots.last.At(x, y);
  if (show == Show::kMatte) return cv::Vec3b::all(static_cast<uint8_t>(now[3]));
  if (show == Show::kChange)
    return cv::Vec3b::all(cv::saturate_cast<uint8_t>(12 * std::abs(now[3] - shots.before_last.At(x, y)[3])));
  constexpr int kBehind[3] = {120, 132, 150};  // red, green, blue
  cv::Vec3b pixel;
  for (int channel = 0; channel < 3; ++channel) {
    const auto at = static_cast<size_t>(channel);
    pixel[2 - channel] = static_cast<uint8_t>((now[at] * now[3] + kBehind[at] * (255 - now[3])) / 255);
  }
  return pixel;
}

cv::Mat Cell(const Scene &scene, Show show, const char *label, const char *patch) {
  const Shots shots = Run(scene, patch);
  cv::Mat cell(kCellHeight + kLabelHeight, kCellWidth, CV_8UC3, cv::Scalar::all(255));
  // The head, the soft and the sharp side, the veil and the cloth; from near the hair alone.
  const int zoom = show == Show::kNear ? 3 : 1;
  const auto middle = static_cast<int>(scene.Options().width * 42 / 100);
  const int left = middle - kCellWidth / 2 / zoom, top = show == Show::kNear ? 42 : 10;
  for (int y = 0; y < kCellHeight; ++y) {
    for (int x = 0; x < kCellWidth; ++x)
      cell.at<cv::Vec3b>(y + kLabelHeight, x) =
          PixelOf(shots, show, static_cast<uint32_t>(left + x / zoom), static_cast<uint32_t>(top + y / zoom));
  }
  cv::putText(cell, label, {2, 14}, cv::FONT_HERSHEY_SIMPLEX, 0.42, cv::Scalar::all(0), 1, cv::LINE_AA);
  return cell;
}

}  // namespace

int WriteKeySheet(const std::string &path) {
  SceneOptions options;
  options.width = 480;
  options.height = 270;
  options.moving_frames = 4;
  options.still_frames = kFrames - options.moving_frames;
  const Scene scene(options);
  constexpr int kRowHeight = kCellHeight + kLabelHeight + kGap, kPairWidth = 2 * kCellWidth + 3 * kGap;
  const int rows = (static_cast<int>(std::size(kPairs)) + kPairsInARow - 1) / kPairsInARow;
  cv::Mat sheet(rows * kRowHeight, kPairsInARow * kPairWidth, CV_8UC3, cv::Scalar::all(255));
  for (int index = 0; index < static_cast<int>(std::size(kPairs)); ++index) {
    const Pair &pair = kPairs[index];
    const int left = index % kPairsInARow * kPairWidth, top = index / kPairsInARow * kRowHeight;
    const cv::Mat before = Cell(scene, pair.show, pair.before_label, pair.before);
    const cv::Mat after = Cell(scene, pair.show, pair.after_label, pair.after);
    before.copyTo(sheet(cv::Rect(left, top, before.cols, before.rows)));
    after.copyTo(sheet(cv::Rect(left + kCellWidth + kGap, top, after.cols, after.rows)));
  }
  if (cv::imwrite(path, sheet, {cv::IMWRITE_JPEG_QUALITY, 82})) return 0;
  std::fprintf(stderr, "%s cannot be written\n", path.c_str());
  return 2;
}

}  // namespace keyer_bench
