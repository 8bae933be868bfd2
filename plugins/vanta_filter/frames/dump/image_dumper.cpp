#include "frames/dump/image_dumper.h"

#include <libyuv/convert_argb.h>
#include <libyuv/convert_from.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "frames/dump/dump_files.h"
#include "platform/files.h"
#include "vanta_base/utf16.h"

namespace vanta {

namespace {

constexpr size_t kMostPathUnits = 259;
constexpr size_t kMostNameUnits = 120;
constexpr uint64_t kMostBytes = std::numeric_limits<int32_t>::max();  // libyuv's own limit

std::u16string Ascii(const std::string &text) {
  return std::u16string(text.begin(), text.end());
}

uint64_t Bytes32(uint32_t width, uint32_t height) {
  const uint64_t pixels = static_cast<uint64_t>(width) * height;
  return pixels > kMostBytes ? kMostBytes + 1 : pixels * 4;
}

// Rows of Y and of half U and half V.
uint64_t YuvBytes(const uint32_t strides[3], uint32_t height) {
  const uint64_t row = strides[0] + (uint64_t{strides[1]} + strides[2] + 1) / 2;
  return height != 0 && row > kMostBytes / height ? kMostBytes + 1 : row * height;
}

}  // namespace

std::u16string ImageDumper::Extension(uint32_t mode) {
  return mode == kYuv ? u".yuv" : mode == kBmp ? u".bmp" : u".dump";
}

void ImageDumper::SetDirectory(const std::string &path) {
  directory = Utf16FromUtf8(path, kMostPathUnits);
  std::replace(directory.begin(), directory.end(), u'/', u'\\');
  EnsureFolder(NativePath(Utf8FromUtf16(directory)));
}

bool ImageDumper::Reserve(uint64_t size) {
  if (size > kMostBytes) return false;
  if (size > buffer_size) {
    buffer = std::make_unique<uint8_t[]>(static_cast<size_t>(size));
    buffer_size = static_cast<uint32_t>(size);
  }
  return true;
}

void ImageDumper::CaptureI420(const uint8_t *const planes[3], const uint32_t plane_strides[3], uint32_t picture_width,
                              uint32_t picture_height) {
  width = picture_width;
  height = picture_height;
  kept_ = planes[0] && planes[1] && planes[2] && KeepI420(planes, plane_strides);
}

bool ImageDumper::KeepI420(const uint8_t *const planes[3], const uint32_t plane_strides[3]) {
  if (mode == kBmp) {
    if (!Reserve(Bytes32(width, height))) return false;
    libyuv::I420ToARGB(planes[0], static_cast<int>(plane_strides[0]), planes[1], static_cast<int>(plane_strides[1]),
                       planes[2], static_cast<int>(plane_strides[2]), buffer.get(), static_cast<int>(width * 4),
                       static_cast<int>(width), static_cast<int>(height));
    return true;
  }
  if (mode != kYuv || !Reserve(YuvBytes(plane_strides, height))) return false;
  uint8_t *out = buffer.get();
  for (int i = 0; i < 3; ++i) {
    strides[i] = plane_strides[i];
    const size_t size = static_cast<size_t>(strides[i]) * height / (i == 0 ? 1 : 2);
    if (size > 0) std::memcpy(out, planes[i], size);
    out += size;
  }
  return true;
}

void ImageDumper::CaptureRGBA(const uint8_t *pixels, uint32_t picture_width, uint32_t picture_height) {
  width = picture_width;
  height = picture_height;
  kept_ = mode == kBmp && pixels && KeepRGBA(pixels);
}

bool ImageDumper::KeepRGBA(const uint8_t *pixels) {
  const uint64_t size = Bytes32(width, height);
  if (!Reserve(size)) return false;
  if (size > 0) std::memcpy(buffer.get(), pixels, static_cast<size_t>(size));
  return true;
}

bool ImageDumper::Save(const std::string &name) const {
  return Write(directory + u"\\" + Utf16FromUtf8(name, kMostNameUnits) + Extension(mode));
}

bool ImageDumper::SaveIndexed(const std::string &name, int32_t index) const {
  return Write(directory + u"\\dump_" + Ascii(std::to_string(index)) + u"_" + Utf16FromUtf8(name, kMostNameUnits) +
               Extension(mode));
}

bool ImageDumper::Write(const std::u16string &path) const {
  if (!kept_) return false;
  // Never between the halves of a pair: the name would end in half a character.
  const bool in_pair = path.size() > kMostPathUnits && (path[kMostPathUnits] & 0xFC00) == 0xDC00 &&
                       (path[kMostPathUnits - 1] & 0xFC00) == 0xD800;
  const std::u16string cut = path.substr(0, kMostPathUnits - (in_pair ? 1 : 0));
  if (mode == kBmp) return Bytes32(width, height) <= buffer_size && WriteBmp32(buffer.get(), width, height, cut);
  if (mode == kYuv) return YuvBytes(strides, height) <= buffer_size && WriteYuv(buffer.get(), strides, height, cut);
  return false;
}

}  // namespace vanta
