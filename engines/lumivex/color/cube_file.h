// Reads three-dimensional colour tables in the .cube text format (its version 1.0 of 2013).
#pragma once

#include <string>
#include <string_view>

#include "color/lookup_table.h"

namespace lumivex {

LookupFile ReadCubeFile(const std::string &path);
LookupFile ParseCube(std::string_view text);

}  // namespace lumivex
