// A .cube file from anywhere: what is read is whole, finite, and as large as it says.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "color/cube_file.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const lumivex::LookupFile file = lumivex::ParseCube({reinterpret_cast<const char *>(data), size});
  Require((file.table == nullptr) != file.reason.empty(), "neither good nor bad");
  if (!file.table) return 0;
  const lumivex::LookupTable &table = *file.table;
  const auto side = static_cast<size_t>(table.side);
  Require(side >= 2 && table.entries.size() == side * side * side, "another size");
  for (const float value : {0.0f, 0.3f, 1.0f}) {
    for (const float part : table.At({value, 1.0f - value, value})) Require(std::isfinite(part), "a colour");
  }
  return 0;
}
