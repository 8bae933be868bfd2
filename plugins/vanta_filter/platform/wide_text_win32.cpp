#include "platform/wide_text_win32.h"

#include <windows.h>

namespace vanta {

std::wstring WideFromUtf8(const std::string &utf8) {
  const int size = static_cast<int>(utf8.size());
  const int count = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
  if (count <= 0) return {};
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), count);
  return wide;
}

}  // namespace vanta
