// The entry points that the host looks up in the module by name.
#include <cstdint>

#include <obs.h>

#include "beauty/beauty_filter_source.h"
#include "greenscreen/green_screen_filter_source.h"
#include "landmark/landmark_filter_source.h"
#include "obs/module_text.h"
#include "vanta_base/export.h"

namespace {

// libobs 29.0.1. Fixed: the records this module hands over are of that version, whichever headers it was built with.
constexpr uint32_t kApiVersion = 0x1d000001;

}  // namespace

extern "C" {

// The graphics drivers of notebooks with two adapters look these words up and choose the fast adapter.
VANTA_EXPORT uint32_t NvOptimusEnablement = 1;
VANTA_EXPORT uint32_t AmdPowerXpressRequestHighPerformance = 1;

VANTA_EXPORT void obs_module_set_pointer(obs_module_t *module) {
  vanta::SetModulePointer(module);
}

VANTA_EXPORT uint32_t obs_module_ver() {
  return kApiVersion;
}

VANTA_EXPORT void obs_module_set_locale(const char *locale) {
  vanta::LoadModuleText(locale);
}

VANTA_EXPORT void obs_module_free_locale() {
  vanta::FreeModuleText();
}

VANTA_EXPORT bool obs_module_get_string(const char *key, const char **text) {
  return vanta::FindModuleText(key, text);
}

VANTA_EXPORT bool obs_module_load() {
  vanta::RegisterBeautyFilter();
  vanta::RegisterGreenScreenFilter();
  vanta::RegisterLandmarkFilter();
  return true;
}

}  // extern "C"
