// How large a picture file says its picture is, known before any memory is
// taken for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace lumivex {

struct PictureSize {
  int64_t width = 0;  // pixels, as the file has it; 0 too
  int64_t height = 0;
};

// Empty for a file that is no PNG, JPEG or WebP picture, is cut off before its
// size, may hide another one from a decoder, or has more scans than a
// progressive JPEG needs. Threads: any.
std::optional<PictureSize> ReadPictureSize(std::span<const uint8_t> file);

}  // namespace lumivex
