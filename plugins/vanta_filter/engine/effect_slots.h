// `EffectSlots` remembers which effect each slot was given last, and brings the main one back when a gift ends.
#pragma once

#include <string>

#include "vanta_filter/engine/records.h"

namespace vanta {

// What the engine is to play, and where.
struct SlotEffect {
  std::string path;  // empty: nothing any more
  LXEffectSlot slot;
};

// Threads: one at a time.
class EffectSlots {
 public:
  // What the host's choice comes to. An empty path in the main slot gives the user's own settings back; in the slot of
  // recognition gifts it stands for the main slot with its effect. Other slots pass with a line in the log.
  SlotEffect Choose(std::string path, LXEffectSlot slot);
  // Nothing plays: tells the host that the user's own settings hold again, and forgets the main effect.
  void ClearMagicDisableFlags();

 private:
  std::string magic_main_path_;
  std::string magic_recognition_gift_path_;
};

}  // namespace vanta
