// `GreenScreenRenderer` keys a source's frames on the GPU.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include <obs.h>

#include "greenscreen/effect_parameters.h"
#include "greenscreen/green_screen_settings.h"
#include "greenscreen/passes/blur_shape.h"
#include "obs/graphics_scope.h"
#include "vanta_base/mutex.h"

namespace vanta {

struct GreenScreenRenderResult {
  bool keyed = false;   // the keyed picture reached the target in this call
  uint32_t width = 0;   // of the target; 0 until it is known
  uint32_t height = 0;  //
};

// Turns each frame of the filtered source into a keyed one, through a chain of full-frame passes of one effect. What
// only refines the key may fail, and the frame is keyed with the raw key; where the key itself fails the frame goes
// through untouched. It never blanks the picture on purpose.
// Owns: the effect and eleven render targets. Borrows: the source, for the call only.
// Threads: Initialise, Teardown any, once the host has stopped rendering; UpdateSettings [tick], or the creator's
// before the first frame; Render [render].
class GreenScreenRenderer {
 public:
  static constexpr uint32_t kKeyLutSize = 2560;  // pixels, both ways

  GreenScreenRenderer() = default;
  ~GreenScreenRenderer() { Teardown(); }
  GreenScreenRenderer(const GreenScreenRenderer &) = delete;
  GreenScreenRenderer &operator=(const GreenScreenRenderer &) = delete;

  // False, with the reason in the log and nothing left over, where targets or effect cannot be made.
  bool Initialise(const char *effect_file_name);
  void Teardown();  // safe to run twice

  // A JSON patch on the settings; null and the text of the last call change nothing.
  void UpdateSettings(const char *config);
  GreenScreenSettings Settings() const;

  // False where nothing could be drawn, not even the untouched frame. `frame_index` names the frame: a second call with
  // the same index draws the first one's result again.
  bool Render(obs_source_t *source, uint64_t frame_index, GreenScreenRenderResult &result)
      VANTA_REQUIRES(graphics_context);

 private:
  // One call's scratch.
  struct Frame {
    obs_source_t *source = nullptr;
    uint64_t index = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    bool output_supported = false;  // the effect can draw the result
    gs_texture_t *source_tex = nullptr;
    gs_texture_t *lut_tex = nullptr;
    gs_texture_t *uvka_tex = nullptr;   // the raw key
    gs_texture_t *alpha_tex = nullptr;  // the refined key, or the raw one
  };

  bool CreateTargets();
  bool LoadEffect(const char *file_name);

  // The steps of Render, in their order.
  bool BeginFrame(Frame &frame, GreenScreenRenderResult &result) VANTA_REQUIRES(graphics_context);
  gs_texture_t *CachedOutput(const Frame &frame);
  bool FindSourceTexture(Frame &frame) VANTA_REQUIRES(graphics_context);
  bool EnsureKeyLut();
  bool ApplyKeyLut(Frame &frame);
  void RefineAlpha(Frame &frame);
  gs_texture_t *SuppressSpill(const Frame &frame);
  void FillCache(const Frame &frame);
  bool DrawOutput(const Frame &frame, gs_texture_t *output_tex, GreenScreenRenderResult &result)
      VANTA_REQUIRES(graphics_context);

  // The frame goes on unkeyed.
  bool FallBack(const Frame &frame, const char *message) VANTA_REQUIRES(graphics_context);
  bool PassThrough(const Frame &frame) VANTA_REQUIRES(graphics_context);

  bool BuildKeyLut();
  void SetOutputParameters(const Frame &frame, const GreenScreenSettings &settings);

  // The refinements. Each gives its result in `out`, which starts as `in`.
  bool Denoise(gs_texture_t *in, uint32_t width, uint32_t height, gs_texture_t *&out);
  bool ShrinkAlpha(gs_texture_t *in, uint32_t width, uint32_t height, float shrink, gs_texture_t *&out);
  bool BlurAlpha(gs_texture_t *in, uint32_t width, uint32_t height, float intensity, gs_texture_t *&out);

  // What they are made of.
  struct Size {
    uint32_t width;
    uint32_t height;
  };
  bool BlurDown(gs_texture_t *in, const BlurShape &shape, Size &level_size);
  bool BlurUp(const BlurShape &shape, Size frame, Size &level_size);
  bool BlurStep(gs_texture_t *in, Size frame, gs_texture_t *&out);
  void SetBlurParameters(gs_texture_t *image, const BlurShape &shape, Size target);
  bool RunShrinkPass(gs_texrender_t *target, gs_texture_t *in, Size size, float dx, float dy);

  void DropCache();
  void DropCacheLocked() VANTA_REQUIRES(settings_mutex_);
  void DropDenoiseState();

  // Written by Initialise and Teardown, else [render].
  gs_effect_t *effect_ = nullptr;
  gs_texrender_t *key_lut_target_ = nullptr;
  gs_texrender_t *uvka_target_ = nullptr;
  gs_texrender_t *denoise_state_target_ = nullptr;   // the state of the last Denoise
  gs_texrender_t *denoise_next_target_ = nullptr;    // what the next one writes; then the two are swapped
  gs_texrender_t *alpha_shrink_h_target_ = nullptr;  // BlurStep's too: the shrink has spent it by then
  gs_texrender_t *alpha_shrink_v_target_ = nullptr;
  gs_texrender_t *blur_level_targets_[kBlurLevels] = {};
  gs_texrender_t *blur_temp_target_ = nullptr;
  gs_texrender_t *output_target_ = nullptr;  // the keyed frame, kept as the cache
  EffectParameters params_;

  // Guarded: a screenshot renders on a thread of its own while the host's settings arrive. The lock is a leaf, held for
  // a few copies.
  mutable Mutex settings_mutex_;
  GreenScreenSettings settings_ VANTA_GUARDED_BY(settings_mutex_);
  std::string last_config_;  // [tick] the text of the last call
  bool key_lut_dirty_ VANTA_GUARDED_BY(settings_mutex_) = true;

  // [render]
  bool denoise_state_valid_ = false;
  uint32_t denoise_state_width_ = 0;
  uint32_t denoise_state_height_ = 0;

  // What `output_target_` holds, while `cache_valid_`.
  uint64_t cached_frame_index_ VANTA_GUARDED_BY(settings_mutex_) = 0;
  uint32_t cached_width_ VANTA_GUARDED_BY(settings_mutex_) = 0;
  uint32_t cached_height_ VANTA_GUARDED_BY(settings_mutex_) = 0;
  bool cache_valid_ VANTA_GUARDED_BY(settings_mutex_) = false;
};

}  // namespace vanta
