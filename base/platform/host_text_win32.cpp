#include <windows.h>

#include <limits>

#include "vanta_base/host_text.h"

namespace vanta {
namespace {

// Empty when the text is none of that code page.
std::wstring Wide(const std::string &text, UINT code_page, DWORD flags) {
  const int size = static_cast<int>(text.size());
  const int count = MultiByteToWideChar(code_page, flags, text.data(), size, nullptr, 0);
  if (count <= 0) return {};
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(code_page, flags, text.data(), size, wide.data(), count);
  return wide;
}

}  // namespace

std::string Utf8FromHostText(const std::string &text) {
  if (text.empty() || text.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return text;
  if (!Wide(text, CP_UTF8, MB_ERR_INVALID_CHARS).empty()) return text;
  const std::wstring wide = Wide(text, CP_ACP, 0);
  const int units = static_cast<int>(wide.size());
  const int count = WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  if (count <= 0) return {};
  std::string utf8(static_cast<size_t>(count), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), count, nullptr, nullptr);
  return utf8;
}

}  // namespace vanta
