// A look: all that the beauty page sets.
#pragma once

#include <array>
#include <string>

#include <obs.h>

#include "controls/beauty_values.h"
#include "controls/makeup_parts.h"

namespace vanta_host {

// Keys in a filter's settings.
inline constexpr char kLookupSetting[] = "beauty_lookup";
inline constexpr char kLookupStrengthSetting[] = "beauty_lookup_strength";
inline constexpr char kMakeupSetting[] = "beauty_makeup";
inline constexpr char kMakeupStrengthSetting[] = "beauty_makeup_strength";
inline constexpr char kEffectSetting[] = "beauty_effect";

// One part of the face.
struct MakeupColor {
  bool operator==(const MakeupColor &) const = default;
  bool Shows() const { return !rgb.empty() && strength != 0; }

  std::string rgb;    // as ColorDigits gives it; empty: the part is as it is
  int strength = 60;  // per cent
};

// As it stands after construction an engine starts.
struct BeautyLook {
  BeautyLook();
  bool operator==(const BeautyLook &) const = default;

  // Nothing in the picture would be changed. Strengths of what is not chosen do not count.
  bool IsOff() const;
  bool ShowsMakeup() const;
  // A face has to be found for it.
  bool NeedsFaces() const;

  std::array<int, kValueCount> percent;
  // Names of files and folders as ResourceFolders lists them; empty: none.
  std::string lookup, makeup, effect;
  int lookup_strength = 80;  // per cent
  int makeup_strength = 100;
  std::array<MakeupColor, kMakeupPartCount> colors;  // in the order of MakeupParts
};

// Every value off.
BeautyLook PlainLook();

// What is missing is taken from the settings' defaults, what is out of range is brought into it.
BeautyLook ReadLook(obs_data_t *settings);
// Touches only what differs.
void WriteLook(const BeautyLook &look, obs_data_t *settings);
void SetLookDefaults(obs_data_t *settings);

}  // namespace vanta_host
