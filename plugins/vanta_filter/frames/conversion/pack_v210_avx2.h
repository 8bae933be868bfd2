// The vector part of V210 packing.
#pragma once

#include <cstdint>

namespace vanta {

// Packs groups of six pixels from the row's start into 16 bytes each and returns how many it has packed; the last few
// are the caller's, since a vector loads more than it uses. Nothing past `groups` groups is read. Only where the
// processor has AVX2. Built for another kind of processor it packs none.
uint32_t PackV210GroupsAvx2(const uint8_t *y, const uint8_t *u, const uint8_t *v, uint32_t groups, uint8_t *out);

}  // namespace vanta
