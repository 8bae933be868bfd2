#include "vanta_base/installed_folder_win32.h"

#include <windows.h>

#include <system_error>

namespace vanta {
namespace {

constexpr size_t kLongestPath = 32767;  // the system's own limit, units
constexpr int kFolders = 4;             // from bin/64bit, or a folder in obs-plugins/64bit, up to OBS Studio's own

const char here = 0;  // an address in this DLL

}  // namespace

std::filesystem::path OwnFolder() {
  HMODULE module = nullptr;
  constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(kFlags, reinterpret_cast<LPCWSTR>(&here), &module)) return {};
  std::wstring file(kLongestPath, L'\0');
  file.resize(GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size())));
  return std::filesystem::path(file).parent_path();
}

std::filesystem::path InstalledFolder(const std::string &name) {
  std::filesystem::path above = OwnFolder();
  for (int i = 0; i < kFolders; ++i, above = above.parent_path()) {
    for (const std::filesystem::path &place : {above / name, above / "data/obs-plugins/vanta_filter" / name}) {
      std::error_code ignored;
      if (std::filesystem::is_directory(place, ignored)) return place;
    }
  }
  return {};
}

}  // namespace vanta
