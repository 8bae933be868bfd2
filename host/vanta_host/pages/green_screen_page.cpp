#include "pages/green_screen_page.h"

#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "controls/green_screen_keys.h"
#include "controls/key_picker.h"
#include "module/module_files.h"
#include "pages/page_parts.h"

namespace vanta_host {
namespace {

constexpr char kMore[] = "key_more";
constexpr char kSpillGroup[] = "key_spill";
constexpr char kSpillMethod[] = "key_spill_method";
constexpr int kSpillMethods = 9;
constexpr char kUnkeyedButton[] = "key_show_unkeyed";

// The text's key is "Key." and the setting's name behind "key_".
std::string KeyText(const std::string &setting) {
  return "Key." + setting.substr(4);
}

int Percent(double value) {
  return static_cast<int>(std::lround(value * 100));
}

obs_property_t *AddKey(obs_properties_t *page, const char *setting) {
  const KeySetting *key = FindKeySetting(setting);
  const std::string text = KeyText(setting);
  if (key->kind == KeyKind::kSwitch) return AddSwitch(page, setting, text);
  if (key->scale > 1) return AddSlider(page, setting, text, Percent(key->minimum), Percent(key->maximum));
  obs_property_t *slider = obs_properties_add_float_slider(page, setting, Text(text), key->minimum, key->maximum, 0.1);
  obs_property_float_set_suffix(slider, key->suffix);
  return Labelled(slider, text);
}

bool OnPick(obs_properties_t *page, obs_property_t *, void *) {
  const OBSSourceAutoRelease filter = PageFilter(page);
  if (!filter) return false;
  const std::optional<std::array<double, 3>> color = PickKeyColor(filter);
  if (!color) {
    ShowStatus(page, {"NoBacking", Text("Status.NoBacking"), OBS_TEXT_INFO_WARNING});
    return true;
  }
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  SetKeyColor(settings, *color);
  obs_source_update(filter, nullptr);
  ShowStatus(page, GreenScreenStatus(filter));
  return true;
}

void NameUnkeyedButton(obs_properties_t *page, obs_source_t *filter) {
  obs_property_set_description(obs_properties_get(page, kUnkeyedButton),
                               Text(ShowsUnkeyed(filter) ? "Key.ShowKeyed" : "Key.ShowUnkeyed"));
}

bool OnUnkeyed(obs_properties_t *page, obs_property_t *, void *) {
  const OBSSourceAutoRelease filter = PageFilter(page);
  if (!filter) return false;
  ShowUnkeyed(filter, !ShowsUnkeyed(filter));
  NameUnkeyedButton(page, filter);
  ShowStatus(page, GreenScreenStatus(filter));
  return true;
}

void AddSpill(obs_properties_t *page) {
  obs_properties_t *group = obs_properties_create();
  obs_property_t *list = obs_properties_add_list(group, kSpillMethod, Text(KeyText(kSpillMethod)), OBS_COMBO_TYPE_LIST,
                                                 OBS_COMBO_FORMAT_INT);
  for (int method = 0; method < kSpillMethods; ++method)
    obs_property_list_add_int(list, Text("Method." + std::to_string(method)), method);
  AddKey(group, "key_spill_mix");
  Labelled(obs_properties_add_group(page, kSpillGroup, Text(KeyText(kSpillGroup)), OBS_GROUP_CHECKABLE, group),
           KeyText(kSpillGroup));
}

constexpr std::array kMoreKeys = {"key_denoise",       "key_kalman_q",     "key_feather",     "key_feather_width",
                                  "key_spill_red",     "key_spill_offset", "key_spill_light", "key_spill_scale_r",
                                  "key_spill_scale_g", "key_spill_scale_b"};

bool OnMore(obs_properties_t *page, obs_property_t *, obs_data_t *settings) {
  const bool more = obs_data_get_bool(settings, kMore);
  for (const char *setting : kMoreKeys) SetVisible(page, {setting}, more);
  return true;
}

}  // namespace

// No state of it is shown anew by itself: with the colour dialog open that would crash the host.
obs_properties_t *MakeGreenScreenPage(obs_source_t *filter) {
  obs_properties_t *page = NewPage(filter);
  AddStatus(page, GreenScreenStatus(filter));
  Labelled(obs_properties_add_button(page, "key_pick", Text("Key.pick"), OnPick), "Key.pick");
  obs_properties_add_color(page, kKeyColorSetting, Text(KeyText(kKeyColorSetting)));
  for (const char *setting : {"key_similarity", "key_alpha_up", "key_alpha_down", "key_alpha_shrink"})
    AddKey(page, setting);
  AddSpill(page);
  obs_properties_add_button(page, kUnkeyedButton, Text("Key.ShowUnkeyed"), OnUnkeyed);
  NameUnkeyedButton(page, filter);
  obs_property_set_modified_callback(AddSwitch(page, kMore, "Page.More"), OnMore);
  for (const char *setting : kMoreKeys) AddKey(page, setting);
  AddManual(page);
  return page;
}

void SetGreenScreenDefaults(obs_data_t *settings) {
  SetKeyDefaults(settings);
  obs_data_set_default_bool(settings, kMore, false);
}

}  // namespace vanta_host
