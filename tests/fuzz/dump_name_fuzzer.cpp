// Folders and names of dumped pictures from anywhere: a zero byte ends the folder, another the name; the first four
// bytes are the index. No file is made: what would be written, and where, is looked at.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "frames/dump/dump_files.h"
#include "frames/dump/image_dumper.h"
#include "platform/files.h"
#include "require.h"
#include "vanta_base/utf16.h"

namespace {

constexpr size_t kMostPathUnits = 259;

std::u16string g_path;  // of the last file

bool Take(const std::u16string &path) {
  g_path = path;
  return true;
}

// Below the dumper's folder, no longer than systems allow, and a text that comes back from UTF-8 as it was.
void RequirePath(const vanta::ImageDumper &dumper, const std::u16string &begins) {
  Require(!g_path.empty() && g_path.size() <= kMostPathUnits, "a path of another length");
  const std::u16string start = (dumper.directory + u"\\" + begins).substr(0, g_path.size());
  Require(g_path.compare(0, start.size(), start) == 0, "a file of another folder");
  const std::string utf8 = vanta::Utf8FromUtf16(g_path);
  Require(vanta::Utf16FromUtf8(utf8, g_path.size()) == g_path, "half a character at the end of a name");
}

}  // namespace

namespace vanta {

bool WriteBmp32(const uint8_t *, uint32_t, uint32_t, const std::u16string &path) {
  return Take(path);
}
bool WriteYuv(const uint8_t *, const uint32_t *, uint32_t, const std::u16string &path) {
  return Take(path);
}
void WriteBmp24(const std::string &, const uint8_t *, int32_t, int32_t, int32_t) {}
void WriteBmpV4(const std::string &, const uint8_t *, int32_t, int32_t) {}

std::string NativePath(std::string host_path) {
  return host_path;
}
bool EnsureFolder(const std::string &) {
  return true;
}

}  // namespace vanta

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 5) return 0;
  int32_t index = 0;
  std::memcpy(&index, data, sizeof(index));
  const std::string text(reinterpret_cast<const char *>(data) + 5, size - 5);
  const size_t end = std::min(text.find('\0'), text.size());
  const std::string name = text.substr(std::min(end + 1, text.size()));
  vanta::ImageDumper dumper;
  dumper.mode = data[4] % 2 ? vanta::ImageDumper::kBmp : vanta::ImageDumper::kYuv;
  dumper.SetDirectory(text.substr(0, end));
  Require(dumper.directory.size() <= kMostPathUnits, "a folder of another length");
  Require(dumper.Save(name), "a picture that is not saved");
  RequirePath(dumper, u"");
  Require(dumper.SaveIndexed(name, index), "a picture that is not saved");
  RequirePath(dumper, u"dump_");
  return 0;
}
