// The module's data folder: files by name, and the locale tables.
#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

#include <obs-module.h>
#include <util/bmem.h>
#include <util/platform.h>
#include <util/text-lookup.h>

#include "fake_host.h"

namespace fs = std::filesystem;

namespace {

std::mutex mutex;
std::string module_folder;
std::atomic<long> tables{0};

fs::path PathOf(const std::string &utf8) {
  return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

}  // namespace

struct text_lookup {
  std::map<std::string, std::string> texts;
};

namespace {

// Lines of the form KEY="text".
void ReadTable(const fs::path &file, std::map<std::string, std::string> &texts) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    const size_t opening = line.find("=\"");
    const size_t closing = line.rfind('"');
    if (opening == std::string::npos || closing <= opening + 1) continue;
    texts[line.substr(0, opening)] = line.substr(opening + 2, closing - opening - 2);
  }
}

}  // namespace

namespace vanta_test::fake_host {

void SetModuleFolder(const std::string &folder) {
  std::lock_guard<std::mutex> lock(mutex);
  module_folder = folder;
}

std::string ModuleFolder() {
  std::lock_guard<std::mutex> lock(mutex);
  return module_folder;
}

long TablesAlive() {
  return tables;
}

}  // namespace vanta_test::fake_host

extern "C" {

bool os_file_exists(const char *path) {
  std::error_code error;
  return fs::exists(PathOf(path), error);
}

char *obs_find_module_file(obs_module_t *, const char *file) {
  const std::string path = vanta_test::fake_host::ModuleFolder() + "/" + file;
  return os_file_exists(path.c_str()) ? bstrdup(path.c_str()) : nullptr;
}

lookup_t *obs_module_load_locale(obs_module_t *, const char *default_locale, const char *locale) {
  ++tables;
  lookup_t *lookup = new text_lookup;
  const std::string folder = vanta_test::fake_host::ModuleFolder() + "/locale/";
  ReadTable(PathOf(folder + default_locale + ".ini"), lookup->texts);
  ReadTable(PathOf(folder + locale + ".ini"), lookup->texts);
  return lookup;
}

bool text_lookup_getstr(lookup_t *lookup, const char *key, const char **text) {
  if (!lookup) return false;
  const auto found = lookup->texts.find(key);
  if (found == lookup->texts.end()) return false;
  *text = found->second.c_str();
  return true;
}

void text_lookup_destroy(lookup_t *lookup) {
  if (lookup) --tables;
  delete lookup;
}
}
