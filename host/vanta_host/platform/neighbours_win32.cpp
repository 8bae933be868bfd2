#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include "platform/neighbours.h"

#include <map>
#include <string>

#include "platform/wide_path_win32.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/platform/late_imports.h"

namespace {

using vanta::Mutex;
using vanta::MutexLock;

struct Imports {
  const vanta_host_late_import *first;
  size_t count;
};

struct OfferedImports {
  Mutex mutex;
  std::map<std::string, Imports> by_library VANTA_GUARDED_BY(mutex);
};

OfferedImports &TheOffers() {
  static OfferedImports *offers = new OfferedImports;
  return *offers;
}

// Beside this library, wherever that is; else where programs look. It stays loaded, as an import of the module would.
HMODULE Load(const std::string &name) {
  static const char own = 0;
  HMODULE self = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const wchar_t *>(&own), &self);
  const std::wstring file = vanta_host::FileOf(self);
  const std::wstring beside = file.substr(0, file.find_last_of(L"\\/") + 1) + vanta_host::WideFromUtf8(name);
  if (GetFileAttributesW(beside.c_str()) != INVALID_FILE_ATTRIBUTES)
    return LoadLibraryExW(beside.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  return LoadLibraryW(vanta_host::WideFromUtf8(name).c_str());
}

// All of them or none: the module calls whatever it finds bound.
std::string Bind(const std::string &name, const Imports &imports) {
  const HMODULE library = Load(name);
  if (!library) return name + " cannot be loaded (error " + std::to_string(GetLastError()) + ")";
  for (size_t i = 0; i < imports.count; ++i) {
    if (!GetProcAddress(library, imports.first[i].name)) return name + " lacks " + imports.first[i].name;
  }
  for (size_t i = 0; i < imports.count; ++i)
    *imports.first[i].slot = reinterpret_cast<void *>(GetProcAddress(library, imports.first[i].name));
  return {};
}

// A library that was not offered is bound already: the module imports it as usual.
std::string ObstacleTo(const char *name) {
  OfferedImports &offers = TheOffers();
  MutexLock lock(offers.mutex);
  const auto found = offers.by_library.find(name);
  return found == offers.by_library.end() ? std::string() : Bind(found->first, found->second);
}

}  // namespace

namespace vanta_host {

// The engine's results are the runner's records.
std::string ObstacleToEngine() {
  const std::string runner = ObstacleToRunner();
  return runner.empty() ? ObstacleTo("Lumivex.dll") : runner;
}

std::string ObstacleToRunner() {
  return ObstacleTo("tessera.dll");
}

bool EngineFindsItsData() {
  return true;
}

}  // namespace vanta_host

void vanta_host_offer_late_imports(const char *library, const vanta_host_late_import *imports, size_t count) {
  OfferedImports &offers = TheOffers();
  MutexLock lock(offers.mutex);
  offers.by_library[library] = {imports, count};
}

void vanta_host_withdraw_late_imports(const char *library) {
  OfferedImports &offers = TheOffers();
  MutexLock lock(offers.mutex);
  offers.by_library.erase(library);
}
