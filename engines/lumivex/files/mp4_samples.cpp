#include "files/mp4_samples.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace lumivex {
namespace {

// The boxes that tell a number of samples, and where it stands behind the box's name (ISO/IEC 14496-12).
struct Table {
  std::string_view name;
  size_t count_at;
};
constexpr Table kTables[] = {{"stsz", 8}, {"stz2", 8}, {"trun", 4}};
constexpr std::string_view kCompressed = "cmov";
constexpr size_t kHead = 8;       // bytes of a box's size and name
constexpr size_t kLongHead = 16;  // with a size of 64 bits

uint64_t Number(std::span<const uint8_t> bytes, size_t count) {
  uint64_t value = 0;
  for (size_t i = 0; i < count; ++i) value = value << 8 | bytes[i];
  return value;
}

bool BeginsWith(std::span<const uint8_t> bytes, std::string_view name) {
  return bytes.size() >= name.size() && std::equal(name.begin(), name.end(), bytes.begin(),
                                                   [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

// What follows the media data that the box holds; empty where that goes to the file's end.
std::span<const uint8_t> BehindMediaData(std::span<const uint8_t> box) {
  uint64_t size = Number(box, 4);
  if (size == 1 && box.size() >= kLongHead) size = Number(box.subspan(kHead), 8);
  return size < kHead || size >= box.size() ? std::span<const uint8_t>() : box.subspan(static_cast<size_t>(size));
}

}  // namespace

// Names are looked for wherever they stand: libavformat reads boxes within boxes of many kinds. Only whole boxes of
// media data, which may hold any bytes, are passed over.
uint64_t SamplesToldByMp4(std::span<const uint8_t> file) {
  uint64_t samples = 0;
  std::span<const uint8_t> box = file;  // one of the file's own, not within another
  while (box.size() >= kHead) {
    if (BeginsWith(box.subspan(4), "mdat")) {
      box = BehindMediaData(box);
      continue;
    }
    const uint64_t told = Number(box, 4);
    const size_t size = told < kHead || told > box.size() ? box.size() : static_cast<size_t>(told);
    for (size_t at = 4; at + 4 <= size; ++at) {
      const std::span<const uint8_t> name = box.subspan(at);
      if (BeginsWith(name, kCompressed)) return std::numeric_limits<uint64_t>::max();
      for (const Table &table : kTables) {
        if (BeginsWith(name, table.name) && name.size() >= 8 + table.count_at)
          samples += Number(name.subspan(4 + table.count_at), 4);
      }
    }
    box = box.subspan(size);
  }
  return samples;
}

}  // namespace lumivex
