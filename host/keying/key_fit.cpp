#include "vanta_keying/key_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "vanta_keying/backing_color.h"

namespace vanta_keying {
namespace {

constexpr uint32_t kCellsAcross = 32;
constexpr uint32_t kCellsDown = 18;
constexpr double kPi = 3.14159265358979;

// A colour against the key, in the chroma plane of BT.601 where the filter keys.
class KeyScale {
 public:
  explicit KeyScale(const Rgb &color) : luma_(Luma(color)), channel_(color[2] > color[1] ? 2 : 1) {
    const Chroma key = ChromaOf(color);
    length_ = std::hypot(key.u, key.v);
    u_ = key.u / length_;
    v_ = key.v / length_;
  }

  // Of the key's chroma, how much the colour has: 1 for the key itself, 0 for a grey.
  double Along(const Rgb &color) const {
    const Chroma c = ChromaOf(color);
    return (c.u * u_ + c.v * v_) / length_;
  }
  // Degrees between the colour's hue and the key's.
  double Angle(const Rgb &color) const {
    const Chroma c = ChromaOf(color);
    return std::fabs(std::atan2(c.v * u_ - c.u * v_, c.u * u_ + c.v * v_)) * 180 / kPi;
  }
  // The backing keeps its ratio of chroma to luma in any light; a veil or an edge does not.
  bool IsBacking(const Rgb &color) const {
    const double along = Along(color);
    const double light = Luma(color) / luma_;
    return along > 0.3 && light > 0.1 && std::fabs(along / light - 1) < 0.25 && Angle(color) < 25;
  }
  size_t channel() const { return channel_; }  // the one in which the key is strongest

 private:
  struct Chroma {
    double u, v;
  };
  static double Luma(const Rgb &c) { return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]; }
  static Chroma ChromaOf(const Rgb &c) { return {(c[2] - Luma(c)) / 0.886, (c[0] - Luma(c)) / 0.701}; }

  double luma_;
  double length_ = 0;
  double u_ = 0, v_ = 0;
  size_t channel_;
};

// Which pixels of a picture are backing, and which cells of it hold hardly anything else.
struct BackingMap {
  std::vector<bool> pixels;   // of the small picture
  std::vector<bool> cells;    // kCellsAcross * kCellsDown
  std::vector<double> light;  // of those cells, against the key's
};

size_t CellAt(uint32_t x, uint32_t width, uint32_t y, uint32_t height) {
  return size_t{y} * kCellsDown / height * kCellsAcross + size_t{x} * kCellsAcross / width;
}

BackingMap MapBacking(const SmallPicture &picture, const KeyScale &key) {
  constexpr double kLeastShare = 0.85;
  struct Cell {
    int pixels = 0, backing = 0;
    double along = 0;
  };
  std::vector<Cell> sums(size_t{kCellsAcross} * kCellsDown);
  BackingMap map;
  for (uint32_t y = 0; y < picture.height; ++y) {
    for (uint32_t x = 0; x < picture.width; ++x) {
      const Rgb &color = picture.At(x, y);
      const bool backing = key.IsBacking(color);
      map.pixels.push_back(backing);
      Cell &cell = sums[CellAt(x, picture.width, y, picture.height)];
      ++cell.pixels;
      if (!backing) continue;
      ++cell.backing;
      cell.along += key.Along(color);
    }
  }
  for (const Cell &cell : sums) {
    const bool whole = cell.pixels > 0 && cell.backing >= kLeastShare * cell.pixels;
    map.cells.push_back(whole);
    if (whole) map.light.push_back(cell.along / cell.backing);
  }
  return map;
}

Rgb ColorAt(const KeyPicture &picture, uint32_t x, uint32_t y) {
  const uint8_t *pixel = picture.rgba + y * picture.stride + size_t{x} * 4;
  return {static_cast<float>(pixel[0]) / 255, static_cast<float>(pixel[1]) / 255, static_cast<float>(pixel[2]) / 255};
}

// The mean of |second differences both ways|, which slow changes of the light leave at 0.
// J. Immerkaer, "Fast noise variance estimation", 1996.
class NoiseMeter {
 public:
  void Add(const KeyPicture &picture, const BackingMap &map, size_t channel) {
    for (uint32_t y = 1; y + 1 < picture.height; ++y) {
      for (uint32_t x = 1; x + 1 < picture.width; ++x) {
        if (!map.cells[CellAt(x, picture.width, y, picture.height)]) continue;
        const uint8_t *at = picture.rgba + y * picture.stride + size_t{x} * 4 + channel;
        const auto row = [](const uint8_t *middle) { return middle[-4] - 2 * middle[0] + middle[4]; };
        sum_ += std::abs(row(at - picture.stride) - 2 * row(at) + row(at + picture.stride));
        ++count_;
      }
    }
  }

  // Levels, without what rounding to whole ones adds.
  double Deviation() const {
    if (count_ == 0) return 0;
    const double deviation = std::sqrt(kPi / 2) * sum_ / 6 / static_cast<double>(count_);
    return std::sqrt(std::max(0.0, deviation * deviation - 1.0 / 12));
  }

 private:
  double sum_ = 0;
  size_t count_ = 0;
};

// Edges hold some of the backing by right: a pixel counts as front where none near it is backing.
class SpillMeter {
 public:
  void Add(const SmallPicture &picture, const BackingMap &map, const KeyScale &key, double noise) {
    const double least = std::max(8.0, 3 * noise) / 255;
    for (uint32_t y = 0; y < picture.height; ++y) {
      for (uint32_t x = 0; x < picture.width; ++x) {
        if (NearBacking(picture, map, x, y)) continue;
        ++front_;
        const Rgb &color = picture.At(x, y);
        const double others = std::max(color[0], color[key.channel() == 1 ? 2 : 1]);
        if (color[key.channel()] - others > least) ++spilled_;
      }
    }
  }

  double Share() const { return front_ == 0 ? 0 : static_cast<double>(spilled_) / static_cast<double>(front_); }

 private:
  static bool NearBacking(const SmallPicture &picture, const BackingMap &map, uint32_t x, uint32_t y) {
    constexpr uint32_t kReach = 5;
    const uint32_t bottom = std::min(y + kReach + 1, picture.height), right = std::min(x + kReach + 1, picture.width);
    for (uint32_t near_y = y < kReach ? 0 : y - kReach; near_y < bottom; ++near_y) {
      for (uint32_t near_x = x < kReach ? 0 : x - kReach; near_x < right; ++near_x) {
        if (map.pixels[size_t{near_y} * picture.width + near_x]) return true;
      }
    }
    return false;
  }

  size_t front_ = 0;
  size_t spilled_ = 0;
};

// The value below which `part` of them lie.
double Quantile(std::vector<double> values, double part, double none) {
  if (values.empty()) return none;
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1) + 0.5);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

void AddAngles(const KeyPicture &picture, const BackingMap &map, const KeyScale &key, std::vector<double> &angles) {
  constexpr uint32_t kStep = 3;
  for (uint32_t y = 0; y < picture.height; y += kStep) {
    for (uint32_t x = 0; x < picture.width; x += kStep) {
      if (map.cells[CellAt(x, picture.width, y, picture.height)]) angles.push_back(key.Angle(ColorAt(picture, x, y)));
    }
  }
}

}  // namespace

std::optional<KeyFit> FitKey(const std::vector<KeyPicture> &pictures) {
  std::vector<KeyPicture> shown;
  std::vector<SmallPicture> small;
  for (const KeyPicture &picture : pictures) {
    SmallPicture made = MakeSmall(picture);
    if (made.pixels.empty()) continue;
    shown.push_back(picture);
    small.push_back(std::move(made));
  }
  const std::optional<Rgb> color = FindBackingColor(small);
  if (!color) return std::nullopt;

  KeyFit fit;
  fit.color = *color;
  const KeyScale key(*color);
  std::vector<BackingMap> maps;
  std::vector<double> light, angles;
  NoiseMeter noise;
  for (size_t i = 0; i < small.size(); ++i) {
    const BackingMap &map = maps.emplace_back(MapBacking(small[i], key));
    light.insert(light.end(), map.light.begin(), map.light.end());
    noise.Add(shown[i], map, key.channel());
    AddAngles(shown[i], map, key, angles);
  }
  fit.darkest = Quantile(light, 0.01, 1);
  fit.brightest = Quantile(light, 0.99, 1);
  fit.noise = noise.Deviation();
  fit.hue_reach = Quantile(angles, 0.99, 0);
  SpillMeter spill;
  for (size_t i = 0; i < small.size(); ++i) spill.Add(small[i], maps[i], key, fit.noise);
  fit.spill = spill.Share();
  return fit;
}

std::string KeyFitConfig(const KeyFit &fit) {
  constexpr double kDefaultSimilarity = 0.667;
  constexpr double kInnerDegrees = 30;  // a similarity of 1 takes hues so near wholly
  char text[160];
  std::snprintf(text, sizeof(text), "{\"keyColor\":[%.3f,%.3f,%.3f]", static_cast<double>(fit.color[0]),
                static_cast<double>(fit.color[1]), static_cast<double>(fit.color[2]));
  std::string config = text;
  if (fit.hue_reach > kDefaultSimilarity * kInnerDegrees) {
    std::snprintf(text, sizeof(text), ",\"similarity\":%.3f", std::min(fit.hue_reach / kInnerDegrees, 0.9));
    config += text;
  }
  // The edge's flicker grows with the noise; a calmer matte takes longer to settle.
  if (fit.noise > 4.5) config += ",\"aKalmanQ\":12";
  return config + "}";
}

std::string DescribeKeyFit(const KeyFit &fit) {
  char text[120];
  std::snprintf(text, sizeof(text), "backing %s (%.2f to %.2f of the key), noise \u03c3 %.1f, %.0f %% spill",
                fit.Uneven() ? "uneven" : "even", fit.darkest, fit.brightest, fit.noise, fit.spill * 100);
  return text;
}

}  // namespace vanta_keying
