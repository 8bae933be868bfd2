#include "faces.h"

#include <algorithm>

namespace lumivex {

std::optional<FaceAnchor> FindFaceAnchor(std::string_view name) {
  const auto found = std::find(kFaceAnchorNames.begin(), kFaceAnchorNames.end(), name);
  if (found == kFaceAnchorNames.end()) return std::nullopt;
  return static_cast<FaceAnchor>(found - kFaceAnchorNames.begin());
}

}  // namespace lumivex
