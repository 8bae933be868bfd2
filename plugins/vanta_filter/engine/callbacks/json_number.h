// Whole numbers out of messages that others write.
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

namespace vanta {

// Fractions are cut off, what is out of range stops at the type's end. Throws nlohmann's type_error for anything but a
// number.
inline int64_t ReadWholeNumber(const nlohmann::json &value) {
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  if (value.is_number_unsigned() && value.get<uint64_t>() > static_cast<uint64_t>(kMax)) return kMax;
  if (value.is_number_float()) {
    // 2^63 is a double, kMax is not; the cast of anything beyond is undefined.
    constexpr double kTwoTo63 = 9223372036854775808.0;
    const auto number = value.get<double>();
    if (number >= kTwoTo63) return kMax;
    if (number < -kTwoTo63) return kMin;
  }
  return value.get<int64_t>();
}

}  // namespace vanta
