// Reads colour tables in the .cube text format ("Cube LUT Specification", version 1.0, 2013), three-dimensional ones.
#pragma once

#include <string>
#include <string_view>

#include "lookup_table.h"

namespace lumivex {

LookupFile ReadCubeFile(const std::string &path);
LookupFile ParseCube(std::string_view text);

}  // namespace lumivex
