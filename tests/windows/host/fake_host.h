// The part of a fake of the customised host that only its Windows DLL has: what public libobs gives elsewhere. Beside
// it stand the doubles of support/ (host extensions, graphics and source tree).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vanta_test::fake_host {

// Where obs_find_module_file and the locale tables look, in UTF-8; empty: nowhere.
void SetModuleFolder(const std::string &folder);
std::string ModuleFolder();

// The host's configuration folder, in UTF-8 with a separator at its end. "C:\config\" at first.
void SetConfigFolder(const std::string &folder);

struct ThreadName {
  uint32_t thread = 0;  // the system's id
  std::string name;
  bool operator==(const ThreadName &) const = default;
};
// Every name that a thread gave itself through the host, in order.
std::vector<ThreadName> ThreadNames();

long BlocksAlive();    // of bmalloc, not freed
long SettingsAlive();  // obs_data objects
long TablesAlive();    // locale tables

}  // namespace vanta_test::fake_host
