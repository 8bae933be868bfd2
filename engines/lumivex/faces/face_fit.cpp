#include "faces/face_fit.h"

#include <cmath>

namespace lumivex {
namespace {

constexpr double kThinnest = 1e-3;   // of the pins' spread: a line counts as flat below that
constexpr double kLeastArea = 1e-6;  // frame pixels for one of the picture
constexpr double kMostNumber = 1e9;  // beyond any frame

struct Point {
  double x;
  double y;
};

struct Spread {
  Point from{0.0, 0.0};  // mean
  Point to{0.0, 0.0};
  double xx = 0.0, xy = 0.0, yy = 0.0;            // of `from` about its mean
  double ax = 0.0, ay = 0.0, bx = 0.0, by = 0.0;  // of `to` x and y with `from` x and y
};

Spread Measure(const std::vector<FitPin> &pins, const std::vector<Point> &to) {
  Spread spread;
  const auto count = static_cast<double>(pins.size());
  for (size_t i = 0; i < pins.size(); ++i) {
    spread.from.x += static_cast<double>(pins[i].from.x) / count;
    spread.from.y += static_cast<double>(pins[i].from.y) / count;
    spread.to.x += to[i].x / count;
    spread.to.y += to[i].y / count;
  }
  for (size_t i = 0; i < pins.size(); ++i) {
    const double x = static_cast<double>(pins[i].from.x) - spread.from.x;
    const double y = static_cast<double>(pins[i].from.y) - spread.from.y;
    const double u = to[i].x - spread.to.x;
    const double v = to[i].y - spread.to.y;
    spread.xx += x * x;
    spread.xy += x * y;
    spread.yy += y * y;
    spread.ax += u * x;
    spread.ay += u * y;
    spread.bx += v * x;
    spread.by += v * y;
  }
  return spread;
}

void Center(AffineMap &map, const Spread &spread) {
  map.c = spread.to.x - map.a * spread.from.x - map.b * spread.from.y;
  map.f = spread.to.y - map.d * spread.from.x - map.e * spread.from.y;
}

AffineMap General(const Spread &spread, double determinant) {
  AffineMap map;
  map.a = (spread.ax * spread.yy - spread.ay * spread.xy) / determinant;
  map.b = (spread.ay * spread.xx - spread.ax * spread.xy) / determinant;
  map.d = (spread.bx * spread.yy - spread.by * spread.xy) / determinant;
  map.e = (spread.by * spread.xx - spread.bx * spread.xy) / determinant;
  Center(map, spread);
  return map;
}

AffineMap Similar(const Spread &spread) {
  const double size = spread.xx + spread.yy;
  const double scale = (spread.ax + spread.by) / size;
  const double turn = (spread.bx - spread.ay) / size;
  AffineMap map;
  map.a = scale;
  map.b = -turn;
  map.d = turn;
  map.e = scale;
  Center(map, spread);
  return map;
}

bool IsUsable(const AffineMap &map) {
  for (const double number : {map.a, map.b, map.c, map.d, map.e, map.f}) {
    if (!(std::fabs(number) < kMostNumber)) return false;
  }
  return std::fabs(map.a * map.e - map.b * map.d) >= kLeastArea;
}

}  // namespace

std::optional<AffineMap> FitAffine(const std::vector<FitPin> &pins, const Face &face) {
  if (pins.size() < 2) return std::nullopt;
  // In the face's own axes, which are mirrored where the face is.
  const Point right{static_cast<double>(face.right.x), static_cast<double>(face.right.y)};
  const Point down{static_cast<double>(face.down.x), static_cast<double>(face.down.y)};
  std::vector<Point> to;
  for (const FitPin &pin : pins) {
    const Point at{static_cast<double>(pin.to.x), static_cast<double>(pin.to.y)};
    to.push_back({at.x * right.x + at.y * right.y, at.x * down.x + at.y * down.y});
  }
  const Spread spread = Measure(pins, to);
  const double size = spread.xx + spread.yy;
  if (!(size > 0.0)) return std::nullopt;
  const double determinant = spread.xx * spread.yy - spread.xy * spread.xy;
  const bool flat = pins.size() < 3 || determinant < kThinnest * size * size;
  const AffineMap own = flat ? Similar(spread) : General(spread, determinant);
  AffineMap map;
  map.a = own.a * right.x + own.d * down.x;
  map.b = own.b * right.x + own.e * down.x;
  map.c = own.c * right.x + own.f * down.x;
  map.d = own.a * right.y + own.d * down.y;
  map.e = own.b * right.y + own.e * down.y;
  map.f = own.c * right.y + own.f * down.y;
  return IsUsable(map) ? std::optional(map) : std::nullopt;
}

std::optional<AffineMap> Inverse(const AffineMap &map) {
  const double determinant = map.a * map.e - map.b * map.d;
  if (!(std::fabs(determinant) >= kLeastArea)) return std::nullopt;
  AffineMap inverse;
  inverse.a = map.e / determinant;
  inverse.b = -map.b / determinant;
  inverse.d = -map.d / determinant;
  inverse.e = map.a / determinant;
  inverse.c = -(inverse.a * map.c + inverse.b * map.f);
  inverse.f = -(inverse.d * map.c + inverse.e * map.f);
  return inverse;
}

}  // namespace lumivex
