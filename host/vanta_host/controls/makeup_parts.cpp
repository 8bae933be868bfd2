#include "controls/makeup_parts.h"

#include <cctype>

#include <lumivex/lumivex_values.h>

namespace vanta_host {
namespace {

constexpr std::array<MakeupPart, kMakeupPartCount> kParts = {{
    {"lips",
     "beauty_lips_color",
     "beauty_lips_strength",
     "lips_color",
     "lips_intensity",
     {{{"b02840", "red"}, {"c85a6e", "rose"}, {"e0644a", "coral"}, {"7a1f3d", "berry"}, {"b0766a", "beige"}}}},
    {"blush",
     "beauty_blush_color",
     "beauty_blush_strength",
     "blush_color",
     "blush_intensity",
     {{{"e08a90", "rose"}, {"f0a080", "peach"}, {"e0644a", "coral"}, {"c05070", "berry"}, {"b07858", "brown"}}}},
    {"shadow",
     "beauty_shadow_color",
     "beauty_shadow_strength",
     "shadow_color",
     "shadow_intensity",
     {{{"7a5238", "brown"}, {"6a3a5a", "plum"}, {"606068", "gray"}, {"3a4a7a", "blue"}, {"c09a50", "gold"}}}},
    {"liner",
     "beauty_liner_color",
     "beauty_liner_strength",
     "liner_color",
     "liner_intensity",
     {{{"1a1414", "black"}, {"4a2f22", "brown"}, {"404048", "gray"}, {"202a50", "blue"}, {"4a2040", "plum"}}}},
    {"brows",
     "beauty_brows_color",
     "beauty_brows_strength",
     "brows_color",
     "brows_intensity",
     {{{"2a2220", "black"}, {"5a3a28", "brown"}, {"8a6844", "light_brown"}, {"606068", "gray"}, {"7a3a20", "auburn"}}}},
}};

constexpr bool NamesMatchTheEngines() {
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    if (lumivex::kMakeupParts[i].name != kParts[i].name) return false;
  }
  return lumivex::kMakeupParts.size() == kMakeupPartCount;
}
static_assert(NamesMatchTheEngines());

}  // namespace

const std::array<MakeupPart, kMakeupPartCount> &MakeupParts() {
  return kParts;
}

size_t FindMakeupPart(std::string_view name) {
  size_t index = 0;
  while (index < kMakeupPartCount && kParts[index].name != name) ++index;
  return index;
}

std::string ColorDigits(std::string_view text) {
  std::string digits(text);
  for (char &digit : digits) digit = static_cast<char>(std::tolower(static_cast<unsigned char>(digit)));
  const bool color = digits.size() == 6 && digits.find_first_not_of("0123456789abcdef") == std::string::npos;
  return color ? digits : std::string();
}

}  // namespace vanta_host
