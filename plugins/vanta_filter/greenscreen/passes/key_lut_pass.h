// `KeyLutPass` draws the key table, once per change of the key.
#pragma once

#include <cstdint>
#include <optional>

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/settings/settings_store.h"
#include "greenscreen/targets/render_target.h"

namespace vanta {

// The table says for each chroma how far it belongs to the key. Its size does not follow the frame's.
// Owns its render target. Threads: [render].
class KeyLutPass {
 public:
  static constexpr FrameSize kSize{2560, 2560};

  bool Create() VANTA_REQUIRES(graphics_context);
  void Destroy() VANTA_REQUIRES(graphics_context);

  // The table on hand was made from this revision of the key.
  bool IsCurrent(uint64_t key_revision) const { return built_revision_ == key_revision; }
  // Draws the table where it is outdated or lost. False, with the reason in the log, where that fails; the next call
  // tries again.
  bool Ensure(const GreenScreenEffect &effect, const SettingsSnapshot &settings);
  gs_texture_t *Texture() const { return target_.Texture(); }

 private:
  bool Build(const GreenScreenEffect &effect, const GreenScreenSettings &settings);

  RenderTarget target_;
  std::optional<uint64_t> built_revision_;  // empty: no table yet
};

}  // namespace vanta
