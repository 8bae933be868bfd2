#include "pages/beauty_page.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <util/base.h>
#include <util/platform.h>

#include "controls/beauty_controls.h"
#include "controls/look_file.h"
#include "module/module_files.h"
#include "pages/page_parts.h"
#include "pages/page_refresh.h"
#include "vanta_base/utf8_path.h"

namespace vanta_host {
namespace {

constexpr char kPreset[] = "beauty_preset";  // never stays: what it names is put into the values
constexpr char kMore[] = "beauty_more";
constexpr char kLookName[] = "beauty_look_name";
constexpr char kFaceGroup[] = "beauty_group_face";
constexpr char kBodyGroup[] = "beauty_group_body";
constexpr char kMakeupGroup[] = "beauty_group_makeup";
constexpr char kLookGroup[] = "beauty_group_look";

// Those that come with the engine, in the order in which they are offered.
const char *const kPresets[] = {"jingdian", "ziran", "baixi", "hongrun", "yuantu"};

FilterStatus StatusOf(obs_source_t *filter) {
  return BeautyStatus(ConditionOf(filter));
}

// ---- Looks ----

void FillPresetList(obs_property_t *list) {
  obs_property_list_clear(list);
  obs_property_list_add_string(list, Text("Look.None"), "");
  const ResourceFolders folders = ModuleFolders();
  const std::vector<std::string> user = folders.ListUserPresets();
  for (const char *name : kPresets) {
    if (std::find(user.begin(), user.end(), name) == user.end())
      obs_property_list_add_string(list, Text(std::string("Preset.") + name), name);
  }
  for (const std::string &name : user) obs_property_list_add_string(list, name.c_str(), name.c_str());
}

// Also called when a page opens; then there is nothing chosen.
bool OnPreset(obs_properties_t *page, obs_property_t *, obs_data_t *settings) {
  const std::string name = obs_data_get_string(settings, kPreset);
  if (name.empty()) return false;
  obs_data_set_string(settings, kPreset, "");
  const std::string path = ModuleFolders().Find(ResourceKind::kPreset, name);
  const std::optional<BeautyLook> look = ReadLookFile(path);
  if (!look) {
    blog(LOG_WARNING, "[vanta_host] the look '%s' cannot be read", name.c_str());
    return true;
  }
  WriteLook(*look, settings);
  if (const OBSSourceAutoRelease filter = PageFilter(page)) obs_source_update(filter, nullptr);
  return true;
}

std::string TypedName(obs_source_t *filter) {
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  return FileName(obs_data_get_string(settings, kLookName));
}

bool OnSaveLook(obs_properties_t *page, obs_property_t *, void *) {
  const OBSSourceAutoRelease filter = PageFilter(page);
  const std::string path = filter ? ModuleFolders().UserPresetPath(TypedName(filter)) : std::string();
  if (path.empty()) return false;
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  if (!WriteLookFile(path, ReadLook(settings))) {
    blog(LOG_WARNING, "[vanta_host] the look cannot be written to %s", path.c_str());
    return false;
  }
  FillPresetList(obs_properties_get(page, kPreset));
  return true;
}

bool OnDeleteLook(obs_properties_t *page, obs_property_t *, void *) {
  const OBSSourceAutoRelease filter = PageFilter(page);
  const std::string path = filter ? ModuleFolders().UserPresetPath(TypedName(filter)) : std::string();
  std::error_code ignored;
  if (path.empty() || !std::filesystem::remove(vanta::PathFromUtf8(path), ignored)) return false;
  FillPresetList(obs_properties_get(page, kPreset));
  return true;
}

void AddPresets(obs_properties_t *page) {
  obs_property_t *list =
      obs_properties_add_list(page, kPreset, Text("Look"), OBS_COMBO_TYPE_LIST, OBS_COMBO_FORMAT_STRING);
  FillPresetList(Labelled(list, "Look"));
  obs_property_set_modified_callback(list, OnPreset);
}

void AddOwnLooks(obs_properties_t *page) {
  obs_properties_t *group = obs_properties_create();
  Labelled(obs_properties_add_text(group, kLookName, Text("Look.Name"), OBS_TEXT_DEFAULT), "Look.Name");
  obs_properties_add_button(group, "beauty_save_look", Text("Look.Save"), OnSaveLook);
  obs_properties_add_button(group, "beauty_delete_look", Text("Look.Delete"), OnDeleteLook);
  obs_properties_add_group(page, kLookGroup, Text("Group.Look"), OBS_GROUP_NORMAL, group);
}

// ---- Values ----

void AddValues(obs_properties_t *page, size_t first, size_t end) {
  for (size_t i = first; i < end; ++i) {
    const BeautyValue &value = BeautyValues()[i];
    AddSlider(page, value.setting, std::string("Value.") + value.name, value.minimum, value.maximum);
  }
}

constexpr size_t kFirstMore = 3;  // the page shows those before it always

size_t FirstOfFace() {
  return FirstValue(ValueKind::kDeform);
}

size_t FirstOfBody() {
  return FirstValue(ValueKind::kBody);
}

void AddGroup(obs_properties_t *page, const char *name, const char *text, size_t first, size_t end) {
  obs_properties_t *group = obs_properties_create();
  AddValues(group, first, end);
  Labelled(obs_properties_add_group(page, name, Text(text), OBS_GROUP_NORMAL, group), text);
}

// A table that comes with the engine has a name of its own in each language.
std::string ResourceName(const std::string &name) {
  const std::string key = "Resource." + name;
  const std::string text = Text(key);
  return text == key ? vanta::Utf8FromPath(vanta::PathFromUtf8(name).stem()) : text;
}

// Nothing where the folders hold none. What the settings name stays in the list even when its file has gone.
void AddResources(obs_properties_t *page, ResourceKind kind, const char *setting, const char *text,
                  const std::string &chosen) {
  std::vector<std::string> names = ModuleFolders().List(kind);
  if (!chosen.empty() && std::find(names.begin(), names.end(), chosen) == names.end()) names.push_back(chosen);
  if (names.empty()) return;
  obs_property_t *list =
      obs_properties_add_list(page, setting, Text(text), OBS_COMBO_TYPE_LIST, OBS_COMBO_FORMAT_STRING);
  obs_property_list_add_string(list, Text("Resource.None"), "");
  for (const std::string &name : names) obs_property_list_add_string(list, ResourceName(name).c_str(), name.c_str());
  Labelled(list, text);
}

void AddStrength(obs_properties_t *page, const char *list, const char *setting, const char *text) {
  if (obs_properties_get(page, list)) AddSlider(page, setting, text, 0, 100);
}

// A colour that is none of those offered stands in the list as its digits.
void AddMakeupColor(obs_properties_t *page, const MakeupPart &part, const MakeupColor &chosen) {
  obs_property_t *list = obs_properties_add_list(page, part.color_setting, Text(std::string("Makeup.") + part.name),
                                                 OBS_COMBO_TYPE_LIST, OBS_COMBO_FORMAT_STRING);
  obs_property_list_add_string(list, Text("Resource.None"), "");
  bool offered = chosen.rgb.empty();
  for (const MakeupShade &shade : part.shades) {
    obs_property_list_add_string(list, Text(std::string("Color.") + shade.name), shade.rgb);
    offered = offered || chosen.rgb == shade.rgb;
  }
  if (!offered) obs_property_list_add_string(list, ("#" + chosen.rgb).c_str(), chosen.rgb.c_str());
  AddSlider(page, part.strength_setting, "Makeup.Strength", 0, 100);
}

void AddMakeupColors(obs_properties_t *page, const BeautyLook &look) {
  obs_properties_t *group = obs_properties_create();
  for (size_t i = 0; i < kMakeupPartCount; ++i) AddMakeupColor(group, MakeupParts()[i], look.colors[i]);
  Labelled(obs_properties_add_group(page, kMakeupGroup, Text("Group.Makeup"), OBS_GROUP_NORMAL, group), "Group.Makeup");
}

bool OnMore(obs_properties_t *page, obs_property_t *, obs_data_t *settings) {
  const bool more = obs_data_get_bool(settings, kMore);
  for (size_t i = kFirstMore; i < FirstOfFace(); ++i) SetVisible(page, {BeautyValues()[i].setting}, more);
  SetVisible(page,
             {kFaceGroup, kBodyGroup, kMakeupGroup, kLookupSetting, kLookupStrengthSetting, kMakeupSetting,
              kMakeupStrengthSetting, kEffectSetting, kLookGroup},
             more);
  if (const OBSSourceAutoRelease filter = PageFilter(page)) Pages().ShowsMore(filter, more);
  return true;
}

void AddMore(obs_properties_t *page, const BeautyLook &look) {
  obs_property_set_modified_callback(AddSwitch(page, kMore, "Page.More"), OnMore);
  AddValues(page, kFirstMore, FirstOfFace());
  AddGroup(page, kFaceGroup, "Group.Face", FirstOfFace(), FirstOfBody());
  AddGroup(page, kBodyGroup, "Group.Body", FirstOfBody(), kValueCount);
  AddMakeupColors(page, look);
  AddResources(page, ResourceKind::kLookup, kLookupSetting, "Lookup", look.lookup);
  AddStrength(page, kLookupSetting, kLookupStrengthSetting, "LookupStrength");
  AddResources(page, ResourceKind::kMakeup, kMakeupSetting, "Makeup", look.makeup);
  AddStrength(page, kMakeupSetting, kMakeupStrengthSetting, "MakeupStrength");
  AddResources(page, ResourceKind::kEffect, kEffectSetting, "Effect", look.effect);
  AddOwnLooks(page);
}

// ---- Status ----

bool OnRetry(obs_properties_t *page, obs_property_t *, void *) {
  vanta_host_end_pass_through();
  const OBSSourceAutoRelease filter = PageFilter(page);
  ShowStatus(page, StatusOf(filter));
  return true;
}

}  // namespace

obs_properties_t *MakeBeautyPage(obs_source_t *filter) {
  const FilterStatus status = StatusOf(filter);
  obs_properties_t *page = NewPage(filter);
  AddStatus(page, status);
  if (vanta_host_get_engine_state() == VANTA_ENGINE_MISSING)
    obs_properties_add_button(page, "vanta_retry", Text("Page.Retry"), OnRetry);
  AddPresets(page);
  AddValues(page, 0, kFirstMore);
  AddMore(page, Controls().Look());
  AddManual(page);
  bool more = false;
  if (filter) {
    const OBSDataAutoRelease settings = obs_source_get_settings(filter);
    more = obs_data_get_bool(settings, kMore);
  }
  Pages().Built(filter, StatusOf, status.state, more, true);
  return page;
}

// "apply_flag" is the module's: it writes it once, and a user's "Defaults" would wipe it out.
void SetBeautyDefaults(obs_data_t *settings) {
  SetLookDefaults(settings);
  obs_data_set_default_int(settings, "apply_flag", 255);
  obs_data_set_default_string(settings, kPreset, "");
  obs_data_set_default_bool(settings, kMore, false);
  obs_data_set_default_string(settings, kLookName, "");
}

void AfterBeautyUpdate(obs_source_t *filter, obs_data_t *settings) {
  Pages().Edited(filter, obs_data_get_bool(settings, kMore));
}

}  // namespace vanta_host
