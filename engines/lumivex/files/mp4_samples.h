// How many samples a MP4 file tells of, before libavformat takes memory for each of them.
#pragma once

#include <cstdint>
#include <span>

namespace lumivex {

// Of all tracks and fragments: a few bytes may tell of billions. More than any file has where the index is compressed,
// as the number cannot be known then. Threads: any.
uint64_t SamplesToldByMp4(std::span<const uint8_t> file);

}  // namespace lumivex
