#include "obs/module_text.h"

#include <util/bmem.h>
#include <util/text-lookup.h>

#include <string>

#include "obs/data_file.h"

namespace {

constexpr const char *kDefaultLocale = "en-US";

obs_module_t *obs_module_pointer = nullptr;
lookup_t *obs_module_lookup = nullptr;  // owned

bool MayLoad(const char *locale) {
  char *path = obs_find_module_file(obs_module_pointer, ("locale/" + std::string(locale) + ".ini").c_str());
  const bool good = !path || vanta::MayBeRead(path);
  if (!good) blog(LOG_WARNING, "[vanta_filter] %s is no file of texts; install the plug-in anew", path);
  bfree(path);
  return good;
}

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
  obs_module_lookup = nullptr;
  if (!MayLoad(kDefaultLocale)) return;
  obs_module_lookup =
      obs_module_load_locale(obs_current_module(), kDefaultLocale, MayLoad(locale) ? locale : kDefaultLocale);
}

void FreeModuleText() {
  text_lookup_destroy(obs_module_lookup);
  obs_module_lookup = nullptr;
}

bool FindModuleText(const char *key, const char **text) {
  return text_lookup_getstr(obs_module_lookup, key, text);
}

}  // namespace vanta
