// `MagicEffects`: the slots, what plays in them, and the commands that reach
// them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "files/loading.h"
#include "magic/effect_outbox.h"
#include "magic/effect_player.h"
#include "magic/frame_clock.h"
#include "vanta_filter/engine/records.h"

namespace lumivex {

// One effect's place, with what is to be in it.
struct EffectSlot {
  bool Busy() const { return player || loading.Pending(); }

  std::string path;          // as it was asked for, also after its end
  std::string playing_path;  // of the player, which goes on until the next one is whole
  Loading<Loaded<Effect>> loading;
  std::unique_ptr<EffectPlayer> player;
};

struct RunningEffect {
  const char *slot;
  const std::string &path;
  const EffectPlayer &player;
};

// Resources are read by the loader and take effect with a later frame; until
// then, and where they are no good, what is there goes on. Nothing is drawn,
// and no callback called, but for a frame. Owns: effects, pictures, callbacks.
// Borrows: the loader. Threads: one at a time.
class MagicEffects {
 public:
  explicit MagicEffects(Loader &loader) : loader_(loader) {}

  EffectOutbox &Outbox() { return outbox_; }

  // An empty path empties the slot.
  void SetEffect(const std::string &path, LXEffectSlot slot);
  void Cancel();  // all slots but the interactive box's
  void SetState(LXEffectState state);
  void SetIntensity(LXEffectAdjustType type, float intensity);
  void SetMedia(int32_t type, const std::string &path);
  void SetCustomImages(const std::vector<std::string> &paths);
  void ReceiveGameData(const std::string &json);
  void LoadBox(const std::string &path);
  void UnloadBox();

  // For each frame, in this order. Begin takes over what has been read and lets
  // time pass.
  void Begin(uint64_t timestamp);
  bool NeedsFaces() const;
  bool Visible() const;
  // `faces` as they were found; `warp`: how the frame was moved since, or null.
  void Draw(const Nv12View &view, const YuvSpace &space, const Orientation &orientation, const Faces &faces,
            const WarpField *warp, const RowBands &bands = RowBands());
  void Deliver() { outbox_.Deliver(); }

  std::vector<RunningEffect> Running() const;

 private:
  static constexpr size_t kSlotCount = 4;
  static constexpr size_t kMainSlot = 0;
  static constexpr size_t kGiftSlotIndex = 2;
  static constexpr size_t kBoxSlot = 3;
  struct CustomImages {
    static CustomImages Failed(const std::string &reason) {
      return {{}, {"[lumivex] custom images: " + reason + "; they stay as they are"}, false};
    }

    std::vector<PicturePointer> pictures;  // null where one could not be read
    std::vector<std::string> failures;     // whole log lines
    bool read = true;
  };

  void Play(EffectSlot &slot, const std::string &path);
  static void Clear(EffectSlot &slot);
  void TakeLoaded();
  void TakeEffect(EffectSlot &slot, bool await);
  void TakeCustomImages(bool await);
  Disables DisablesOfAll() const;
  bool ShowsMediaItself() const;
  void DrawMedia(const Canvas &canvas);

  Loader &loader_;
  EffectOutbox outbox_;
  FrameClock clock_;
  std::array<EffectSlot, kSlotCount> slots_;
  float opacity_ = 1.0f;
  bool other_intensity_logged_ = false;
  bool bad_game_data_logged_ = false;

  SharedPictures shared_;
  std::string media_path_;  // as it was asked for last
  Loading<Loaded<Pictures>> media_loading_;
  Loading<CustomImages> custom_loading_;
  int64_t media_ns_ = 0;
  Stamp media_stamp_;
};

}  // namespace lumivex
