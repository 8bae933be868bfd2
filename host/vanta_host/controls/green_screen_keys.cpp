#include "controls/green_screen_keys.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

namespace vanta_host {
namespace {

using Json = nlohmann::json;

constexpr char kExactColor[] = "key_color_exact";  // as the config had it: a picker has 256 steps
constexpr char kBlueSetting[] = "key_blue";        // 0, 1; kBlueFromColor: the module finds out
constexpr char kMergedSetting[] = "key_merged_config";
constexpr char kAdjustSetting[] = "key_adjust";
constexpr long long kBlueFromColor = -1;
constexpr double kInitialColor[3] = {0, 1, 0};

const char *const kAdjusted[] = {"key_alpha_down", "key_alpha_up", "key_alpha_shrink"};

bool InPercent(const KeySetting &key) {
  return key.scale > 1;
}

// A slider has whole per cents; the number itself stands beside it.
std::string ExactSetting(const KeySetting &key) {
  return std::string(key.setting) + "_exact";
}

// As a page shows it.
double Shown(double value, const KeySetting &key) {
  return InPercent(key) ? std::round(value * key.scale) : value;
}

// The exact number counts as long as the slider shows it.
double Value(obs_data_t *settings, const KeySetting &key) {
  const double shown = obs_data_get_double(settings, key.setting);
  double value = shown / key.scale;
  if (InPercent(key)) {
    const double exact = obs_data_get_double(settings, ExactSetting(key).c_str());
    if (Shown(exact, key) == shown) value = exact;
  }
  return std::isfinite(value) ? std::clamp(value, key.minimum, key.maximum) : key.initial;
}

void SetNumber(obs_data_t *settings, const KeySetting &key, double value) {
  obs_data_set_double(settings, key.setting, Shown(value, key));
  if (InPercent(key)) obs_data_set_double(settings, ExactSetting(key).c_str(), value);
}

// Former versions saved per cents with a fraction, which a slider would cut.
void RoundShown(obs_data_t *settings, const KeySetting &key) {
  const double shown = obs_data_get_double(settings, key.setting);
  if (InPercent(key) && std::round(shown) != shown) SetNumber(settings, key, Value(settings, key));
}

void SetDefault(obs_data_t *settings, const KeySetting &key) {
  switch (key.kind) {
    case KeyKind::kNumber:
      if (InPercent(key)) obs_data_set_default_double(settings, ExactSetting(key).c_str(), key.initial);
      return obs_data_set_default_double(settings, key.setting, Shown(key.initial, key));
    case KeyKind::kSwitch:
      return obs_data_set_default_bool(settings, key.setting, key.initial != 0);
    case KeyKind::kWhole:
      return obs_data_set_default_int(settings, key.setting, static_cast<long long>(key.initial));
  }
}

void TakeNumber(const Json &value, const KeySetting &key, obs_data_t *settings) {
  if (!value.is_number()) return;
  SetNumber(settings, key, std::clamp(value.get<double>(), key.minimum, key.maximum));
}

void TakeWhole(const Json &value, const KeySetting &key, obs_data_t *settings) {
  if (!value.is_number_integer()) return;
  const double number = std::clamp(value.get<double>(), key.minimum, key.maximum);
  obs_data_set_int(settings, key.setting, static_cast<long long>(number));
}

void Take(const Json &value, const KeySetting &key, obs_data_t *settings) {
  switch (key.kind) {
    case KeyKind::kNumber:
      return TakeNumber(value, key, settings);
    case KeyKind::kSwitch:
      if (value.is_boolean()) obs_data_set_bool(settings, key.setting, value.get<bool>());
      return;
    case KeyKind::kWhole:
      return TakeWhole(value, key, settings);
  }
}

// Empty where the picker shows another colour than that of the config.
std::optional<Json> ExactColor(obs_data_t *settings) {
  const long long shown = obs_data_get_int(settings, kKeyColorSetting);
  Json exact = Json::parse(obs_data_get_string(settings, kExactColor), nullptr, false);
  if (!exact.is_array() || exact.size() != 3 ||
      !std::all_of(exact.begin(), exact.end(), [](const Json &part) { return part.is_number(); }))
    return std::nullopt;
  const double color[3] = {exact[0].get<double>(), exact[1].get<double>(), exact[2].get<double>()};
  if (((ToPickerColor(color) ^ shown) & 0xFFFFFF) != 0) return std::nullopt;
  return exact;
}

Json Color(obs_data_t *settings) {
  if (std::optional<Json> exact = ExactColor(settings)) return *std::move(exact);
  const long long shown = obs_data_get_int(settings, kKeyColorSetting);
  Json color = Json::array();
  for (int shift = 0; shift < 24; shift += 8) color.push_back(static_cast<double>((shown >> shift) & 0xFF) / 255.0);
  return color;
}

bool TakeColor(const Json &config, obs_data_t *settings) {
  const auto found = config.find("keyColor");
  if (found == config.end() || !found->is_array() || found->size() < 3) return false;
  Json taken = Color(settings);
  double color[3];
  for (size_t i = 0; i < 3; ++i) {
    const Json &part = (*found)[i];
    if (part.is_number()) taken[i] = std::clamp(part.get<double>(), 0.0, 1.0);
    color[i] = taken[i].get<double>();
  }
  obs_data_set_string(settings, kExactColor, taken.dump().c_str());
  obs_data_set_int(settings, kKeyColorSetting, ToPickerColor(color));
  return true;
}

void TakeBlueFlag(const Json &config, bool new_color, obs_data_t *settings) {
  const auto found = config.find("blueBgFlag");
  const bool given = found != config.end() && (found->is_boolean() || found->is_number());
  if (given) {
    obs_data_set_int(settings, kBlueSetting, found->is_boolean() ? found->get<bool>() : found->get<double>() != 0);
    obs_data_set_string(settings, kExactColor, Color(settings).dump().c_str());  // the colour that it is said of
  } else if (new_color) {
    obs_data_set_int(settings, kBlueSetting, kBlueFromColor);
  }
}

// As in the module: values that are not to be adjusted go back to their defaults. Moving one of them by hand says that
// they are to be.
void ResetUnadjusted(obs_data_t *settings) {
  if (obs_data_get_bool(settings, kAdjustSetting)) return;
  for (const char *setting : kAdjusted) {
    const KeySetting *key = FindKeySetting(setting);
    SetNumber(settings, *key, key->initial);
  }
}

bool IsAdjusted(obs_data_t *settings) {
  return obs_data_get_bool(settings, kAdjustSetting) ||
         std::any_of(std::begin(kAdjusted), std::end(kAdjusted), [&](const char *setting) {
           const KeySetting *key = FindKeySetting(setting);
           return std::fabs(Value(settings, *key) - key->initial) > 1e-9;
         });
}

}  // namespace

const std::vector<KeySetting> &KeySettings() {
  constexpr KeyKind kNumber = KeyKind::kNumber, kSwitch = KeyKind::kSwitch;
  static const std::vector<KeySetting> settings = {
      {"similarity", "key_similarity", kNumber, 0, 1, 0.667, 100, " %"},
      {"spillSupEnabled", "key_spill", kSwitch, 0, 1, 1, 1, ""},
      {"spillSupMethod", "key_spill_method", KeyKind::kWhole, 0, 8, 5, 1, ""},
      {"spillSupScaleR", "key_spill_scale_r", kNumber, -5, 5, 0.5, 1, ""},
      {"spillSupScaleG", "key_spill_scale_g", kNumber, -5, 5, -1, 1, ""},
      {"spillSupScaleB", "key_spill_scale_b", kNumber, -5, 5, 0, 1, ""},
      {"spillSupColorMix", "key_spill_mix", kNumber, 0, 1, 0.5, 100, " %"},
      {"spillSupRedW", "key_spill_red", kNumber, 0.5, 1, 0.85, 100, " %"},
      {"spillSupOffset", "key_spill_offset", kNumber, 0, 1, 0.55, 100, " %"},
      {"spillSupYThres", "key_spill_light", kNumber, 0, 1, 0.9, 100, " %"},
      {"denoiseEnabled", "key_denoise", kSwitch, 0, 1, 1, 1, ""},
      {"aKalmanQ", "key_kalman_q", kNumber, 0, 100, 15, 1, ""},
      {"alphaAdjustEnabled", kAdjustSetting, kSwitch, 0, 1, 1, 1, ""},
      {"alphaDown", "key_alpha_down", kNumber, 0, 2, 0.75, 100, " %"},
      {"alphaUp", "key_alpha_up", kNumber, 0, 1, 0.25, 100, " %"},
      {"alphaShrink", "key_alpha_shrink", kNumber, 0, 10, 0, 1, " px"},
      {"fgAlphaBlurEnabled", "key_feather", kSwitch, 0, 1, 0, 1, ""},
      {"fgAlphaBlurIntensity", "key_feather_width", kNumber, 0, 1, 0, 100, " %"},
  };
  return settings;
}

const KeySetting *FindKeySetting(const std::string &setting) {
  for (const KeySetting &key : KeySettings()) {
    if (setting == key.setting) return &key;
  }
  return nullptr;
}

void SetKeyDefaults(obs_data_t *settings) {
  for (const KeySetting &key : KeySettings()) SetDefault(settings, key);
  obs_data_set_default_int(settings, kKeyColorSetting, ToPickerColor(kInitialColor));
  obs_data_set_default_int(settings, kBlueSetting, kBlueFromColor);
  obs_data_set_default_string(settings, kExactColor, "");
  obs_data_set_default_string(settings, kMergedSetting, "");
  obs_data_set_default_string(settings, kConfigSetting, "");
}

bool MergeConfig(obs_data_t *settings) {
  for (const KeySetting &key : KeySettings()) RoundShown(settings, key);
  const std::string text = obs_data_get_string(settings, kConfigSetting);
  if (text.empty() || text == obs_data_get_string(settings, kMergedSetting)) return true;
  obs_data_set_string(settings, kMergedSetting, text.c_str());
  const Json config = Json::parse(text, nullptr, false);
  if (!config.is_object()) return false;
  for (const KeySetting &key : KeySettings()) {
    const auto found = config.find(key.config);
    if (found != config.end()) Take(*found, key, settings);
  }
  TakeBlueFlag(config, TakeColor(config, settings), settings);
  ResetUnadjusted(settings);
  return true;
}

void TakeConfig(obs_data_t *settings, const std::string &config) {
  obs_data_set_string(settings, kMergedSetting, "");
  obs_data_set_string(settings, kConfigSetting, config.c_str());
  MergeConfig(settings);
}

std::string CompleteConfig(obs_data_t *settings) {
  Json config = Json::object();
  for (const KeySetting &key : KeySettings()) {
    switch (key.kind) {
      case KeyKind::kNumber:
        config[key.config] = Value(settings, key);
        break;
      case KeyKind::kSwitch:
        config[key.config] = obs_data_get_bool(settings, key.setting);
        break;
      case KeyKind::kWhole:
        config[key.config] =
            std::clamp<long long>(obs_data_get_int(settings, key.setting), static_cast<long long>(key.minimum),
                                  static_cast<long long>(key.maximum));
        break;
    }
  }
  config["alphaAdjustEnabled"] = IsAdjusted(settings);
  config["keyColor"] = Color(settings);
  const long long blue = obs_data_get_int(settings, kBlueSetting);
  if (blue != kBlueFromColor && ExactColor(settings)) config["blueBgFlag"] = blue != 0;
  return config.dump();
}

long long ToPickerColor(const double (&color)[3]) {
  long long packed = 0xFF;
  for (size_t i = 3; i-- > 0;) packed = packed << 8 | std::lround(std::clamp(color[i], 0.0, 1.0) * 255);
  return packed;
}

}  // namespace vanta_host
