// Writes pictures as BMP and raw YUV files. Whether everything could be written is not told, only whether the file
// could be made.
#pragma once

#include <cstdint>
#include <string>

namespace vanta {

// Paths in UTF-16 with back slashes. Sizes in pixels, strides in bytes.
// Four bytes a pixel, top-down. The header's file size counts the pixels alone: readers of these files know it so.
bool WriteBmp32(const uint8_t *pixels, uint32_t width, uint32_t height, const std::u16string &path);
// Y, U and V back to back from `buffer`, chroma of height / 2 rows, without a header.
bool WriteYuv(const uint8_t *buffer, const uint32_t strides[3], uint32_t height, const std::u16string &path);

// Paths in UTF-8. A file that cannot be made is told on standard error.
// Bottom-up, 24 bits, from pixels of at least three channels that begin with red, green, blue. The rows of the file are
// as long as `channels` ask for, the rest of each zero.
void WriteBmp24(const std::string &path, const uint8_t *pixels, int32_t width, int32_t height, int32_t channels);
// Bottom-up, 32 bits with alpha, from RGBA, as the masks of the V4 header say.
void WriteBmpV4(const std::string &path, const uint8_t *pixels, int32_t width, int32_t height);

}  // namespace vanta
