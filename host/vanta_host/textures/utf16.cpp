#include "textures/utf16.h"

#include <cstdint>

#include <util/platform.h>

namespace vanta_host {

void CopyUtf16(const std::string &text, char16_t *out, size_t size) {
  if (size == 0) return;
  // Here a wide character is a whole one.
  static_assert(sizeof(wchar_t) == 4);
  std::wstring wide(text.size() + 1, L'\0');
  wide.resize(os_utf8_to_wcs(text.c_str(), text.size(), wide.data(), wide.size()));
  size_t used = 0;
  for (const wchar_t next : wide) {
    const auto character = static_cast<uint32_t>(next);
    const size_t units = character > 0xFFFF ? 2 : 1;
    if (used + units >= size) break;
    if (units == 2) {
      out[used++] = static_cast<char16_t>(0xD7C0 + (character >> 10));
      out[used++] = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    } else {
      out[used++] = static_cast<char16_t>(character);
    }
  }
  out[used] = 0;
}

}  // namespace vanta_host
