// Keeps one captured picture and writes it as a file under the dump folder. A library: the live side writes no file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vanta {

// Owns: the captured picture. Threads: confined by the owner.
struct ImageDumper {
  enum Mode : uint32_t { kBmp = 1, kYuv = 2 };  // any other value: nothing is captured or written

  // UTF-8, with either slash. The folder is made if it is not there.
  void SetDirectory(const std::string &path);
  // Both keep the size alone of a picture without pixels or with more than 32 bits of bytes, and in a mode that is not
  // for them.
  void CaptureI420(const uint8_t *const planes[3], const uint32_t plane_strides[3], uint32_t picture_width,
                   uint32_t picture_height);
  void CaptureRGBA(const uint8_t *pixels, uint32_t picture_width, uint32_t picture_height);
  // "directory\name.bmp" or ".yuv", "directory\dump_index_name.bmp" or ".yuv"; `name` in UTF-8, of which 120 UTF-16
  // units count, and 259 of the whole path. False: another mode, a file that cannot be made, a last capture that kept
  // no pixels, or one that was made in another mode and is too small for this one.
  bool Save(const std::string &name) const;
  bool SaveIndexed(const std::string &name, int32_t index) const;

  // With its dot: ".bmp", ".yuv", and ".dump" in any other mode.
  static std::u16string Extension(uint32_t mode);

  std::unique_ptr<uint8_t[]> buffer;
  uint32_t buffer_size = 0;  // bytes; it only grows
  std::u16string directory;  // at most 259 units, with back slashes
  uint32_t mode = 0;
  uint32_t width = 0;        // pixels
  uint32_t height = 0;       // pixels
  uint32_t strides[3] = {};  // bytes; of a capture in mode kYuv

 private:
  bool KeepI420(const uint8_t *const planes[3], const uint32_t plane_strides[3]);
  bool KeepRGBA(const uint8_t *pixels);
  bool Reserve(uint64_t size);
  bool Write(const std::u16string &path) const;

  bool kept_ = true;  // false: the last capture kept no pixels, and the buffer is an older one's
};

}  // namespace vanta
