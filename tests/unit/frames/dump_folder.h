// A folder of one test's own for dump files, under a name that no single code page holds, and their bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "frames/utf16.h"

namespace vanta_test {

using Bytes = std::vector<uint8_t>;

inline Bytes Ramp(size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), uint8_t{1});
  return bytes;
}

inline Bytes operator+(Bytes left, const Bytes &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline std::string Utf8(const std::filesystem::path &path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

inline std::filesystem::path Path(const std::string &utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

// As the writers of whole dumps take it.
inline std::u16string Wide(const std::filesystem::path &path) {
  return vanta::Utf16FromUtf8(Utf8(path), 1000);
}

inline Bytes Content(const std::filesystem::path &path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  Bytes bytes(error ? 0 : static_cast<size_t>(size));
  std::ifstream(path, std::ios::binary).read(reinterpret_cast<char *>(bytes.data()), static_cast<long>(bytes.size()));
  return bytes;
}

class DumpFolder : public testing::Test {
 protected:
  DumpFolder() { std::filesystem::create_directories(root_); }
  ~DumpFolder() override { std::filesystem::remove_all(root_); }

  const std::filesystem::path root_ =
      std::filesystem::temp_directory_path() / Path("dump \u7f8e " + std::to_string(std::random_device()()));
};

}  // namespace vanta_test
