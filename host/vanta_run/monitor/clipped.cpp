#include "monitor/clipped.h"

namespace vanta_run {

std::string Clipped(const std::string &text, size_t columns) {
  size_t characters = 0, end = 0;
  while (end < text.size()) {
    const bool starts = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    if (starts && ++characters > columns) break;
    ++end;
  }
  return text.substr(0, end);
}

}  // namespace vanta_run
