// The beauty filter's values as users meet them: whole per cents, one table for pages, looks and commands.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vanta_host {

enum class ValueKind { kBeauty, kDeform, kBody };

struct BeautyValue {
  const char *setting;  // key in a filter's settings
  const char *name;     // in looks and requests; "Value.<name>" is the key of its text
  ValueKind kind;
  int32_t type;          // beauty type, deform mode or body slimming type
  int minimum, maximum;  // per cent
  int initial;           // per cent: what an engine starts with
};

inline constexpr size_t kValueCount = 31;

// In the order of the page.
const std::array<BeautyValue, kValueCount> &BeautyValues();
// Where the values of a kind begin in the table: each kind stands together.
size_t FirstValue(ValueKind kind);
// Its place in the table; kValueCount for a name that none has.
size_t FindBeautyValue(std::string_view name);

}  // namespace vanta_host
