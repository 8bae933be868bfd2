#include "frames/dump/dump_files.h"

#include <cstdio>
#include <vector>

#include "platform/files.h"
#include "vanta_base/utf16.h"

namespace vanta {

namespace {

constexpr uint32_t kFileHeaderBytes = 14;
constexpr uint32_t kInfoHeaderBytes = 40;
constexpr uint32_t kV4HeaderBytes = 108;
constexpr uint32_t kPixelsPerMetre = 2834;
constexpr uint32_t kBitFields = 3;

class Header {
 public:
  void Put16(uint32_t value) {
    bytes_.push_back(static_cast<uint8_t>(value));
    bytes_.push_back(static_cast<uint8_t>(value >> 8));
  }
  void Put32(uint32_t value) {
    Put16(value);
    Put16(value >> 16);
  }
  void PutText(const char *text) {
    while (*text) bytes_.push_back(static_cast<uint8_t>(*text++));
  }
  void PadTo(size_t size) { bytes_.resize(size); }
  void WriteTo(OutputFile &file) const { file.Write(bytes_.data(), bytes_.size()); }

 private:
  std::vector<uint8_t> bytes_;
};

// What every kind begins with. `height` is negative where the rows go from the top down.
Header BeginHeader(uint32_t file_size, uint32_t info_bytes, uint32_t width, uint32_t height, uint32_t bits,
                   uint32_t compression, uint32_t image_size) {
  Header header;
  header.PutText("BM");
  header.Put32(file_size);
  header.Put32(0);
  header.Put32(kFileHeaderBytes + info_bytes);
  header.Put32(info_bytes);
  header.Put32(width);
  header.Put32(height);
  header.Put16(1);
  header.Put16(bits);
  header.Put32(compression);
  header.Put32(image_size);
  return header;
}

bool Create(OutputFile &file, const std::u16string &path) {
  return file.Create(NativePath(Utf8FromUtf16(path)));
}

bool CreateOrTell(OutputFile &file, const std::string &path) {
  if (file.Create(path)) return true;
  std::fputs("无法创建文件\n", stderr);
  return false;
}

}  // namespace

bool WriteBmp32(const uint8_t *pixels, uint32_t width, uint32_t height, const std::u16string &path) {
  OutputFile file;
  if (!Create(file, path)) return false;
  const uint32_t size = width * height * 4;
  Header header = BeginHeader(size, kInfoHeaderBytes, width, 0 - height, 32, 0, size);
  header.Put32(kPixelsPerMetre);
  header.Put32(kPixelsPerMetre);
  header.PadTo(kFileHeaderBytes + kInfoHeaderBytes);
  header.WriteTo(file);
  if (pixels) file.Write(pixels, size);
  return true;
}

bool WriteYuv(const uint8_t *buffer, const uint32_t strides[3], uint32_t height, const std::u16string &path) {
  OutputFile file;
  if (!Create(file, path)) return false;
  if (!buffer) return true;
  const size_t luma = static_cast<size_t>(strides[0]) * height;
  const size_t u = static_cast<size_t>(strides[1]) * height / 2;
  file.Write(buffer, luma);
  file.Write(buffer + luma, u);
  file.Write(buffer + luma + u, static_cast<size_t>(strides[2]) * height / 2);
  return true;
}

void WriteBmp24(const std::string &path, const uint8_t *pixels, int32_t width, int32_t height, int32_t channels) {
  if (!pixels || width < 0 || height < 0 || channels < 3) return;
  OutputFile file;
  if (!CreateOrTell(file, path)) return;
  const size_t source_row = static_cast<size_t>(channels) * static_cast<size_t>(width);
  std::vector<uint8_t> row((source_row + 3) / 4 * 4);
  const auto size = static_cast<uint32_t>(row.size() * static_cast<size_t>(height));
  constexpr uint32_t kHeaders = kFileHeaderBytes + kInfoHeaderBytes;
  Header header = BeginHeader(size + kHeaders, kInfoHeaderBytes, static_cast<uint32_t>(width),
                              static_cast<uint32_t>(height), 24, 0, size);
  header.PadTo(kHeaders);
  header.WriteTo(file);
  for (int32_t y = height - 1; y >= 0; --y) {
    const uint8_t *source = pixels + source_row * static_cast<size_t>(y);
    uint8_t *out = row.data();
    for (int32_t x = 0; x < width; ++x, source += channels) {
      *out++ = source[2];
      *out++ = source[1];
      *out++ = source[0];
    }
    file.Write(row.data(), row.size());
  }
}

void WriteBmpV4(const std::string &path, const uint8_t *pixels, int32_t width, int32_t height) {
  if (!pixels || width < 0 || height < 0) return;
  OutputFile file;
  if (!CreateOrTell(file, path)) return;
  const size_t row = static_cast<size_t>(width) * 4;
  const auto size = static_cast<uint32_t>(row * static_cast<size_t>(height));
  constexpr uint32_t kHeaders = kFileHeaderBytes + kV4HeaderBytes;
  Header header = BeginHeader(size + kHeaders, kV4HeaderBytes, static_cast<uint32_t>(width),
                              static_cast<uint32_t>(height), 32, kBitFields, size);
  header.PadTo(kFileHeaderBytes + kInfoHeaderBytes);
  for (const uint32_t mask : {0x000000FFu, 0x0000FF00u, 0x00FF0000u, 0xFF000000u}) header.Put32(mask);
  header.PutText("BGRs");
  header.PadTo(kHeaders);
  header.WriteTo(file);
  for (int32_t y = height - 1; y >= 0; --y) file.Write(pixels + row * static_cast<size_t>(y), row);
}

}  // namespace vanta
