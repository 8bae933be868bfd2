// How libobs puts the keyed picture over what lies behind: in encoded values or in linear light, by the item's
// arrangement. A key whose alpha is right for the one is wrong for the other.
#include <graphics/vec2.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"

namespace vanta_integration {
namespace {

using Colour = std::array<double, 3>;  // 0 to 255, encoded

constexpr Colour kFront{28, 41, 54};
constexpr Colour kBehind{230, 38, 128};
constexpr double kAlpha = 127 / 255.0;
constexpr char kConfig[] = R"({"denoiseEnabled":false,"spillSupEnabled":false})";

double Decoded(double encoded) {
  const double value = encoded / 255;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Encoded(double linear) {
  return 255 * (linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055);
}

Colour BlendedEncoded() {
  Colour colour{};
  for (size_t channel = 0; channel < 3; ++channel)
    colour[channel] = kFront[channel] * kAlpha + kBehind[channel] * (1 - kAlpha);
  return colour;
}

// The front is multiplied by its alpha in encoded values all the same; the background is weighted in linear light.
Colour BlendedInLinearLight() {
  Colour colour{};
  for (size_t channel = 0; channel < 3; ++channel)
    colour[channel] = Encoded(Decoded(kFront[channel] * kAlpha) + Decoded(kBehind[channel]) * (1 - kAlpha));
  return colour;
}

double Difference(const Colour &a, const Colour &b) {
  return std::max({std::fabs(a[0] - b[0]), std::fabs(a[1] - b[1]), std::fabs(a[2] - b[2])});
}

Picture Filled(uint32_t width, uint32_t height, const Colour &colour, uint8_t alpha) {
  Picture picture(width, height);
  picture.Fill(static_cast<uint8_t>(colour[0]), static_cast<uint8_t>(colour[1]), static_cast<uint8_t>(colour[2]),
               alpha);
  return picture;
}

// A canvas full of kBehind with a keyed source in front, kFront at kAlpha throughout.
class GreenScreenBlending : public testing::Test {
 protected:
  GreenScreenBlending() : start_((RegisterPaintedSource(), 0)), filter_(source_.Get(), kConfig) {
    behind_.Paint(Filled(320, 240, kBehind, 255));
    source_.Paint(Filled(96, 72, kFront, 127));
    obs_scene_add(scene_, behind_.Get());
    obs_set_output_source(0, obs_scene_get_source(scene_));
  }
  ~GreenScreenBlending() override {
    obs_set_output_source(0, nullptr);
    EXPECT_EQ(log_.CountWith("[LX_green_screen_filter]"), 0u);
  }

  obs_sceneitem_t *AddItem() { return obs_scene_add(scene_, source_.Get()); }

  // What the canvas shows inside the item.
  static Colour Seen() {
    WaitForTicks(3);
    const Screenshot canvas = TakeCanvas();
    if (canvas.pixels.empty()) {
      ADD_FAILURE() << "no canvas";
      return {};
    }
    const std::array<int, 4> pixel = canvas.At(20, 15);
    return {static_cast<double>(pixel[0]), static_cast<double>(pixel[1]), static_cast<double>(pixel[2])};
  }

  // The two formulas lie 41 levels apart.
  static void ExpectEncoded() {
    const Colour seen = Seen();
    EXPECT_LT(4 * Difference(seen, BlendedEncoded()), Difference(seen, BlendedInLinearLight()))
        << seen[0] << " " << seen[1] << " " << seen[2];
  }
  static void ExpectLinearLight() {
    const Colour seen = Seen();
    EXPECT_LT(4 * Difference(seen, BlendedInLinearLight()), Difference(seen, BlendedEncoded()))
        << seen[0] << " " << seen[1] << " " << seen[2];
  }

  const ObsSession session_;
  const int start_;
  vanta_test::LogCapture log_;
  PaintedSource behind_, source_;
  const GreenScreen filter_;
  const OBSSceneAutoRelease scene_ = obs_scene_create_private("canvas");
};

TEST_F(GreenScreenBlending, APlainItemIsBlendedInEncodedValues) {
  AddItem();
  ExpectEncoded();
}

TEST_F(GreenScreenBlending, AScaledItemIsBlendedInEncodedValues) {
  vec2 scale;
  vec2_set(&scale, 1.5f, 1.5f);
  obs_sceneitem_set_scale(AddItem(), &scale);
  ExpectEncoded();
}

TEST_F(GreenScreenBlending, AnItemWithAScaleFilterIsBlendedInLinearLight) {
  for (const obs_scale_type filter : {OBS_SCALE_BILINEAR, OBS_SCALE_BICUBIC, OBS_SCALE_LANCZOS}) {
    obs_sceneitem_t *const item = AddItem();
    vec2 scale;
    vec2_set(&scale, 1.5f, 1.5f);
    obs_sceneitem_set_scale(item, &scale);
    obs_sceneitem_set_scale_filter(item, filter);
    ExpectLinearLight();
    obs_sceneitem_remove(item);
  }
}

TEST_F(GreenScreenBlending, ACroppedItemIsBlendedInLinearLight) {
  const obs_sceneitem_crop crop{4, 4, 4, 4};
  obs_sceneitem_set_crop(AddItem(), &crop);
  ExpectLinearLight();
}

TEST_F(GreenScreenBlending, AnItemInAGroupIsBlendedInEncodedValues) {
  obs_sceneitem_t *const group = obs_scene_add_group(scene_, "group");
  obs_sceneitem_group_add_item(group, AddItem());
  ExpectEncoded();
}

TEST_F(GreenScreenBlending, ANestedSceneIsBlendedInLinearLight) {
  const OBSSceneAutoRelease nested = obs_scene_create_private("nested");
  obs_scene_add(nested, source_.Get());
  obs_scene_add(scene_, obs_scene_get_source(nested));
  ExpectLinearLight();
}

// ---- The item's blending method "sRGB off" ----

TEST_F(GreenScreenBlending, APlainItemWithSrgbOffIsBlendedInEncodedValues) {
  obs_sceneitem_set_blending_method(AddItem(), OBS_BLEND_METHOD_SRGB_OFF);
  ExpectEncoded();
}

TEST_F(GreenScreenBlending, ACroppedItemWithSrgbOffIsBlendedInEncodedValues) {
  obs_sceneitem_t *const item = AddItem();
  const obs_sceneitem_crop crop{4, 4, 4, 4};
  obs_sceneitem_set_crop(item, &crop);
  obs_sceneitem_set_blending_method(item, OBS_BLEND_METHOD_SRGB_OFF);
  ExpectEncoded();
}

TEST_F(GreenScreenBlending, AnItemWithAScaleFilterAndSrgbOffIsBlendedInEncodedValues) {
  obs_sceneitem_t *const item = AddItem();
  vec2 scale;
  vec2_set(&scale, 1.5f, 1.5f);
  obs_sceneitem_set_scale(item, &scale);
  obs_sceneitem_set_scale_filter(item, OBS_SCALE_BICUBIC);
  obs_sceneitem_set_blending_method(item, OBS_BLEND_METHOD_SRGB_OFF);
  ExpectEncoded();
}

TEST_F(GreenScreenBlending, ANestedSceneWithSrgbOffIsBlendedInEncodedValues) {
  const OBSSceneAutoRelease nested = obs_scene_create_private("nested");
  obs_scene_add(nested, source_.Get());
  obs_sceneitem_set_blending_method(obs_scene_add(scene_, obs_scene_get_source(nested)), OBS_BLEND_METHOD_SRGB_OFF);
  ExpectEncoded();
}

}  // namespace
}  // namespace vanta_integration
