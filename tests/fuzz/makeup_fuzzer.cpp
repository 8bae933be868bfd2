// A makeup.json from anywhere, laid on a face: what is read keeps its limits, and every map that is found is one that
// can be drawn with.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "faces/face_fit.h"
#include "makeup/makeup_file.h"
#include "require.h"

namespace {

// A face with every point in a place of its own.
lumivex::Face AnyFace() {
  lumivex::FacePoints points;
  for (size_t i = 0; i < points.size(); ++i) {
    const auto number = static_cast<float>(i);
    points[i] = {100.0f + 3.0f * number, 50.0f + std::fmod(number * 17.0f, 83.0f)};
  }
  const auto face = lumivex::MakeFace(points, {});
  Require(face.has_value(), "no face");
  return *face;
}

void RequireLimits(const lumivex::MakeupText &makeup) {
  Require(makeup.reason.empty() != makeup.layers.empty(), "neither good nor bad");
  Require(makeup.layers.size() <= lumivex::kMostMakeupLayers, "more layers than the limit");
  for (const lumivex::MakeupLayerText &layer : makeup.layers) {
    Require(layer.opacity >= 0.0f && layer.opacity <= 1.0f, "opacity");
    Require(layer.pins.size() >= 2 && layer.pins.size() <= lumivex::kMostMakeupPins, "anchors");
    Require(!layer.image.empty() && layer.image.find('/') == std::string::npos, "a file of another folder");
  }
}

void RequireMap(const lumivex::AffineMap &map) {
  const auto back = lumivex::Inverse(map);
  Require(back.has_value(), "a map without a way back");
  for (const double number : {map.a, map.b, map.c, map.d, map.e, map.f}) Require(std::isfinite(number), "a map");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const lumivex::Face face = AnyFace();
  const lumivex::MakeupText makeup = lumivex::ParseMakeup({reinterpret_cast<const char *>(data), size});
  RequireLimits(makeup);
  for (const lumivex::MakeupLayerText &layer : makeup.layers) {
    std::vector<lumivex::FitPin> pins;
    for (const lumivex::MakeupPin &pin : layer.pins) pins.push_back({{pin.x, pin.y}, face.At(pin.anchor)});
    if (const auto map = lumivex::FitAffine(pins, face)) RequireMap(*map);
  }
  return 0;
}
