#include "textures/utf16.h"

#include <algorithm>

#include <util/platform.h>

#include "vanta_base/utf16.h"

namespace vanta_host {

void CopyUtf16(const std::string &text, char16_t *out, size_t size) {
  if (size == 0) return;
  std::u16string units;
  if (os_utf8_to_wcs(text.c_str(), text.size(), nullptr, 0) != 0) units = vanta::Utf16FromUtf8(text, size - 1);
  *std::copy(units.begin(), units.end(), out) = 0;
}

}  // namespace vanta_host
