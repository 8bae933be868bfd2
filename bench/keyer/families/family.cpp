#include "family.h"

#include <algorithm>
#include <cmath>

#include "camera.h"
#include "layer.h"

namespace keyer_bench {
namespace {

constexpr uint32_t kWidth = 480, kHeight = 272;
constexpr Colour kGreens[] = {{0.20f, 0.68f, 0.28f}, {0.13f, 0.60f, 0.30f}, {0.25f, 0.75f, 0.22f}};
constexpr Colour kBlues[] = {{0.12f, 0.28f, 0.78f}, {0.10f, 0.22f, 0.66f}, {0.20f, 0.36f, 0.82f}};

float Linear(float v) {
  v = std::clamp(v, 0.0f, 1.0f);
  return v <= 0.04045f ? v / 12.92f : std::pow((v + 0.055f) / 1.055f, 2.4f);
}

float Encoded(float v) {
  v = std::clamp(v, 0.0f, 1.0f);
  return v <= 0.0031308f ? v * 12.92f : 1.055f * std::pow(v, 1 / 2.4f) - 0.055f;
}

Colour Mix(const Colour &front, const Colour &back, float alpha, bool linear) {
  const auto mix = [&](float f, float b) {
    return linear ? Encoded(alpha * Linear(f) + (1 - alpha) * Linear(b)) : alpha * f + (1 - alpha) * b;
  };
  return {mix(front.r, back.r), mix(front.g, back.g), mix(front.b, back.b)};
}

// The alpha with which a blend of encoded values comes nearest to what light would show, over dark to light grounds.
float EncodedAlpha(const Colour &front, float alpha) {
  if (alpha <= 0 || alpha >= 1) return alpha;
  float over = 0, under = 0;
  for (const float ground : {0.1f, 0.3f, 0.5f, 0.7f}) {
    const Colour back{ground, ground, ground};
    const Colour wanted = Mix(front, back, alpha, true);
    for (float Colour::*channel : {&Colour::r, &Colour::g, &Colour::b}) {
      const float span = front.*channel - ground;
      over += span * (wanted.*channel - ground);
      under += span * span;
    }
  }
  return under > 1e-4f ? std::clamp(over / under, 0.0f, 1.0f) : alpha;
}

// The light on the backing and its hue there.
class Backing {
 public:
  Backing(const Family &family, bool blue, uint32_t seed) : family_(family) {
    std::mt19937 random(seed * 31u + 5u);
    std::uniform_real_distribution<float> unit(0, 1);
    colour_ = blue ? kBlues[random() % 3] : kGreens[random() % 3];
    angle_ = unit(random) * 6.283f;
    centre_x_ = 0.3f + 0.4f * unit(random);
    centre_y_ = 0.2f + 0.5f * unit(random);
    phase_ = unit(random) * 6.283f;
  }
  float Light(float x, float y) const {  // x, y: 0 to 1
    const float slope = 0.5f + 0.5f * ((x - 0.5f) * std::cos(angle_) + (y - 0.5f) * std::sin(angle_)) / 0.71f;
    const float away = ((x - centre_x_) * (x - centre_x_) + (y - centre_y_) * (y - centre_y_)) / 0.6f;
    const float fold = family_.folds * std::sin(x * 40 + 6 * y + phase_) * std::sin(y * 9 + phase_);
    return 1 - family_.fall_off * std::clamp(0.6f * slope + 0.6f * away, 0.0f, 1.0f) + fold;
  }
  Colour At(float x, float y) const {
    const float light = Light(x, y), tint = family_.tint * (x - 0.5f);
    return {colour_.r * light * (1 + tint), colour_.g * light, colour_.b * light * (1 - tint)};
  }

 private:
  const Family &family_;
  Colour colour_{};
  float angle_, centre_x_, centre_y_, phase_;
};

Colour PickKey(const FamilyTake &take, const Backing &backing, Pick pick) {
  const std::vector<uint8_t> &rgba = take.frames[0].rgba;
  const std::vector<float> &alpha = take.frames[0].optical;
  struct Place {
    float light;
    uint32_t x, y;
  };
  std::vector<Place> places;
  for (uint32_t y = 6; y + 6 < take.height; y += 4) {
    for (uint32_t x = 6; x + 6 < take.width; x += 4) {
      bool clear = true;
      for (uint32_t dy = 0; dy <= 12 && clear; dy += 3)
        for (uint32_t dx = 0; dx <= 12 && clear; dx += 3)
          clear = alpha[(y + dy - 6) * size_t{take.width} + x + dx - 6] < 0.001f;
      if (clear)
        places.push_back({backing.Light(static_cast<float>(x) / static_cast<float>(take.width),
                                        static_cast<float>(y) / static_cast<float>(take.height)),
                          x, y});
    }
  }
  std::sort(places.begin(), places.end(), [](const Place &a, const Place &b) { return a.light < b.light; });
  const Place place = pick == Pick::kDarkest     ? places.front()
                      : pick == Pick::kBrightest ? places.back()
                                                 : places[places.size() / 2];
  float sum[3] = {0, 0, 0};
  for (uint32_t y = place.y - 2; y <= place.y + 2; ++y)
    for (uint32_t x = place.x - 2; x <= place.x + 2; ++x)
      for (size_t c = 0; c < 3; ++c)
        sum[c] += static_cast<float>(rgba[(size_t{y} * take.width + x) * 4 + c]) / 255 / 25;
  return {sum[0], sum[1], sum[2]};
}

FamilyTake::Frame MakeFrame(const Family &family, const Backing &backing, const Layer &layer, uint32_t seed) {
  const size_t count = layer.alpha.size();
  FamilyTake::Frame frame;
  frame.alpha.resize(count);
  frame.optical = layer.alpha;
  std::vector<Colour> picture(count);
  for (uint32_t y = 0; y < layer.height; ++y) {
    for (uint32_t x = 0; x < layer.width; ++x) {
      const size_t at = size_t{y} * layer.width + x;
      const float fx = static_cast<float>(x) / static_cast<float>(layer.width);
      const float fy = static_cast<float>(y) / static_cast<float>(layer.height);
      const Colour back = backing.At(fx, fy);
      const float alpha = layer.alpha[at], over = 1 / std::max(alpha, 1e-4f);
      const Colour front{layer.colour[at].r * over, layer.colour[at].g * over, layer.colour[at].b * over};
      const float spill = layer.spill[at] * over;
      const Colour lit{front.r * (1 - 0.3f * spill) + back.r * 0.5f * spill,
                       front.g * (1 - 0.3f * spill) + back.g * 0.5f * spill,
                       front.b * (1 - 0.3f * spill) + back.b * 0.5f * spill};
      const Colour mixed = Mix(lit, back, alpha, family.linear);
      picture[at] = {mixed.r * family.exposure, mixed.g * family.exposure, mixed.b * family.exposure};
      frame.alpha[at] = family.linear ? EncodedAlpha(front, alpha) : alpha;
    }
  }
  std::mt19937 random(seed);
  ThroughCamera(picture, layer.width, layer.height, family, random);
  frame.rgba = Pixels(picture);
  return frame;
}

}  // namespace

FamilyTake MakeTake(const Family &family, bool blue, uint32_t seed, int moving_frames, int still_frames) {
  FamilyTake take;
  take.width = kWidth;
  take.height = kHeight;
  take.blue = blue;
  take.first_still = moving_frames;
  const Backing backing(family, blue, seed);
  const Layer subject = DrawSubject(family, blue, seed, kWidth, kHeight);
  for (int frame = 0; frame < moving_frames + still_frames; ++frame) {
    const bool moves = frame > 0 && frame < moving_frames;
    const float shift = family.speed * static_cast<float>(std::min(frame, moving_frames));
    take.frames.push_back(MakeFrame(family, backing, Moved(subject, shift, moves ? family.speed * family.shutter : 0),
                                    seed * 1000u + static_cast<uint32_t>(frame)));
  }
  if (family.bit_rate > 0) ThroughEncoder(take, family.bit_rate);
  take.key = PickKey(take, backing, family.pick);
  return take;
}

const std::vector<Family> &Families() {
  static const std::vector<Family> families = [] {
    std::vector<Family> f;
    const auto add = [&](const char *name, auto change) {
      Family family;
      family.name = name;
      change(family);
      f.push_back(family);
    };
    add("plain, encoded", [](Family &a) { a.plain = true; });
    add("plain, linear", [](Family &a) { a.plain = a.linear = true; });
    add("plain, encoded, sigma 6", [](Family &a) { a.noise = 6; });
    add("plain, linear, sigma 6", [](Family &a) {
      a.noise = 6;
      a.linear = true;
    });
    add("uneven light", [](Family &a) {
      a.fall_off = 0.6f;
      a.folds = 0.04f;
      a.hair = Hair::kCurly;
    });
    add("uneven light, linear", [](Family &a) {
      a.fall_off = 0.6f;
      a.folds = 0.04f;
      a.linear = true;
      a.pick = Pick::kDarkest;
    });
    add("blond hair, tinted light", [](Family &a) {
      a.hair = Hair::kBlond;
      a.tint = 0.15f;
      a.fall_off = 0.4f;
    });
    add("dark curls, linear", [](Family &a) {
      a.hair = Hair::kCurly;
      a.linear = true;
      a.fall_off = 0.45f;
      a.pick = Pick::kBrightest;
    });
    add("motion blur", [](Family &a) {
      a.speed = 9;
      a.shutter = 0.6f;
      a.hair = Hair::kDark;
    });
    add("motion blur, linear", [](Family &a) {
      a.speed = 9;
      a.shutter = 0.6f;
      a.linear = true;
    });
    add("defocus", [](Family &a) {
      a.defocus = 2.5f;
      a.pick = Pick::kBrightest;
      a.fall_off = 0.45f;
    });
    add("veil, smoke, glass", [](Family &a) {
      a.veil = 0.7f;
      a.smoke = 0.6f;
      a.glass = 0.5f;
      a.fall_off = 0.4f;
    });
    add("veil, smoke, glass, linear", [](Family &a) {
      a.veil = 0.7f;
      a.smoke = 0.6f;
      a.glass = 0.5f;
      a.linear = true;
    });
    add("low light, blocks", [](Family &a) {
      a.exposure = 0.55f;
      a.noise = 5;
      a.noise_size = 0.8f;
      a.quantiser = 0.7f;
      a.glass = 0.3f;
    });
    add("low light, linear", [](Family &a) {
      a.exposure = 0.55f;
      a.noise = 5;
      a.noise_size = 0.8f;
      a.linear = true;
    });
    add("encoder", [](Family &a) {
      a.noise = 4;
      a.noise_size = 0.6f;
      a.bit_rate = 900000;
      a.fall_off = 0.4f;
    });
    add("sharpened camera", [](Family &a) {
      a.sharpen = 0.9f;
      a.fall_off = 0.45f;
      a.pick = Pick::kBrightest;
    });
    add("spill on white and grey", [](Family &a) {
      a.spill = 1.2f;
      a.cloth = Cloth::kWhite;
      a.defocus = 1.0f;
    });
    add("cloth near the key", [](Family &a) {
      a.cloth = Cloth::kNearKey;
      a.fall_off = 0.45f;
      a.hair = Hair::kBlond;
    });
    add("cloth near the key, dark pick", [](Family &a) {
      a.cloth = Cloth::kNearKey;
      a.fall_off = 0.4f;
      a.sharpen = 0.5f;
      a.pick = Pick::kDarkest;
    });
    return f;
  }();
  return families;
}

}  // namespace keyer_bench
