#include "platform/data_folder.h"

#include <util/base.h>

#include <atomic>
#include <filesystem>
#include <system_error>

#include "vanta_base/installed_folder_win32.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {

std::string DataFolder(const std::string &given) {
  std::error_code ignored;
  if (!given.empty() && std::filesystem::is_directory(vanta::PathFromUtf8(given), ignored)) return given;
  const std::string installed = vanta::Utf8FromPath(vanta::InstalledFolder("faceless_builtin"));
  static std::atomic<bool> logged{false};
  const bool first = !logged.exchange(true);
  if (installed.empty()) {
    if (first)
      blog(LOG_WARNING,
           "[lumivex] no data folder: '%s' is not there, nor a faceless_builtin near Lumivex.dll; unpack it again",
           given.c_str());
    return given;
  }
  if (first) blog(LOG_INFO, "[lumivex] data folder: '%s' is not there, taken is %s", given.c_str(), installed.c_str());
  return installed;
}

}  // namespace lumivex
