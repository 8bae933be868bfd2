#include "scaled_sheet.h"

#include <dlfcn.h>
#include <graphics/vec2.h>
#include <util/bmem.h>

#include <cstdint>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "keyer_scene.h"

namespace {

std::string effect_path;  // what the module gets for its effect file; empty: its own

}  // namespace

extern "C" char *obs_find_module_file(obs_module_t *module, const char *file) {
  if (!effect_path.empty() && std::string(file) == "lx_green_screen_filter.effect") return bstrdup(effect_path.c_str());
  using Find = char *(*)(obs_module_t *, const char *);
  static const auto next = reinterpret_cast<Find>(dlsym(RTLD_NEXT, "obs_find_module_file"));
  return next(module, file);
}

namespace keyer_bench {
namespace {

using vanta_integration::GreenScreen;
using vanta_integration::PaintedSource;
using vanta_integration::Picture;
using vanta_integration::Screenshot;

constexpr char kConfig[] = R"({"keyColor":[0.2,0.68,0.28]})";
constexpr int kLeft = 302, kTop = 58;  // where the cells begin, in the take's pixels
constexpr int kLabelHeight = 20, kGap = 6;

struct Scale {
  const char *label;
  float factor;
  int zoom;  // of the drawn pixels, so that both scales fill the same cell
};
constexpr Scale kScales[] = {{"50 %", 0.5f, 15}, {"150 %", 1.5f, 5}};
constexpr int kCellWidth = 450, kCellHeight = 270;

// The hair over another backing, drawn by a scene at `scale` of its size.
cv::Mat Cell(const Scene &scene, const Scale &scale, const std::string &label) {
  PaintedSource behind, source;
  Picture plain(320, 240);
  plain.Fill(84, 66, 58);
  behind.Paint(plain);
  const GreenScreen filter(source.Get(), kConfig);
  const OBSSceneAutoRelease composite = obs_scene_create_private("scaled");
  obs_scene_add(composite, behind.Get());
  obs_sceneitem_t *const item = obs_scene_add(composite, source.Get());
  vec2 factor, position;
  vec2_set(&factor, scale.factor, scale.factor);
  vec2_set(&position, -scale.factor * kLeft, -scale.factor * kTop);
  obs_sceneitem_set_scale(item, &factor);
  obs_sceneitem_set_pos(item, &position);
  Screenshot shot;
  for (int frame = 0; frame < scene.Frames(); ++frame) {
    Picture picture(scene.Options().width, scene.Options().height);
    picture.pixels = scene.Frame(frame).rgba;
    source.Paint(picture);
    vanta_integration::WaitForTicks(2);
    shot = vanta_integration::TakeScreenshot(obs_scene_get_source(composite));
  }
  obs_scene_enum_items(
      composite, [](obs_scene_t *, obs_sceneitem_t *each, void *) { return obs_sceneitem_remove(each), true; },
      nullptr);

  cv::Mat cell(kCellHeight + kLabelHeight, kCellWidth, CV_8UC3, cv::Scalar::all(255));
  for (int y = 0; y < kCellHeight; ++y) {
    for (int x = 0; x < kCellWidth; ++x) {
      const auto pixel = shot.At(static_cast<uint32_t>(x / scale.zoom), static_cast<uint32_t>(y / scale.zoom));
      cell.at<cv::Vec3b>(y + kLabelHeight, x) =
          cv::Vec3b(static_cast<uint8_t>(pixel[2]), static_cast<uint8_t>(pixel[1]), static_cast<uint8_t>(pixel[0]));
    }
  }
  cv::putText(cell, label, {2, 14}, cv::FONT_HERSHEY_SIMPLEX, 0.42, cv::Scalar::all(0), 1, cv::LINE_AA);
  return cell;
}

}  // namespace

int WriteScaledSheet(const std::string &path, const std::string &other_effect) {
  SceneOptions options;
  options.moving_frames = 4;
  options.still_frames = 8;
  const Scene scene(options);
  std::vector<std::string> effects{""};
  if (!other_effect.empty()) effects.insert(effects.begin(), other_effect);
  cv::Mat sheet(static_cast<int>(std::size(kScales)) * (kCellHeight + kLabelHeight + kGap) - kGap,
                static_cast<int>(effects.size()) * (kCellWidth + kGap) - kGap, CV_8UC3, cv::Scalar::all(255));
  for (size_t column = 0; column < effects.size(); ++column) {
    effect_path = effects[column];
    const char *const when = effects.size() == 1 ? "" : column == 0 ? ", before" : ", after";
    for (size_t row = 0; row < std::size(kScales); ++row) {
      const cv::Mat cell = Cell(scene, kScales[row], std::string("drawn at ") + kScales[row].label + when);
      cell.copyTo(sheet(cv::Rect(static_cast<int>(column) * (kCellWidth + kGap),
                                 static_cast<int>(row) * (kCellHeight + kLabelHeight + kGap), cell.cols, cell.rows)));
    }
  }
  effect_path.clear();
  if (cv::imwrite(path, sheet, {cv::IMWRITE_JPEG_QUALITY, 85})) return 0;
  std::fprintf(stderr, "%s cannot be written\n", path.c_str());
  return 2;
}

}  // namespace keyer_bench
