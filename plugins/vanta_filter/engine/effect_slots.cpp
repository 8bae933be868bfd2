#include "engine/effect_slots.h"

#include <util/base.h>

#include <utility>

#include "engine/callbacks/magic_signal.h"

namespace vanta {

SlotEffect EffectSlots::Choose(std::string path, LXEffectSlot slot) {
  if (slot == kMainEffectSlot) {
    if (path.empty()) {
      ClearMagicDisableFlags();
    } else {
      if (magic_main_path_ != path) magic_main_path_ = path;
      blog(LOG_INFO, "magic_main_path_= %s", magic_main_path_.c_str());
    }
  } else if (slot == kRecognitionGiftSlot) {
    if (path.empty()) return {magic_main_path_, kMainEffectSlot};  // the gift is over
    if (magic_recognition_gift_path_ != path) magic_recognition_gift_path_ = path;
    blog(LOG_INFO, "magic_recognition_gift_path_= %s", magic_recognition_gift_path_.c_str());
  } else {
    blog(LOG_WARNING, "no slot type= %d", static_cast<int>(slot));
  }
  return {std::move(path), slot};
}

void EffectSlots::ClearMagicDisableFlags() {
  SendMagicFlags(MagicFlags{});
  magic_main_path_.clear();
}

}  // namespace vanta
