// The module as libobs knows it: its texts and its folders.
#pragma once

#include <string>

#include "module/resource_folders.h"

namespace vanta_host {

// In the host's language; the key itself where there is no text. Valid until the language changes.
const char *Text(const char *key);
inline const char *Text(const std::string &key) {
  return Text(key.c_str());
}
// `text` with its "%1", "%2" replaced.
std::string Filled(std::string text, const std::string &first, const std::string &second = {});

ResourceFolders ModuleFolders();
// Of the data folder; empty where there is no such file.
std::string ModuleFile(const char *name);

}  // namespace vanta_host
