#include "controls/beauty_look.h"

#include <algorithm>

namespace vanta_host {
namespace {

int ReadPercent(obs_data_t *settings, const char *key, int minimum, int maximum) {
  return static_cast<int>(std::clamp<long long>(obs_data_get_int(settings, key), minimum, maximum));
}

void WriteInt(obs_data_t *settings, const char *key, int value) {
  if (obs_data_get_int(settings, key) != value) obs_data_set_int(settings, key, value);
}

void WriteText(obs_data_t *settings, const char *key, const std::string &value) {
  if (obs_data_get_string(settings, key) != value) obs_data_set_string(settings, key, value.c_str());
}

}  // namespace

BeautyLook::BeautyLook() {
  std::transform(BeautyValues().begin(), BeautyValues().end(), percent.begin(),
                 [](const BeautyValue &value) { return value.initial; });
}

bool BeautyLook::IsOff() const {
  const bool all_zero = std::all_of(percent.begin(), percent.end(), [](int value) { return value == 0; });
  return all_zero && (lookup.empty() || lookup_strength == 0) && !ShowsMakeup() && effect.empty();
}

bool BeautyLook::ShowsMakeup() const {
  return (!makeup.empty() && makeup_strength != 0) ||
         std::any_of(colors.begin(), colors.end(), [](const MakeupColor &color) { return color.Shows(); });
}

bool BeautyLook::NeedsFaces() const {
  bool needs = ShowsMakeup();
  for (size_t i = 0; i < kValueCount; ++i)
    needs = needs || (BeautyValues()[i].kind != ValueKind::kBeauty && percent[i]);
  return needs;
}

BeautyLook PlainLook() {
  BeautyLook look;
  look.percent.fill(0);
  return look;
}

BeautyLook ReadLook(obs_data_t *settings) {
  BeautyLook look;
  for (size_t i = 0; i < kValueCount; ++i) {
    const BeautyValue &value = BeautyValues()[i];
    look.percent[i] = ReadPercent(settings, value.setting, value.minimum, value.maximum);
  }
  look.lookup = obs_data_get_string(settings, kLookupSetting);
  look.lookup_strength = ReadPercent(settings, kLookupStrengthSetting, 0, 100);
  look.makeup = obs_data_get_string(settings, kMakeupSetting);
  look.makeup_strength = ReadPercent(settings, kMakeupStrengthSetting, 0, 100);
  look.effect = obs_data_get_string(settings, kEffectSetting);
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    const MakeupPart &part = MakeupParts()[i];
    look.colors[i] = {ColorDigits(obs_data_get_string(settings, part.color_setting)),
                      ReadPercent(settings, part.strength_setting, 0, 100)};
  }
  return look;
}

void WriteLook(const BeautyLook &look, obs_data_t *settings) {
  for (size_t i = 0; i < kValueCount; ++i) WriteInt(settings, BeautyValues()[i].setting, look.percent[i]);
  WriteText(settings, kLookupSetting, look.lookup);
  WriteInt(settings, kLookupStrengthSetting, look.lookup_strength);
  WriteText(settings, kMakeupSetting, look.makeup);
  WriteInt(settings, kMakeupStrengthSetting, look.makeup_strength);
  WriteText(settings, kEffectSetting, look.effect);
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    WriteText(settings, MakeupParts()[i].color_setting, look.colors[i].rgb);
    WriteInt(settings, MakeupParts()[i].strength_setting, look.colors[i].strength);
  }
}

void SetLookDefaults(obs_data_t *settings) {
  const BeautyLook initial;
  for (const BeautyValue &value : BeautyValues()) obs_data_set_default_int(settings, value.setting, value.initial);
  obs_data_set_default_string(settings, kLookupSetting, "");
  obs_data_set_default_int(settings, kLookupStrengthSetting, initial.lookup_strength);
  obs_data_set_default_string(settings, kMakeupSetting, "");
  obs_data_set_default_int(settings, kMakeupStrengthSetting, initial.makeup_strength);
  obs_data_set_default_string(settings, kEffectSetting, "");
  for (const MakeupPart &part : MakeupParts()) {
    obs_data_set_default_string(settings, part.color_setting, "");
    obs_data_set_default_int(settings, part.strength_setting, MakeupColor().strength);
  }
}

}  // namespace vanta_host
