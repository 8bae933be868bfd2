// Text in UTF-16, in which the dump writers count the length of names, on every system.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vanta {

// At most `limit` units, no pair cut in two. Malformed bytes become U+FFFD.
std::u16string Utf16FromUtf8(std::string_view utf8, size_t limit);
// A unit without its other half becomes U+FFFD.
std::string Utf8FromUtf16(std::u16string_view text);

}  // namespace vanta
