#include "vanta_operations/values.h"

#include <cmath>
#include <cstring>

#include <lumivex/lumivex_values.h>

#include "vanta_operations/stages.h"

namespace vanta_operations {

bool ReadBool(const Json &value) {
  if (!value.is_boolean()) throw BadCommand("is neither true nor false");
  return value.get<bool>();
}

int32_t ReadInteger(const Json &value) {
  constexpr int64_t kLeast = std::numeric_limits<int32_t>::min(), kMost = std::numeric_limits<int32_t>::max();
  if (!value.is_number_integer()) throw BadCommand("is no whole number");
  const bool high = value.is_number_unsigned() && value.get<uint64_t>() > static_cast<uint64_t>(kMost);
  if (high || value.get<int64_t>() < kLeast) throw BadCommand("does not fit into 32 bits");
  return static_cast<int32_t>(value.get<int64_t>());
}

float ReadFloat(const Json &value) {
  if (!value.is_number()) throw BadCommand("is no number");
  const double number = value.get<double>();
  if (!(std::fabs(number) <= static_cast<double>(std::numeric_limits<float>::max()))) {
    throw BadCommand("is too large");
  }
  return static_cast<float>(number);
}

std::string ReadText(const Json &value) {
  if (!value.is_string()) throw BadCommand("is no text");
  std::string text = value.get<std::string>();
  if (text.find('\0') != std::string::npos) throw BadCommand("holds a zero character");
  return text;
}

void ReadText(const Json &value, char *target, size_t size) {
  const std::string text = ReadText(value);
  if (text.size() >= size) throw BadCommand("is longer than " + std::to_string(size - 1) + " bytes");
  std::memcpy(target, text.c_str(), text.size() + 1);
}

LXBeautyType ReadBeautyType(const Json &value) {
  if (!value.is_string()) return static_cast<LXBeautyType>(ReadInteger(value));
  const lumivex::BeautyTypeInfo *info = lumivex::FindBeautyType(ReadText(value));
  if (info == nullptr) throw BadCommand("names no intensity");
  return info->type;
}

LXEffectType ReadEffectType(const Json &value) {
  if (!value.is_string()) return static_cast<LXEffectType>(ReadInteger(value));
  const std::optional<LXEffectType> type = FindEffectType(ReadText(value));
  if (!type) throw BadCommand("names no effect");
  return *type;
}

}  // namespace vanta_operations
