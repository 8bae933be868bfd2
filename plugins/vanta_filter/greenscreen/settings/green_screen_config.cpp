#include "greenscreen/settings/green_screen_config.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

namespace vanta {
namespace {

using nlohmann::json;

enum class KeyLut { kStays, kRebuilt };

// One pass over the keys, in their order.
class ConfigReader {
 public:
  ConfigReader(const json &config, GreenScreenSettings &settings) : config_(config), settings_(settings) {}

  ConfigChange Read() {
    ReadKeyColor();
    ReadFloat("similarity", settings_.similarity, 0, 1, KeyLut::kRebuilt);
    ReadBool("spillSupEnabled", settings_.spill_sup_enabled, KeyLut::kRebuilt);
    ReadSpillMethod();
    ReadFloat("spillSupScaleR", settings_.spill_sup_scale_r, -5, 5, KeyLut::kStays);
    ReadFloat("spillSupScaleG", settings_.spill_sup_scale_g, -5, 5, KeyLut::kStays);
    ReadFloat("spillSupScaleB", settings_.spill_sup_scale_b, -5, 5, KeyLut::kStays);
    ReadFloat("spillSupColorMix", settings_.spill_sup_color_mix, 0, 1, KeyLut::kStays);
    ReadFloat("spillSupRedW", settings_.spill_sup_red_w, 0.5f, 1, KeyLut::kStays);
    ReadFloat("spillSupOffset", settings_.spill_sup_offset, 0, 1, KeyLut::kRebuilt);
    ReadFloat("spillSupYThres", settings_.spill_sup_y_thres, 0, 1, KeyLut::kRebuilt);
    ReadBlueBgFlag();
    DeriveBlueBgFlag();
    ReadBool("denoiseEnabled", settings_.denoise_enabled, KeyLut::kStays);
    ReadFloat("aKalmanQ", settings_.a_kalman_q, 0, 100, KeyLut::kStays);
    ReadBool("alphaAdjustEnabled", settings_.alpha_adjust_enabled, KeyLut::kStays);
    ReadFloat("alphaDown", settings_.alpha_down, 0, 2, KeyLut::kStays);
    ReadFloat("alphaUp", settings_.alpha_up, 0, 1, KeyLut::kStays);
    ReadFloat("alphaShrink", settings_.alpha_shrink, 0, 10, KeyLut::kStays);
    ReadBool("fgAlphaBlurEnabled", settings_.fg_alpha_blur_enabled, KeyLut::kStays);
    ReadFloat("fgAlphaBlurIntensity", settings_.fg_alpha_blur_intensity, 0, 1, KeyLut::kStays);
    ResetUnadjustedAlpha();
    return change_;
  }

 private:
  // Null when the config has no such key.
  const json *Find(const char *key) const {
    const auto found = config_.find(key);
    return found == config_.end() ? nullptr : &*found;
  }

  void Note(KeyLut lut) {
    change_.changed = true;
    if (lut == KeyLut::kRebuilt) change_.lut_dirty = true;
  }

  void StoreFloat(float &field, float value, KeyLut lut) {
    if (std::fabs(value - field) > kGreenScreenEpsilon) Note(lut);
    field = value;
  }

  template <typename T>
  void StoreExact(T &field, T value, KeyLut lut) {
    if (value != field) Note(lut);
    field = value;
  }

  static float Clamped(const json &number, float low, float high) {
    return std::clamp(NarrowToFloat(number.get<double>()), low, high);
  }

  void ReadFloat(const char *key, float &field, float low, float high, KeyLut lut) {
    const json *value = Find(key);
    if (value && value->is_number()) StoreFloat(field, Clamped(*value, low, high), lut);
  }

  void ReadBool(const char *key, bool &field, KeyLut lut) {
    const json *value = Find(key);
    if (value && value->is_boolean()) StoreExact(field, value->get<bool>(), lut);
  }

  void ReadKeyColor() {
    const json *value = Find("keyColor");
    if (!value || !value->is_array() || value->size() < 3) return;
    key_color_given_ = true;
    for (size_t channel = 0; channel < 3; ++channel) {
      const json &number = (*value)[channel];
      if (number.is_number()) StoreFloat(settings_.key_color[channel], Clamped(number, 0, 1), KeyLut::kRebuilt);
    }
  }

  void ReadSpillMethod() {
    constexpr int64_t kLast = 8;
    const json *value = Find("spillSupMethod");
    if (!value || !value->is_number_integer()) return;
    const int64_t method = value->is_number_unsigned()
                               ? static_cast<int64_t>(std::min<uint64_t>(value->get<uint64_t>(), kLast))
                               : std::clamp<int64_t>(value->get<int64_t>(), 0, kLast);
    StoreExact(settings_.spill_sup_method, static_cast<int32_t>(method), KeyLut::kRebuilt);
  }

  void ReadBlueBgFlag() {
    const json *value = Find("blueBgFlag");
    if (!value || !(value->is_boolean() || value->is_number())) return;
    blue_flag_given_ = true;
    const bool blue = value->is_boolean() ? value->get<bool>() : value->get<double>() != 0;
    StoreExact(settings_.blue_bg_flag, blue ? 1 : 0, KeyLut::kStays);
  }

  // A new key colour says for itself whether it is blue, unless the config does.
  void DeriveBlueBgFlag() {
    if (key_color_given_ && !blue_flag_given_)
      StoreExact(settings_.blue_bg_flag, DetectBlueKey(settings_.key_color), KeyLut::kStays);
  }

  // The switch has no other effect: the passes read only the three values.
  void ResetUnadjustedAlpha() {
    if (settings_.alpha_adjust_enabled) return;
    const GreenScreenSettings defaults;
    StoreFloat(settings_.alpha_down, defaults.alpha_down, KeyLut::kStays);
    StoreFloat(settings_.alpha_up, defaults.alpha_up, KeyLut::kStays);
    StoreFloat(settings_.alpha_shrink, defaults.alpha_shrink, KeyLut::kStays);
  }

  const json &config_;
  GreenScreenSettings &settings_;
  ConfigChange change_;
  bool key_color_given_ = false;
  bool blue_flag_given_ = false;
};

}  // namespace

float NarrowToFloat(double value) {
  constexpr double kGreatest = std::numeric_limits<float>::max();
  return static_cast<float>(std::clamp(value, -kGreatest, kGreatest));
}

int32_t DetectBlueKey(const float (&color)[3]) {
  constexpr float kLead = 0.11764706f;  // 30 of 255
  constexpr float kLeastRatio = 1.3f;
  const auto [r, g, b] = color;
  const float mean = (g + r) * 0.5f;
  const float ratio = mean > kGreenScreenEpsilon ? b / mean : std::numeric_limits<float>::infinity();
  return b > r + kLead && b > g + kLead && ratio > kLeastRatio ? 1 : 0;
}

std::optional<ConfigChange> ApplyGreenScreenConfig(const std::string &text, GreenScreenSettings &settings) {
  const json config = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!config.is_object()) return std::nullopt;
  return ConfigReader(config, settings).Read();
}

}  // namespace vanta
