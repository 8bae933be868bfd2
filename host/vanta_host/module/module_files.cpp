#include "module/module_files.h"

#include <utility>

#include <obs.h>
#include <util/bmem.h>

#include "vanta_base/utf8_path.h"

namespace vanta_host {
namespace {

obs_module_t *Module() {
  return obs_initialized() ? obs_get_module("vanta_filter") : nullptr;
}

std::string Taken(char *text) {
  std::string taken = text ? text : "";
  bfree(text);
  return taken;
}

// A host that has named no folder for configurations would have it in the working folder.
std::string ConfigFolder(obs_module_t *module) {
  std::string path = Taken(obs_module_get_config_path(module, ""));
  return vanta::PathFromUtf8(path).is_absolute() ? path : std::string();
}

void Replace(std::string &text, const char *mark, const std::string &by) {
  const size_t at = text.find(mark);
  if (at != std::string::npos) text.replace(at, 2, by);
}

}  // namespace

const char *Text(const char *key) {
  const char *text = key;
  obs_module_t *module = Module();
  if (module && !obs_module_get_locale_string(module, key, &text)) text = key;
  return text;
}

std::string Filled(std::string text, const std::string &first, const std::string &second) {
  Replace(text, "%1", first);
  Replace(text, "%2", second);
  return text;
}

ResourceFolders ModuleFolders() {
  obs_module_t *module = Module();
  if (!module) return {{}, {}};
  return {ModuleFile("faceless_builtin"), ConfigFolder(module)};
}

std::string ModuleFile(const char *name) {
  obs_module_t *module = Module();
  return module ? Taken(obs_find_module_file(module, name)) : std::string();
}

}  // namespace vanta_host
