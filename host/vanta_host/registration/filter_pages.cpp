#include "registration/filter_pages.h"

#include "controls/beauty_controls.h"
#include "controls/green_screen_keys.h"
#include "controls/key_picker.h"
#include "module/module_files.h"
#include "pages/beauty_page.h"
#include "pages/green_screen_page.h"
#include "pages/landmark_page.h"
#include "pages/page_refresh.h"
#include "registration/filter_table.h"
#include "remote/hotkeys.h"

namespace vanta_host {
namespace {

OBSData WithConfig(obs_data_t *settings, const std::string &config) {
  const OBSDataAutoRelease copy = obs_data_create();
  obs_data_apply(copy, settings);
  obs_data_set_string(copy, kConfigSetting, config.c_str());
  return copy.Get();
}

}  // namespace

obs_properties_t *MakePage(size_t type, obs_source_t *filter) {
  switch (type) {
    case FilterTable::kBeautyType:
      return MakeBeautyPage(filter);
    case FilterTable::kGreenScreenType:
      return MakeGreenScreenPage(filter);
    case FilterTable::kLandmarkType:
      return MakeLandmarkPage(filter);
    default:
      return nullptr;
  }
}

void SetPageDefaults(size_t type, obs_data_t *settings) {
  if (type == FilterTable::kBeautyType) SetBeautyDefaults(settings);
  if (type == FilterTable::kGreenScreenType) SetGreenScreenDefaults(settings);
  if (type == FilterTable::kLandmarkType) SetLandmarkDefaults(settings);
}

const char *LandmarkName(void *) {
  return Text("TesseraLandmarkFilter");
}

OBSData BeforeCreation(size_t type, obs_source_t *filter, obs_data_t *settings) {
  if (type == FilterTable::kBeautyType) Controls().Adopt(filter, settings);
  if (type <= FilterTable::kLandmarkType) RegisterFilterHotkeys(filter);
  if (type != FilterTable::kGreenScreenType || !settings) return settings;
  MergeConfig(settings);
  return WithConfig(settings, CompleteConfig(settings));
}

void AfterEnd(size_t type, obs_source_t *filter) {
  if (type == FilterTable::kBeautyType) Controls().Forget(filter);
  if (type == FilterTable::kGreenScreenType) ShowUnkeyed(filter, false);
  Pages().Forget(filter);
}

void TakeBeautyUpdate(obs_source_t *filter, obs_data_t *settings) {
  Controls().TakeUpdate(filter, settings);
  AfterBeautyUpdate(filter, settings);
}

// A text that is none is shown to the module first, which says so in the log.
std::vector<OBSData> GreenScreenUpdates(obs_data_t *settings) {
  std::vector<OBSData> updates;
  const std::string config = obs_data_get_string(settings, kConfigSetting);
  if (!MergeConfig(settings)) updates.push_back(WithConfig(settings, config));
  updates.push_back(WithConfig(settings, CompleteConfig(settings)));
  return updates;
}

}  // namespace vanta_host
