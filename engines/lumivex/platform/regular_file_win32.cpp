#include <fstream>
#include <system_error>

#include "platform/regular_file.h"

namespace lumivex {

// Pipes have names of their own here (\\.\pipe\...), which are no regular files
// to the file system.
FileContent ReadRegularFile(const std::filesystem::path &file, uintmax_t most) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) return {FileFault::kUnreadable, {}};
  if (!std::filesystem::is_regular_file(status)) return {FileFault::kNoRegularFile, {}};
  const uintmax_t size = std::filesystem::file_size(file, error);
  if (error) return {FileFault::kUnreadable, {}};
  if (size > most) return {FileFault::kTooLong, {}};
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return {FileFault::kUnreadable, {}};
  FileContent content;
  content.bytes.resize(static_cast<size_t>(size));
  stream.read(reinterpret_cast<char *>(content.bytes.data()), static_cast<std::streamsize>(content.bytes.size()));
  content.bytes.resize(static_cast<size_t>(stream.gcount()));
  return content;
}

}  // namespace lumivex
