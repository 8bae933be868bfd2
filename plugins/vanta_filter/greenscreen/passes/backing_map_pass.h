// `BackingMapPass` finds how the backing is lit and how the camera mixed front and backing.
#pragma once

#include "greenscreen/passes/optional_pass.h"
#include "greenscreen/targets/feedback_target.h"

namespace vanta {

// Draws four small targets: cells of the backing, a map filled from them, cells of evidence for the mixing, and a
// single pixel that keeps what is known of it from frame to frame. `LutApply` reads the map; `backing_flag` says that
// there is one. What is kept starts anew with another size of the frame or another key colour.
class BackingMapPass : public OptionalPass {
 public:
  static constexpr FrameSize kMapSize{48, 27};  // in cells; the effect's loops know it too

  void Bind(const GreenScreenEffect &effect) override;
  void Run(const GreenScreenEffect &effect, const BeforeKey &input) override VANTA_REQUIRES(graphics_context);
  void SetForSpill(const BeforeKey &input) override { SetFound(input); }
  void Release() override VANTA_REQUIRES(graphics_context);

 private:
  struct Parameters {
    gs_eparam_t *backing_tex = nullptr;
    gs_eparam_t *mixing_cells_tex = nullptr;
    gs_eparam_t *mixing_tex = nullptr;
    gs_eparam_t *backing_flag = nullptr;
    gs_eparam_t *mixing_flag = nullptr;
    gs_eparam_t *key_color = nullptr;
    gs_eparam_t *frame_texel = nullptr;
  };

  bool CreateTargets() VANTA_REQUIRES(graphics_context);
  // The map; null where a target cannot be begun.
  gs_texture_t *Draw(const GreenScreenEffect &effect, const BeforeKey &input);
  bool DrawCells(const GreenScreenEffect &effect, const BeforeKey &input, gs_texture_t *previous);
  bool DrawMap(const GreenScreenEffect &effect, gs_texture_t *previous);
  bool DrawMixingCells(const GreenScreenEffect &effect, const BeforeKey &input);
  void DrawMixing(const GreenScreenEffect &effect, const BeforeKey &input, gs_texture_t *previous);
  void SetFound(const BeforeKey &input);
  void SetKeyColor(const BeforeKey &input);
  void SetFrameTexel(const BeforeKey &input);
  void SetMixing(gs_texture_t *previous);
  // What the last frame knew of the mixing; null where that was another picture.
  gs_texture_t *PreviousMixing(const BeforeKey &input);

  bool offered_ = false;           // the file has all that is needed
  gs_texture_t *found_ = nullptr;  // the frame's map
  Parameters params_;
  RenderTarget cells_;
  RenderTarget map_;
  RenderTarget mixing_cells_;
  FeedbackTarget mixing_;
  float key_color_[3] = {};  // that of `mixing_`
};

}  // namespace vanta
