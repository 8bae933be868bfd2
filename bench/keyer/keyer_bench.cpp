// The green screen and libobs's stock chroma key on the same synthetic takes: errors of alpha and colour against the
// truth, ours with nothing but the picked key colour, the stock filter at its defaults and tuned by a grid search.
//
// - keyer_bench [quick]: the table; quick: at one level of noise.
// - keyer_bench ours CONFIG..., keyer_bench ours6 CONFIG...: our figures alone, at 3 or 6 levels of noise, for each
//   config, to which the key colour is added.
// - keyer_bench speed, keyer_bench --out FILE: time per rendered frame, against the stock filter; FILE takes it as
// JSON.
// - keyer_bench sheet FILE: before and after of each setting that changes the picture.
// - keyer_bench scaled FILE [EFFECT]: hair as the host draws it smaller and larger; with EFFECT, another effect file,
// that one's beside ours.
// - keyer_bench picture FOLDER CONFIG...: PAM pictures of the take's last frame and of each config's result.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "key_sheet.h"
#include "keyer_metrics.h"
#include "keyer_scene.h"
#include "keyer_speed.h"
#include "scaled_sheet.h"
#include "stock_key.h"

namespace keyer_bench {
namespace {

using vanta_integration::GreenScreen;
using vanta_integration::PaintedSource;
using vanta_integration::Picture;
using vanta_integration::Screenshot;

std::string WithKey(const Scene &scene, const std::string &config) {
  const Colour key = scene.Backing();
  char text[128];
  std::snprintf(text, sizeof(text), R"({"keyColor":[%.4f,%.4f,%.4f])", static_cast<double>(key.r),
                static_cast<double>(key.g), static_cast<double>(key.b));
  const std::string rest = config.size() > 2 ? "," + config.substr(1) : "}";
  return text + rest;
}

// The stock filter's result is premultiplied.
void Unpremultiply(std::vector<uint8_t> &rgba) {
  for (size_t i = 0; i < rgba.size(); i += 4) {
    for (size_t channel = 0; channel < 3 && rgba[i + 3] != 0; ++channel)
      rgba[i + channel] = static_cast<uint8_t>(std::min(255, rgba[i + channel] * 255 / rgba[i + 3]));
  }
}

std::vector<uint8_t> Keyed(PaintedSource &source, const Scene &scene, const Take &take) {
  Picture picture(scene.Options().width, scene.Options().height);
  picture.pixels = take.rgba;
  source.Paint(picture);
  vanta_integration::WaitForTicks(2);
  return vanta_integration::TakeScreenshot(source.Get()).pixels;
}

using Takes = std::vector<Take>;

Takes MakeTakes(const Scene &scene) {
  Takes takes;
  for (int frame = 0; frame < scene.Frames(); ++frame) takes.push_back(scene.Frame(frame));
  return takes;
}

Metrics Measure(PaintedSource &source, const Scene &scene, const Takes &takes, bool premultiplied) {
  Meter meter(scene);
  for (int frame = 0; frame < scene.Frames(); ++frame) {
    std::vector<uint8_t> rgba = Keyed(source, scene, takes[static_cast<size_t>(frame)]);
    if (rgba.empty()) {
      std::fprintf(stderr, "nothing was drawn\n");
      std::exit(2);
    }
    if (premultiplied) Unpremultiply(rgba);
    meter.Add(frame, takes[static_cast<size_t>(frame)], rgba);
  }
  return meter.Result();
}

Metrics MeasureOurs(const Scene &scene, const Takes &takes, const std::string &config) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), WithKey(scene, config));
  return Measure(source, scene, takes, false);
}

Metrics MeasureStock(const Scene &scene, const Takes &takes, const StockSettings &stock) {
  PaintedSource source;
  const StockKey filter(source.Get(), scene, stock);
  return Measure(source, scene, takes, true);
}

// The best MAD over a grid, on every fourth frame of the moving part; then the figures on all frames.
StockSettings Tune(const Scene &scene) {
  SceneOptions few = scene.Options();
  few.moving_frames = 2;
  few.still_frames = 0;
  const Scene small(few);
  const Takes takes = MakeTakes(small);
  StockSettings best;
  double best_mad = 1e9;
  for (const int similarity : {1, 10, 20, 30, 45, 60, 90, 120}) {
    for (const int smoothness : {60, 100, 140, 160, 180, 200, 230, 260}) {
      const StockSettings stock{true, similarity, smoothness, 100};
      const double mad = MeasureStock(small, takes, stock).mad;
      if (mad < best_mad) {
        best_mad = mad;
        best = stock;
      }
    }
  }
  return best;
}

void PrintHeadings() {
  std::printf("%-34s | %6s | %6s | %6s | %6s | %6s | %7s | %6s | %6s | %9s\n", "keyer", "MAD", "moving", "MSE", "Grad",
              "dtSSD", "flicker", "core", "yellow", "edge comp");
}

void PrintRow(const std::string &name, const Metrics &m) {
  std::printf("%-34s | %6.1f | %6.1f | %6.2f | %6.2f | %6.2f | %7.2f | %6.1f | %6.1f | %9.1f\n", name.c_str(), m.mad,
              m.moving_mad, m.mse, m.grad, m.dtssd, m.edge_flicker, m.core_rmse, m.yellow, m.edge_composite);
  std::fflush(stdout);
}

void PrintTable(const Scene &scene) {
  const Takes takes = MakeTakes(scene);
  std::printf("\n%s backing, noise of %.0f levels\n", scene.Options().blue ? "blue" : "green",
              static_cast<double>(scene.Options().noise));
  PrintHeadings();
  PrintRow("ours, key colour only", MeasureOurs(scene, takes, "{}"));
  PrintRow("ours, without denoise", MeasureOurs(scene, takes, R"({"denoiseEnabled":false})"));
  PrintRow("ours, without spill suppression", MeasureOurs(scene, takes, R"({"spillSupEnabled":false})"));
  PrintRow("stock chroma key, defaults", MeasureStock(scene, takes, {.picked = false}));
  const StockSettings tuned = Tune(scene);
  char name[64];
  std::snprintf(name, sizeof(name), "stock chroma key, tuned (%d, %d)", tuned.similarity, tuned.smoothness);
  PrintRow(name, MeasureStock(scene, takes, tuned));
}

void WritePam(const std::string &path, const Scene &scene, const std::vector<uint8_t> &rgba) {
  std::ofstream file(path, std::ios::binary);
  file << "P7\nWIDTH " << scene.Options().width << "\nHEIGHT " << scene.Options().height
       << "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
  file.write(reinterpret_cast<const char *>(rgba.data()), static_cast<std::streamsize>(rgba.size()));
}

void WritePictures(const Scene &scene, const std::string &folder, const std::vector<std::string> &configs) {
  const Takes takes = MakeTakes(scene);
  WritePam(folder + "/take.pam", scene, takes.back().rgba);
  for (size_t i = 0; i < configs.size(); ++i) {
    PaintedSource source;
    const GreenScreen filter(source.Get(), WithKey(scene, configs[i]));
    std::vector<uint8_t> rgba;
    for (const Take &take : takes) rgba = Keyed(source, scene, take);
    WritePam(folder + "/ours" + std::to_string(i) + ".pam", scene, rgba);
  }
  PaintedSource source;
  const StockKey filter(source.Get(), scene, {.picked = false});
  std::vector<uint8_t> rgba = Keyed(source, scene, takes.back());
  Unpremultiply(rgba);
  WritePam(folder + "/stock.pam", scene, rgba);
}

bool OpenStockFilters() {
  obs_module_t *module = nullptr;
  return obs_open_module(&module, VANTA_TEST_STOCK_LIBRARIES "/obs-plugins/obs-filters.so",
                         VANTA_TEST_STOCK_DATA "/obs-plugins/obs-filters") == MODULE_SUCCESS &&
         obs_init_module(module);
}

}  // namespace

int Run(int argc, char **argv) {
  base_set_log_handler(
      [](int level, const char *format, va_list arguments, void *) {
        if (level > LOG_WARNING) return;
        std::vfprintf(stderr, format, arguments);
        std::fputc('\n', stderr);
      },
      nullptr);
  vanta_integration::SessionOptions options;
  options.fps = 240;
  const vanta_integration::ObsSession session(options);
  vanta_integration::RegisterPaintedSource();
  if (!OpenStockFilters()) return 2;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (!arguments.empty() && (arguments[0] == "speed" || arguments[0] == "--out")) return MeasureSpeed(argc, argv);
  if (!arguments.empty() && (arguments[0] == "ours" || arguments[0] == "ours6")) {
    for (const bool blue : {false, true}) {
      SceneOptions scene_options;
      scene_options.blue = blue;
      if (arguments[0] == "ours6") scene_options.noise = 6;
      const Scene scene(scene_options);
      const Takes takes = MakeTakes(scene);
      PrintHeadings();
      for (size_t i = 1; i < arguments.size(); ++i)
        PrintRow((blue ? "b " : "g ") + arguments[i].substr(0, 31), MeasureOurs(scene, takes, arguments[i]));
    }
    return 0;
  }
  if (arguments.size() == 2 && arguments[0] == "sheet") return WriteKeySheet(arguments[1]);
  if (arguments.size() >= 2 && arguments[0] == "scaled")
    return WriteScaledSheet(arguments[1], arguments.size() > 2 ? arguments[2] : "");
  if (arguments.size() >= 2 && arguments[0] == "picture") {
    std::vector<std::string> configs(arguments.begin() + 2, arguments.end());
    if (configs.empty()) configs = {"{}"};
    WritePictures(Scene(SceneOptions{}), arguments[1], configs);
    return 0;
  }
  const bool quick = !arguments.empty() && arguments[0] == "quick";
  for (const bool blue : {false, true}) {
    for (const float noise : {3.0f, 6.0f}) {
      if (quick && noise > 3) continue;
      SceneOptions scene_options;
      scene_options.blue = blue;
      scene_options.noise = noise;
      PrintTable(Scene(scene_options));
    }
  }
  return 0;
}

}  // namespace keyer_bench
