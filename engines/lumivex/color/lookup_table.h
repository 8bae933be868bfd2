// A three-dimensional colour table: RGB in, RGB out.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pixels/yuv_space.h"

namespace lumivex {

inline constexpr int kMaxLookupSide = 256;  // entries per axis

struct LookupTable {
  int side = 0;  // entries per axis, 2 or more
  Rgb domain_min = {0.0f, 0.0f, 0.0f};
  Rgb domain_max = {1.0f, 1.0f, 1.0f};
  std::vector<Rgb> entries;  // red changes fastest, blue slowest

  // Trilinear. Colours outside the domain give those at its edge.
  Rgb At(const Rgb &rgb) const;
};

struct LookupFile {
  std::shared_ptr<const LookupTable> table;  // null when the file is no good
  std::string reason;                        // then: what is wrong
  std::string remedy;                        // and what helps
};

// Reads a table of one of the types in lumivex_values.h.
LookupFile ReadLookup(const std::string &path, int32_t type);

}  // namespace lumivex
