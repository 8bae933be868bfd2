#include "platform/wide_path_win32.h"

#include "vanta_base/utf16.h"

namespace vanta_host {
namespace {

constexpr size_t kLongestPath = 32768;  // characters, of any path

}  // namespace

std::wstring WideFromUtf8(const std::string &utf8) {
  const std::u16string units = vanta::Utf16FromUtf8(utf8, utf8.size());
  return {units.begin(), units.end()};
}

std::string Utf8FromWide(const std::wstring &wide) {
  return vanta::Utf8FromUtf16(std::u16string(wide.begin(), wide.end()));
}

std::wstring FileOf(HMODULE library) {
  std::wstring path(kLongestPath, L'\0');
  path.resize(GetModuleFileNameW(library, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

}  // namespace vanta_host
