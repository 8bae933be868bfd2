// `GreenScreenRenderer` orders the steps that key a source's frames on the GPU.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <obs.h>

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/filter_frame.h"
#include "greenscreen/output_cache.h"
#include "greenscreen/passes/alpha_refinement.h"
#include "greenscreen/passes/key_lut_pass.h"
#include "greenscreen/passes/lut_apply_pass.h"
#include "greenscreen/passes/optional_pass.h"
#include "greenscreen/passes/spill_pass.h"
#include "greenscreen/settings/settings_store.h"
#include "obs/graphics_scope.h"

namespace vanta {

struct GreenScreenRenderResult {
  bool keyed = false;   // the keyed picture reached the target in this call
  uint32_t width = 0;   // of the target; 0 until it is known
  uint32_t height = 0;  //
};

// Turns each frame of the filtered source into a keyed one, through a chain of full-frame passes of one effect. What
// only refines the key may fail, and the frame is keyed with the raw key; where the key itself fails the frame goes
// through untouched. It never blanks the picture on purpose.
// Owns: the effect and the passes with their eleven render targets. Borrows: the source, for the call only.
// Threads: AddOptionalPass, Initialise, Teardown any, while the host does not render; UpdateSettings [tick], or the
// creator's before the first frame; Render [render].
class GreenScreenRenderer {
 public:
  GreenScreenRenderer() = default;
  ~GreenScreenRenderer() { Teardown(); }
  GreenScreenRenderer(const GreenScreenRenderer &) = delete;
  GreenScreenRenderer &operator=(const GreenScreenRenderer &) = delete;

  // Before Initialise. They run in the order in which they were added.
  void AddOptionalPass(std::unique_ptr<OptionalPass> pass) { optional_passes_.push_back(std::move(pass)); }

  // False, with the reason in the log and nothing left over, where targets or effect cannot be made.
  bool Initialise(const char *effect_file_name);
  void Teardown();  // safe to run twice

  // A JSON patch on the settings; null and the text of the last call change nothing.
  void UpdateSettings(const char *config) { settings_.Update(config); }
  GreenScreenSettings Settings() const { return settings_.Current(); }

  // False where nothing could be drawn, not even the untouched frame. `frame_index` names the frame: a second call with
  // the same index draws the first one's result again.
  bool Render(obs_source_t *source, uint64_t frame_index, GreenScreenRenderResult &result)
      VANTA_REQUIRES(graphics_context);

 private:
  bool CreateTargets();

  // The steps of Render.
  gs_texture_t *CachedOutput(const OutputCache::Key &key, uint64_t key_revision);
  bool DrawOutput(FilterFrame &frame, gs_texture_t *output_tex, GreenScreenRenderResult &result)
      VANTA_REQUIRES(graphics_context);
  // The frame goes on unkeyed.
  bool FallBack(FilterFrame &frame, const char *message) VANTA_REQUIRES(graphics_context);

  SettingsStore settings_;

  // Written by AddOptionalPass, Initialise and Teardown, else [render].
  GreenScreenEffect effect_;
  KeyLutPass key_lut_;
  std::vector<std::unique_ptr<OptionalPass>> optional_passes_;
  LutApplyPass lut_apply_;
  AlphaRefinement refinement_;
  SpillPass spill_;
  OutputCache cache_;  // of what `spill_` drew
};

}  // namespace vanta
