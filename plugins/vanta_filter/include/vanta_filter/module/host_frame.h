// The customised host's frame record: the public one with one field more, `dump_id`, in its tail padding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <obs.h>

namespace vanta {

inline constexpr size_t kHostFrameSize = sizeof(obs_source_frame);
// Four bytes behind the start of `prev_frame`. `long` decides: 224 bytes where it has 32 bits, 232 where it has 64.
inline constexpr size_t kDumpIdOffset = offsetof(obs_source_frame, prev_frame) + 4;
static_assert(sizeof(void *) != 8 || (sizeof(long) == 4 ? kHostFrameSize == 224 && kDumpIdOffset == 220
                                                        : kHostFrameSize == 232 && kDumpIdOffset == 228));

// Non-zero: the host asks for this very frame to be dumped, under that id. Frames from public libobs carry 0.
inline uint32_t GetDumpId(const obs_source_frame *frame) {
  uint32_t id;
  std::memcpy(&id, reinterpret_cast<const char *>(frame) + kDumpIdOffset, sizeof(id));
  return id;
}
inline void SetDumpId(obs_source_frame *frame, uint32_t id) {
  std::memcpy(reinterpret_cast<char *>(frame) + kDumpIdOffset, &id, sizeof(id));
}

}  // namespace vanta
