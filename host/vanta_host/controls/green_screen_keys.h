// The green screen's settings as users meet them, beside the `config` text that the module reads.
#pragma once

#include <string>
#include <vector>

#include <obs.h>

namespace vanta_host {

enum class KeyKind { kNumber, kSwitch, kWhole };

// One number or switch of the config.
struct KeySetting {
  const char *config;   // its key in the config
  const char *setting;  // in a filter's settings, times `scale`; per cents are whole there
  KeyKind kind;
  double minimum, maximum;  // of the config's value
  double initial;
  double scale;        // 100 for what is shown in per cent
  const char *suffix;  // behind the number on a page
};

// All but the key colour and the blue flag, in the order of the module's table.
const std::vector<KeySetting> &KeySettings();
// Null for a setting that is none of them.
const KeySetting *FindKeySetting(const std::string &setting);

inline constexpr char kKeyColorSetting[] = "key_color";  // as colour pickers have it: 0xAABBGGRR
inline constexpr char kConfigSetting[] = "config";

void SetKeyDefaults(obs_data_t *settings);
// Takes a `config` that has changed since the last time into the settings, as the patch that it is. False for one that
// is no JSON object: it changes nothing, and the module says so in the log if it is shown the text.
bool MergeConfig(obs_data_t *settings);
// The same for one that is given now, though it may be the former one's text.
void TakeConfig(obs_data_t *settings, const std::string &config);
// The whole of the settings as one config. Each text is a patch to the module, so that one which says all is what makes
// "Defaults" and "undo" do something.
std::string CompleteConfig(obs_data_t *settings);
// Of three numbers from 0 to 1.
long long ToPickerColor(const double (&color)[3]);

}  // namespace vanta_host
