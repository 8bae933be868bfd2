// The parts of a face that makeup can colour without a folder, and the colours that the page offers for each.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace vanta_host {

// A host cannot refresh a page whose colour dialog is open, so the beauty page has lists and no colour pickers.
struct MakeupShade {
  const char *rgb;   // six hexadecimal digits
  const char *name;  // "Color.<name>" is the key of its text
};

struct MakeupPart {
  const char *name;              // the engine's key; "Makeup.<name>" is the key of its text
  const char *color_setting;     // in a filter's settings
  const char *strength_setting;  // in a filter's settings, per cent
  const char *color_name;        // in requests
  const char *strength_name;     // in requests
  std::array<MakeupShade, 5> shades;
};

inline constexpr size_t kMakeupPartCount = 5;

// In the order of the page.
const std::array<MakeupPart, kMakeupPartCount> &MakeupParts();
// Its place in the table; kMakeupPartCount for a name that none has.
size_t FindMakeupPart(std::string_view name);
// Six hexadecimal digits in small letters; empty where `text` is no colour.
std::string ColorDigits(std::string_view text);

}  // namespace vanta_host
