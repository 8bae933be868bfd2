// Reads colour tables that are stored as square pictures.
#pragma once

#include <string>

#include "color/lookup_table.h"

namespace lumivex {

// The picture has t by t tiles of t*t by t*t pixels (t = 8: 512 pixels a side, 64 entries per axis). Within a tile red
// grows to the right and green downwards; blue grows from tile to tile, row after row.
LookupFile ReadLookupPicture(const std::string &path);

}  // namespace lumivex
