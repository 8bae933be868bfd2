#include "obs/module_text.h"

#include <util/text-lookup.h>

namespace {

constexpr const char *kDefaultLocale = "en-US";

obs_module_t *obs_module_pointer = nullptr;
lookup_t *obs_module_lookup = nullptr;  // owned

}  // namespace

const char *obs_module_text(const char *key) {
  const char *text = key;
  text_lookup_getstr(obs_module_lookup, key, &text);
  return text;
}

obs_module_t *obs_current_module() {
  return obs_module_pointer;
}

namespace vanta {

void SetModulePointer(obs_module_t *module) {
  obs_module_pointer = module;
}

void LoadModuleText(const char *locale) {
  if (obs_module_lookup) text_lookup_destroy(obs_module_lookup);
  obs_module_lookup = obs_module_load_locale(obs_current_module(), kDefaultLocale, locale);
}

void FreeModuleText() {
  text_lookup_destroy(obs_module_lookup);
  obs_module_lookup = nullptr;
}

bool FindModuleText(const char *key, const char **text) {
  return text_lookup_getstr(obs_module_lookup, key, text);
}

}  // namespace vanta
