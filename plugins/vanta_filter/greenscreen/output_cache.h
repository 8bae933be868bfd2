// `OutputCache` remembers which frame the final picture shows, so that a second draw in a tick costs no pass.
#pragma once

#include <cstdint>
#include <optional>

#include "greenscreen/targets/render_target.h"

namespace vanta {

// Holds no texture: the picture lies where the last pass drew it. Threads: [render].
class OutputCache {
 public:
  struct Key {
    uint64_t frame_index = 0;
    FrameSize size;
    uint64_t revision = 0;  // of the settings

    bool operator==(const Key &) const = default;
  };

  bool Holds(const Key &key) const { return held_ == key; }
  void Fill(const Key &key) { held_ = key; }
  void Drop() { held_.reset(); }

 private:
  std::optional<Key> held_;
};

}  // namespace vanta
