// The green screen's matte on whole libobs: against the same arithmetic on the CPU, and what each control does to it.
#include <graphics/graphics.h>
#include <graphics/vec4.h>
#include <gtest/gtest.h>
#include <util/bmem.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "families/reference_key.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"

namespace vanta_integration {
namespace {

constexpr uint32_t kWidth = 192, kHeight = 144;
constexpr int kSettled = 18;  // frames after which the map of a still picture stays what it is

struct Look {
  bool linear = false;  // front and backing mixed as light; else in encoded values
  float rim = 0;        // of a lamp from behind, as a part of the front's own light
};

float Mixed(float front, float back, float alpha, const Look &look) {
  if (!look.linear) return front * alpha + back * (1 - alpha);
  return std::pow(std::pow(front, 2.2f) * alpha + std::pow(back, 2.2f) * (1 - alpha), 1 / 2.2f);
}

// Discs of many colours, with soft edges, before a backing in uneven light.
Picture Scene(const keyer_bench::Colour &backing, const Look &look = {}) {
  constexpr float kColours[12][3] = {{0.9f, 0.9f, 0.9f},    {0.05f, 0.05f, 0.06f}, {0.5f, 0.5f, 0.5f},
                                     {0.85f, 0.65f, 0.55f}, {0.75f, 0.15f, 0.1f},  {0.8f, 0.75f, 0.2f},
                                     {0.3f, 0.2f, 0.12f},   {0.4f, 0.3f, 0.6f},    {0.35f, 0.45f, 0.5f},
                                     {0.95f, 0.6f, 0.2f},   {0.2f, 0.2f, 0.25f},   {0.45f, 0.46f, 0.25f}};
  Picture picture(kWidth, kHeight);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const float light = 1.05f - 0.4f * static_cast<float>(x) / kWidth - 0.1f * static_cast<float>(y) / kHeight;
      const uint32_t disc = y / 48 * 4 + x / 48;
      const float away = std::hypot(static_cast<float>(x % 48) - 23.5f, static_cast<float>(y % 48) - 23.5f);
      const float alpha = std::clamp((18.0f - away) / (1.0f + static_cast<float>(disc % 4) * 2) + 0.5f, 0.0f, 1.0f);
      const float back[3] = {backing.r * light, backing.g * light, backing.b * light};
      const float lit = 1 + look.rim * std::exp(-std::max(18.0f - away, 0.0f) / 3);
      for (size_t c = 0; c < 3; ++c)
        picture.At(x, y)[c] = static_cast<uint8_t>(
            std::lround(255 * Mixed(std::min(kColours[disc][c] * lit, 1.0f), back[c], alpha, look)));
      picture.At(x, y)[3] = 255;
    }
  }
  return picture;
}

std::string KeyOf(const keyer_bench::Colour &colour) {
  return R"({"denoiseEnabled":false,"spillSupEnabled":false,"keyColor":[)" + std::to_string(colour.r) + "," +
         std::to_string(colour.g) + "," + std::to_string(colour.b) + "]}";
}

class GreenScreenMatte : public testing::Test {
 protected:
  GreenScreenMatte() { RegisterPaintedSource(); }
  ~GreenScreenMatte() override { EXPECT_EQ(log_.CountWith("[LX_green_screen_filter]"), 0u); }

  static Screenshot Settled(const PaintedSource &source) {
    LearnPicture(source.Get());
    return TakeScreenshot(source.Get());
  }

  const ObsSession session_;
  vanta_test::LogCapture log_;
};

constexpr keyer_bench::Colour kBackings[] = {{0.20f, 0.68f, 0.28f}, {0.12f, 0.28f, 0.78f}};

TEST_F(GreenScreenMatte, IsThatOfTheSameArithmeticOnTheCpu) {
  for (const keyer_bench::Colour &backing : kBackings) {
    PaintedSource source;
    const Picture picture = Scene(backing);
    source.Paint(picture);
    const GreenScreen filter(source.Get(), KeyOf(backing));
    const Screenshot shot = Settled(source);
    keyer_bench::KeyConstants constants;
    constants.denoise = false;
    keyer_bench::ReferenceKey reference(kWidth, kHeight, backing, constants);
    std::vector<float> wanted;
    for (int frame = 0; frame < kSettled; ++frame) wanted = reference.Next(picture.pixels);
    ASSERT_EQ(shot.pixels.size(), wanted.size() * 4);
    double all = 0, edge = 0, edges = 0;
    for (size_t i = 0; i < wanted.size(); ++i) {
      const double off = std::fabs(255 * static_cast<double>(wanted[i]) - shot.pixels[i * 4 + 3]);
      all += off / static_cast<double>(wanted.size());
      if (wanted[i] <= 0 || wanted[i] >= 1) continue;
      edge += off;
      ++edges;
    }
    EXPECT_LE(all, 0.5) << "levels, blue " << backing.b;
    ASSERT_GT(edges, 1000);
    EXPECT_LE(edge / edges, 1.0) << "levels where it is translucent, blue " << backing.b;
  }
}

// Each 2x2 pixels have one chroma.
void HalveChroma(Picture &picture) {
  for (uint32_t y = 0; y < kHeight; y += 2) {
    for (uint32_t x = 0; x < kWidth; x += 2) {
      uint8_t *const four[4] = {picture.At(x, y), picture.At(x + 1, y), picture.At(x, y + 1), picture.At(x + 1, y + 1)};
      const auto luma = [](const auto &c) { return 0.2126f * c[0] + 0.7152f * c[1] + 0.0722f * c[2]; };
      float mean[3];
      for (size_t c = 0; c < 3; ++c)
        mean[c] = static_cast<float>(four[0][c] + four[1][c] + four[2][c] + four[3][c]) / 4;
      for (uint8_t *const pixel : four) {
        const float brighter = luma(pixel) - luma(mean);
        for (size_t c = 0; c < 3; ++c)
          pixel[c] = static_cast<uint8_t>(std::lround(std::clamp(mean[c] + brighter, 0.0f, 255.0f)));
      }
    }
  }
}

// Mean distance, in levels, from what the CPU makes of the picture where it is told the mixing.
double OffFromMixing(const Screenshot &shot, const Picture &picture, const keyer_bench::Colour &backing, float mixing) {
  keyer_bench::KeyConstants constants;
  constants.denoise = false;
  constants.forced_mixing = mixing;
  keyer_bench::ReferenceKey reference(kWidth, kHeight, backing, constants);
  std::vector<float> wanted;
  for (int frame = 0; frame < kSettled; ++frame) wanted = reference.Next(picture.pixels);
  double off = 0;
  for (size_t i = 0; i < wanted.size(); ++i)
    off += std::fabs(255 * static_cast<double>(wanted[i]) - shot.pixels[i * 4 + 3]);
  return off / static_cast<double>(wanted.size());
}

// A lamp from behind brightens the front's edges, as light mixed does the middle of an edge.
void ExpectMixingIsToldBeside(float rim, const keyer_bench::Colour &backing) {
  for (const bool linear : {false, true}) {
    Picture picture = Scene(backing, {linear, rim});
    HalveChroma(picture);
    PaintedSource source;
    source.Paint(picture);
    const GreenScreen filter(source.Get(), KeyOf(backing));
    LearnPicture(source.Get());
    const Screenshot shot = TakeScreenshot(source.Get());
    ASSERT_EQ(shot.pixels.size(), picture.pixels.size());
    EXPECT_LE(OffFromMixing(shot, picture, backing, linear ? 1.0f : 0.0f), 0.5) << "linear " << linear;
    EXPECT_GE(OffFromMixing(shot, picture, backing, linear ? 0.0f : 1.0f), 1.5) << "linear " << linear;
  }
}

TEST_F(GreenScreenMatte, TellsEncodedValuesFromLightMixedWhereALampShinesFromBehindBeforeBlue) {
  ExpectMixingIsToldBeside(0.4f, kBackings[1]);
}

TEST_F(GreenScreenMatte, TellsEncodedValuesFromLightMixedWhereABrightLampShinesFromBehindBeforeGreen) {
  ExpectMixingIsToldBeside(0.6f, kBackings[0]);
}

// A third of a white veil, mixed as light: a blend of encoded values needs about 136 levels of it.
TEST_F(GreenScreenMatte, AVeilMixedAsLightBeforeGreenIsNotTakenForMoreThanItIs) {
  const keyer_bench::Colour backing = kBackings[0];
  Picture picture = Scene(backing, {true});
  constexpr float kLight = 0.917f;  // on the backing there
  const float back[3] = {backing.r * kLight, backing.g * kLight, backing.b * kLight};
  for (uint32_t y = 41; y < 56; ++y)
    for (uint32_t x = 41; x < 56; ++x)
      for (size_t c = 0; c < 3; ++c)
        picture.At(x, y)[c] = static_cast<uint8_t>(std::lround(255 * Mixed(0.82f, back[c], 0.35f, {true})));
  PaintedSource source;
  source.Paint(picture);
  const GreenScreen filter(source.Get(), KeyOf(backing));
  EXPECT_NEAR(Settled(source).At(48, 48)[3], 132, 12);
}

// Alpha, in levels, of a patch between the discs: so much of a front before so much of the blue backing.
int AlphaBeforeBlue(const keyer_bench::Colour &front, float of_front, float of_backing) {
  const keyer_bench::Colour backing = kBackings[1];
  const float front_part[3] = {front.r, front.g, front.b}, backing_part[3] = {backing.r, backing.g, backing.b};
  Picture picture = Scene(backing);
  constexpr float kLight = 0.917f;  // on the backing there
  for (uint32_t y = 41; y < 56; ++y)
    for (uint32_t x = 41; x < 56; ++x)
      for (size_t c = 0; c < 3; ++c)
        picture.At(x, y)[c] =
            static_cast<uint8_t>(std::lround(255 * (front_part[c] * of_front + backing_part[c] * kLight * of_backing)));
  PaintedSource source;
  source.Paint(picture);
  const GreenScreen filter(source.Get(), KeyOf(backing));
  LearnPicture(source.Get());
  return TakeScreenshot(source.Get()).At(48, 48)[3];
}

TEST_F(GreenScreenMatte, BluishClothInTheBackingsLightIsWhole) {
  EXPECT_GE(AlphaBeforeBlue({0.40f, 0.48f, 0.62f}, 0.9f, 0.15f), 250);
}

// In the backing's light and far from all of it; the key was picked where the backing is darkest.
TEST_F(GreenScreenMatte, BluishClothIsWholeInsideTheFrontWithAKeyFromTheDark) {
  const keyer_bench::Colour backing = kBackings[1];
  constexpr uint32_t kCloth = 96;
  constexpr float kLit[3] = {0.352f + 0.017f, 0.4224f + 0.0392f, 0.5456f + 0.1092f};
  Picture picture = Scene(backing);
  for (uint32_t y = 0; y < kHeight; ++y)
    for (uint32_t x = kCloth; x < kWidth; ++x)
      for (size_t c = 0; c < 3; ++c) picture.At(x, y)[c] = static_cast<uint8_t>(std::lround(255 * kLit[c]));
  PaintedSource source;
  source.Paint(picture);
  const GreenScreen filter(source.Get(), KeyOf({0.6f * backing.r, 0.6f * backing.g, 0.6f * backing.b}));
  EXPECT_GE(Settled(source).At((kCloth + kWidth) / 2, kHeight / 2)[3], 250);
}

TEST_F(GreenScreenMatte, BrownHairThatHidesSixTenthsOfABlueBackingIsNotWhole) {
  EXPECT_LE(AlphaBeforeBlue({0.26f, 0.17f, 0.11f}, 0.6f, 0.4f), 225);
}

// Out of focus: from the backing to skin over eight pixels.
TEST_F(GreenScreenMatte, SkinThatHidesHalfOfABlueBackingAtASoftEdgeIsNotWhole) {
  const keyer_bench::Colour backing = kBackings[1];
  constexpr float kSkin[3] = {0.85f, 0.65f, 0.55f};
  constexpr uint32_t kEdge = 120;
  Picture picture = Scene(backing);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = kEdge - 20; x < kWidth; ++x) {
      const float light = 1.05f - 0.4f * static_cast<float>(x) / kWidth - 0.1f * static_cast<float>(y) / kHeight;
      const float back[3] = {backing.r * light, backing.g * light, backing.b * light};
      const float alpha = std::clamp((static_cast<float>(x) - kEdge) / 8 + 0.5f, 0.0f, 1.0f);
      for (size_t c = 0; c < 3; ++c)
        picture.At(x, y)[c] = static_cast<uint8_t>(std::lround(255 * Mixed(kSkin[c], back[c], alpha, {})));
    }
  }
  PaintedSource source;
  source.Paint(picture);
  const GreenScreen filter(source.Get(), KeyOf(backing));
  const Screenshot shot = Settled(source);
  EXPECT_LE(shot.At(kEdge, kHeight / 2)[3], 215);
  EXPECT_GE(shot.At(kEdge, kHeight / 2)[3], 100);
  EXPECT_GE(shot.At(kEdge + 10, kHeight / 2)[3], 250);
  EXPECT_LE(shot.At(kEdge - 10, kHeight / 2)[3], 5);
}

// The effect file's `Denoise` by itself, on key textures: what it keeps lies in two targets that take turns.
class DenoiseTechnique {
 public:
  DenoiseTechnique() {
    obs_enter_graphics();
    char *error = nullptr;
    effect_ = gs_effect_create_from_file(VANTA_TEST_DATA "/lx_green_screen_filter.effect", &error);
    EXPECT_NE(effect_, nullptr) << (error ? error : "");
    bfree(error);
    for (gs_texrender_t *&target : targets_) target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    stage_ = gs_stagesurface_create(kWidth, kHeight, GS_RGBA);
    obs_leave_graphics();
  }
  ~DenoiseTechnique() {
    obs_enter_graphics();
    gs_stagesurface_destroy(stage_);
    for (gs_texrender_t *target : targets_) gs_texrender_destroy(target);
    gs_effect_destroy(effect_);
    obs_leave_graphics();
  }
  DenoiseTechnique(const DenoiseTechnique &) = delete;
  DenoiseTechnique &operator=(const DenoiseTechnique &) = delete;

  // The new state; the first one has none before it.
  std::vector<uint8_t> Next(const std::vector<uint8_t> &key, float q) {
    std::vector<uint8_t> state(key.size());
    obs_enter_graphics();
    const uint8_t *data = key.data();
    gs_texture_t *const image = gs_texture_create(kWidth, kHeight, GS_RGBA, 1, &data, 0);
    gs_texrender_reset(targets_[0]);
    if (gs_texrender_begin(targets_[0], kWidth, kHeight)) {
      vec4 clear;
      vec4_zero(&clear);
      gs_clear(GS_CLEAR_COLOR, &clear, 0, 0);
      gs_enable_blending(false);
      gs_ortho(0, 1, 0, 1, -100, 100);
      gs_effect_set_texture(Parameter("image"), image);
      if (started_) gs_effect_set_texture(Parameter("prev_state_tex"), gs_texrender_get_texture(targets_[1]));
      gs_effect_set_int(Parameter("denoise_init_flag"), started_ ? 0 : 1);
      gs_effect_set_float(Parameter("denoise_q"), q);
      while (gs_effect_loop(effect_, "Denoise")) gs_draw_sprite(nullptr, 0, 1, 1);
      gs_enable_blending(true);
      gs_texrender_end(targets_[0]);
    }
    gs_stage_texture(stage_, gs_texrender_get_texture(targets_[0]));
    uint8_t *pixels = nullptr;
    uint32_t pitch = 0;
    EXPECT_TRUE(gs_stagesurface_map(stage_, &pixels, &pitch));
    for (uint32_t y = 0; pixels && y < kHeight; ++y)
      std::copy_n(pixels + size_t{y} * pitch, kWidth * 4, state.begin() + y * kWidth * 4);
    gs_stagesurface_unmap(stage_);
    gs_texture_destroy(image);
    obs_leave_graphics();
    std::swap(targets_[0], targets_[1]);
    started_ = true;
    return state;
  }

 private:
  gs_eparam_t *Parameter(const char *name) const { return gs_effect_get_param_by_name(effect_, name); }

  gs_effect_t *effect_ = nullptr;
  gs_texrender_t *targets_[2] = {};
  gs_stagesurf_t *stage_ = nullptr;
  bool started_ = false;
};

// A key texture's r and the upper half of its g.
float TransparencyOf(const uint8_t *key) {
  return static_cast<float>(key[0] * 16 + key[1] / 16) / (255 * 16);
}

std::vector<float> TransparenciesOf(const std::vector<uint8_t> &keys) {
  std::vector<float> all;
  for (size_t at = 0; at < keys.size(); at += 4) all.push_back(TransparencyOf(&keys[at]));
  return all;
}

// A ramp from opaque to clear that rests, trembles, jumps by little and by much, and ends beyond both.
std::vector<uint8_t> RawKey(int frame, std::mt19937 &random) {
  std::normal_distribution<float> grain(0, 0.03f);
  std::vector<uint8_t> key;
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const float still = static_cast<float>(x) / kWidth - 0.1f, moved = frame > 4 ? 0.01f * static_cast<float>(y) : 0;
      const float t = std::clamp(still + moved + grain(random), 0.0f, 0.76f);
      const auto steps = static_cast<unsigned>(std::lround((t > 0.75f ? 0.75f : t) * 255 * 16));
      key.push_back(static_cast<uint8_t>(steps / 16));
      key.push_back(static_cast<uint8_t>(steps % 16 * 16 + (x + y) % 16 / 8 * 15));
      key.push_back(static_cast<uint8_t>(x));
      key.push_back(static_cast<uint8_t>(y));  // six times the backing's deviation
    }
  }
  return key;
}

TEST_F(GreenScreenMatte, FollowsThePictureOverTimeAsTheSameArithmeticOnTheCpu) {
  for (const float q : {5.0f, 15.0f, 40.0f}) {
    DenoiseTechnique technique;
    std::mt19937 random(3);
    keyer_bench::KeyState state;
    for (int frame = 0; frame < 9; ++frame) {
      const std::vector<uint8_t> key = RawKey(frame, random);
      const std::vector<float> raw = TransparenciesOf(key);
      std::vector<float> deviation;
      for (size_t at = 3; at < key.size(); at += 4) deviation.push_back(static_cast<float>(key[at]) / 255 / 6);
      if (frame == 0)
        state = {raw, std::vector<float>(raw.size(), 1.0f)};
      else
        keyer_bench::FilterOverTime(state, raw, deviation, kWidth, kHeight, q);
      const std::vector<uint8_t> drawn = technique.Next(key, q);
      const std::vector<float> found = TransparenciesOf(drawn);
      float worst = 0, worst_gain = 0;
      int others = 0;    // what only passes through
      int at_limit = 0;  // of what counts as arrived: it has for one of both
      for (size_t i = 0; i < raw.size(); ++i) {
        const float gain = static_cast<float>(drawn[i * 4 + 3]) / 255;
        const float away = std::fabs(found[i] - state.key[i]);
        if (std::fabs(away - 0.075f) < 0.0005f)
          ++at_limit;
        else
          worst = std::max(worst, away);
        worst_gain = std::max(worst_gain, std::fabs(gain - state.gain[i]));
        others += drawn[i * 4 + 1] % 16 != key[i * 4 + 1] % 16 || drawn[i * 4 + 2] != key[i * 4 + 2];
        state.key[i] = found[i];  // the next step begins where this one ended, with what the texture holds
        state.gain[i] = gain;
      }
      EXPECT_LE(worst, 0.0005f) << "frame " << frame << ", q " << q;
      EXPECT_LE(worst_gain, 0.006f) << "frame " << frame << ", q " << q;
      EXPECT_EQ(others, 0) << "frame " << frame << ", q " << q;
      EXPECT_LE(at_limit, 1) << "frame " << frame << ", q " << q;
    }
  }
}

// So slowly that a pixel's own noise hides it: only its neighbours tell that it moves.
TEST_F(GreenScreenMatte, FollowsWhatMovesAsSlowlyAsNoiseTrembles) {
  DenoiseTechnique technique;
  std::mt19937 random(5);
  std::normal_distribution<float> grain(0, 0.01f);
  constexpr float kStep = 0.02f;
  constexpr int kRests = 6, kFrames = 14;
  double lag = 0;
  for (int frame = 0; frame < kFrames; ++frame) {
    const float t = 0.2f + kStep * static_cast<float>(std::max(frame - kRests, 0));
    std::vector<uint8_t> key;
    for (uint32_t i = 0; i < kWidth * kHeight; ++i) {
      const auto steps = static_cast<unsigned>(std::lround((t + grain(random)) * 255 * 16));
      key.insert(key.end(), {static_cast<uint8_t>(steps / 16), static_cast<uint8_t>(steps % 16 * 16), 80, 15});
    }
    lag = 0;
    for (const float found : TransparenciesOf(technique.Next(key, 15)))
      lag += static_cast<double>(t - found) / (kWidth * kHeight);
  }
  EXPECT_LE(lag, 0.55 * static_cast<double>(kStep));
}

struct Control {
  const char *name;
  std::vector<double> values;  // each clearer than the one before
};

class GreenScreenControl : public GreenScreenMatte, public testing::WithParamInterface<Control> {};

TEST_P(GreenScreenControl, MovesTheMatteInOneDirectionEverywhere) {
  for (const keyer_bench::Colour &backing : kBackings) {
    PaintedSource source;
    source.Paint(Scene(backing));
    GreenScreen filter(source.Get(), KeyOf(backing));
    filter.Configure(R"({"fgAlphaBlurEnabled":true})");
    Screenshot before;
    for (const double value : GetParam().values) {
      filter.Configure("{\"" + std::string(GetParam().name) + "\":" + std::to_string(value) + "}");
      const Screenshot shot = Settled(source);
      if (before.pixels.empty()) {
        before = shot;
        continue;
      }
      int rise = 0;
      long fall = 0;
      for (size_t i = 3; i < shot.pixels.size(); i += 4) {
        rise = std::max(rise, shot.pixels[i] - before.pixels[i]);
        fall += before.pixels[i] - shot.pixels[i];
      }
      EXPECT_LE(rise, 2) << "to " << value << ", blue " << backing.b;
      EXPECT_GT(fall, 0) << "to " << value << ", blue " << backing.b;
      before = shot;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Each, GreenScreenControl,
                         testing::Values(Control{"similarity", {0.45, 0.6, 0.667, 0.75, 0.9}},
                                         Control{"alphaUp", {0.1, 0.2, 0.25, 0.3, 0.4, 0.6}},
                                         Control{"alphaDown", {0.3, 0.5, 0.75, 0.9, 1.2}},
                                         Control{"alphaShrink", {0, 0.5, 1, 2, 4}},
                                         Control{"fgAlphaBlurIntensity", {0, 0.25, 0.5, 1}}),
                         [](const auto &control) { return std::string(control.param.name); });

}  // namespace
}  // namespace vanta_integration
