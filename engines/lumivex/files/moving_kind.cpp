#include "files/moving_kind.h"

#include <algorithm>
#include <string_view>

namespace lumivex {
namespace {

constexpr std::string_view kPngSignature = "\x89PNG\r\n\x1A\n";
constexpr std::string_view kWebmSignature = "\x1A\x45\xDF\xA3";
constexpr uint8_t kWebpAnimation = 0x02;  // among the flags of VP8X (RFC 9649)

bool Says(std::span<const uint8_t> file, size_t at, std::string_view text) {
  return file.size() >= at + text.size() &&
         std::equal(text.begin(), text.end(), file.begin() + static_cast<ptrdiff_t>(at),
                    [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

// Animation control comes before the first picture's data.
bool IsAnimatedPng(std::span<const uint8_t> file) {
  size_t at = kPngSignature.size();
  while (at + 12 <= file.size()) {
    if (Says(file, at + 4, "acTL")) return true;
    if (Says(file, at + 4, "IDAT")) return false;
    const size_t length =
        size_t{file[at]} << 24 | size_t{file[at + 1]} << 16 | size_t{file[at + 2]} << 8 | size_t{file[at + 3]};
    at += 12 + length;
  }
  return false;
}

}  // namespace

MovingKind MovingKindOf(std::span<const uint8_t> file) {
  if (Says(file, 0, kPngSignature)) return IsAnimatedPng(file) ? MovingKind::kPng : MovingKind::kNone;
  if (Says(file, 0, "RIFF") && Says(file, 8, "WEBPVP8X")) {
    const bool animated = file.size() > 20 && (file[20] & kWebpAnimation) != 0;
    return animated ? MovingKind::kWebp : MovingKind::kNone;
  }
  if (Says(file, 0, "GIF87a") || Says(file, 0, "GIF89a")) return MovingKind::kGif;
  if (Says(file, 4, "ftyp")) return MovingKind::kMp4;
  if (Says(file, 0, kWebmSignature)) return MovingKind::kWebm;
  return MovingKind::kNone;
}

}  // namespace lumivex
