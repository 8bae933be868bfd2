// Paths from texts in UTF-8, whatever the system takes a plain text for.
#pragma once

#include <filesystem>
#include <string>

namespace vanta {

inline std::filesystem::path PathFromUtf8(const std::string &utf8) {
  return std::u8string(utf8.begin(), utf8.end());
}

inline std::string Utf8FromPath(const std::filesystem::path &path) {
  const std::u8string utf8 = path.u8string();
  return {utf8.begin(), utf8.end()};
}

}  // namespace vanta
