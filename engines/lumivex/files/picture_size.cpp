#include "files/picture_size.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace lumivex {
namespace {

constexpr std::array<uint8_t, 8> kPngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr size_t kPngSizeAt = 16;  // behind the signature and the head of the first chunk
constexpr std::array<uint8_t, 8> kPngHead = {0, 0, 0, 13, 'I', 'H', 'D', 'R'};

// A progressive JPEG has about ten, and decoders go over the whole picture for each, however short it is.
constexpr size_t kMostScans = 256;

int64_t BigEndian(std::span<const uint8_t> file, size_t at, size_t count) {
  int64_t value = 0;
  for (size_t i = 0; i < count; ++i) value = value << 8 | file[at + i];
  return value;
}

std::optional<PictureSize> ReadPng(std::span<const uint8_t> file) {
  if (file.size() < kPngSizeAt + 8) return std::nullopt;
  // libpng passes over a chunk that it does not know, whatever stands in it.
  if (!std::equal(kPngHead.begin(), kPngHead.end(), file.begin() + kPngSignature.size())) return std::nullopt;
  return PictureSize{BigEndian(file, kPngSizeAt, 4), BigEndian(file, kPngSizeAt + 4, 4)};
}

bool IsFrameHeader(uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// In what is coded 0xFF never stands before this marker's number.
bool HasTooManyScans(std::span<const uint8_t> file) {
  size_t scans = 0;
  for (size_t at = 0; at + 1 < file.size(); ++at) {
    if (file[at] == 0xFF && file[at + 1] == 0xDA && ++scans > kMostScans) return true;
  }
  return false;
}

// It stands alone, without a length. A zero is no marker: decoders look for the next one behind it.
bool HasNoLength(uint8_t marker) {
  return marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD9);
}

std::optional<PictureSize> ReadJpeg(std::span<const uint8_t> file) {
  size_t at = 2;
  while (at + 9 <= file.size()) {
    if (file[at] != 0xFF) return std::nullopt;
    const uint8_t marker = file[at + 1];
    if (marker == 0xFF) {  // a fill byte
      ++at;
      continue;
    }
    if (IsFrameHeader(marker)) {
      if (HasTooManyScans(file.subspan(at))) return std::nullopt;
      return PictureSize{BigEndian(file, at + 7, 2), BigEndian(file, at + 5, 2)};
    }
    if (marker == 0xDA || HasNoLength(marker)) return std::nullopt;
    at += 2 + static_cast<size_t>(BigEndian(file, at + 2, 2));
  }
  return std::nullopt;
}

int64_t LittleEndian(std::span<const uint8_t> file, size_t at, size_t count) {
  int64_t value = 0;
  for (size_t i = count; i-- > 0;) value = value << 8 | file[at + i];
  return value;
}

bool Says(std::span<const uint8_t> file, size_t at, std::string_view text) {
  return file.size() >= at + text.size() &&
         std::equal(text.begin(), text.end(), file.begin() + static_cast<ptrdiff_t>(at),
                    [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

// The first chunk of a WebP file is one of three kinds (RFC 9649).
std::optional<PictureSize> ReadWebp(std::span<const uint8_t> file) {
  if (file.size() < 30) return std::nullopt;
  if (Says(file, 12, "VP8X")) return PictureSize{LittleEndian(file, 24, 3) + 1, LittleEndian(file, 27, 3) + 1};
  if (Says(file, 12, "VP8L")) {
    if (file[20] != 0x2F) return std::nullopt;
    const int64_t bits = LittleEndian(file, 21, 4);
    return PictureSize{(bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1};
  }
  if (!Says(file, 12, "VP8 ") || !Says(file, 23, "\x9D\x01\x2A")) return std::nullopt;
  return PictureSize{LittleEndian(file, 26, 2) & 0x3FFF, LittleEndian(file, 28, 2) & 0x3FFF};
}

}  // namespace

std::optional<PictureSize> ReadPictureSize(std::span<const uint8_t> file) {
  if (file.size() >= kPngSignature.size() && std::equal(kPngSignature.begin(), kPngSignature.end(), file.begin()))
    return ReadPng(file);
  if (file.size() >= 2 && file[0] == 0xFF && file[1] == 0xD8) return ReadJpeg(file);
  if (Says(file, 0, "RIFF") && Says(file, 8, "WEBP")) return ReadWebp(file);
  return std::nullopt;
}

}  // namespace lumivex
