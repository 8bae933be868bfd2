// The export and import tables of a DLL file, as names.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace vanta_test {

struct PeTables {
  std::set<std::string> exports;
  std::map<std::string, std::set<std::string>> imports;  // by DLL, in lower case; imports by number are left out
};

// Of a 64-bit DLL; fails the test on any other file.
PeTables ReadTables(const std::filesystem::path &file);

}  // namespace vanta_test
