// Text for records that hold UTF-16.
#pragma once

#include <cstddef>
#include <string>

namespace vanta_host {

// From UTF-8, cut to `size` units with its terminator, between characters. Text that is not UTF-8 gives the empty one.
void CopyUtf16(const std::string &text, char16_t *out, size_t size);

}  // namespace vanta_host
