// `EffectPlayer`: one effect from its start to its end.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "faces/faces.h"
#include "files/loading.h"
#include "lumivex/lumivex_values.h"
#include "magic/effect_folder.h"
#include "magic/effect_outbox.h"
#include "magic/face_triggers.h"
#include "magic/stamp.h"
#include "pixels/nv12_view.h"
#include "pixels/orientation.h"
#include "pixels/yuv_space.h"
#include "warp/warp_field.h"

namespace lumivex {

// Pictures that come from commands, for layers that name them.
struct SharedPictures {
  std::vector<PicturePointer> custom;  // null where none could be read
  Pictures media;                      // empty: none
};

// What layers are drawn on.
struct Canvas {
  const Nv12View &view;
  const YuvSpace &space;
  Orientation orientation;
  const Faces &faces;
  const WarpField *warp;  // what has moved the frame since the faces were found; null: nothing
  float opacity;          // 0 to 1, of all effects
  RowBands bands = RowBands();
};

// Owns: the layers' states. Borrows: the loader, which outlives it. Threads: one at a time.
class EffectPlayer {
 public:
  EffectPlayer(std::shared_ptr<const Effect> effect, Loader &loader);

  // Says what the effect is, sends its first messages. `disables`: of all effects that play.
  void Start(const Disables &disables, EffectOutbox &outbox) const;
  // The texts that messages have set and that are drawn by now; with `await` all of them.
  void TakeTexts(bool await);
  void Advance(int64_t nanoseconds, EffectOutbox &outbox);
  void SetState(LXEffectState state);
  // A message of the host's.
  void React(const nlohmann::ordered_json &message, EffectOutbox &outbox);
  void Draw(const Canvas &canvas, const SharedPictures &shared);

  bool Ended() const { return ended_; }
  bool NeedsFaces() const;
  bool Uses(LayerSource source) const;
  bool Visible() const { return state_ != kEffectStateStopped && !ended_; }

  const EffectPlan &Plan() const { return effect_->plan; }
  int64_t ElapsedMs() const;
  LXEffectState State() const { return state_; }
  std::vector<std::string> ShownLayers() const;  // by id, or by number where they have none

 private:
  struct LayerState {
    bool shown = true;
    int64_t zero_ms = 0;  // when its times began to count
    PicturePointer text;
  };
  struct DrawnText {
    static DrawnText Failed(std::string reason) { return {nullptr, std::move(reason)}; }
    PicturePointer picture;
    std::string reason;  // why there is none
  };
  // A stamp may take as much memory as the frame. Each of the first layers has its own, the others share the last one.
  static constexpr size_t kStampCount = 8;

  void Rewind();
  void End(EffectOutbox &outbox);
  void SendAll(MessagePlan::When when, EffectOutbox &outbox) const;
  bool Matches(const ReactionPlan &reaction, const nlohmann::ordered_json &message) const;
  void Act(const ReactionPlan &reaction, const nlohmann::ordered_json &message, EffectOutbox &outbox);
  void ShowText(size_t layer, const std::string &text);
  void TakeText(size_t layer, bool await);
  // Milliseconds since the layer appeared; negative when it is not to be seen. `face`: of the last frame's, for a layer
  // on faces; absent: on the screen.
  int64_t LayerTime(size_t layer, std::optional<size_t> face = std::nullopt) const;
  bool IsShown(size_t layer) const;
  PicturePointer PictureOf(size_t layer, int64_t time, const SharedPictures &shared) const;
  void DrawLayer(size_t index, std::optional<size_t> face, const Canvas &canvas, const SharedPictures &shared);

  const std::shared_ptr<const Effect> effect_;
  Loader &loader_;
  std::vector<LayerState> layers_;
  std::vector<Loading<DrawnText>> text_loads_;  // by layer
  std::array<Stamp, kStampCount> stamps_;
  const bool has_triggers_;
  FaceTriggers triggers_;  // by the effect's time
  int64_t elapsed_ns_ = 0;
  size_t next_message_ = 0;
  LXEffectState state_ = kEffectStatePlaying;
  bool ended_ = false;
};

}  // namespace lumivex
