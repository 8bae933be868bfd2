#include "obs/data_file.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "vanta_base/utf8_path.h"

namespace vanta {
namespace {

constexpr uintmax_t kMostBytes = uintmax_t{16} << 20;

}  // namespace

bool MayBeRead(const char *path) {
  std::error_code error;
  const std::filesystem::path file = PathFromUtf8(path);
  if (!std::filesystem::exists(file, error)) return true;
  if (!std::filesystem::is_regular_file(file, error)) return false;
  const uintmax_t bytes = std::filesystem::file_size(file, error);
  return !error && bytes <= kMostBytes;
}

}  // namespace vanta
