// `BackingMapPass` finds how the backing is lit and how the camera mixed front and backing.
#pragma once

#include "greenscreen/passes/optional_pass.h"
#include "greenscreen/targets/feedback_target.h"

namespace vanta {

// Draws five small targets: cells of the backing, a map filled from them, the same map in finer steps, cells of
// evidence for the mixing, and a single pixel that keeps what is known of it from frame to frame. `LutApply` reads the
// fine map; `backing_flag` says that there is one. What is kept starts anew with another size of the frame or another
// key. Light on a backing changes slowly: cells and map are drawn at every fourth tick of the host, the evidence two
// ticks behind every fourth of them, for a camera's way of mixing does not change at all.
class BackingMapPass : public OptionalPass {
 public:
  static constexpr FrameSize kMapSize{48, 27};        // in cells; the effect's loops know it too
  static constexpr FrameSize kFineMapSize{384, 216};  // steps of the map that no eye and no key tells apart
  static constexpr uint64_t kTicks = 4;               // from one map to the next
  static constexpr uint64_t kMixingTicks = 16;        // from one look at the mixing to the next

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
  // Lets go of what is known of another picture.
  void ForgetOthers(const BeforeKey &input);
  bool UpdateMap(const GreenScreenEffect &effect, const BeforeKey &input);
  bool UpdateMixing(const GreenScreenEffect &effect, const BeforeKey &input);
  bool DrawMaps(const GreenScreenEffect &effect, const BeforeKey &input);  // cells, and the maps from them
  bool DrawCells(const GreenScreenEffect &effect, const BeforeKey &input, gs_texture_t *previous);
  bool DrawMap(const GreenScreenEffect &effect, gs_texture_t *previous);
  bool DrawFineMap(const GreenScreenEffect &effect, const BeforeKey &input);
  bool DrawMixingCells(const GreenScreenEffect &effect, const BeforeKey &input);
  void DrawMixing(const GreenScreenEffect &effect, const BeforeKey &input, gs_texture_t *previous);
  void SetFound(const BeforeKey &input);
  void SetKeyColor(const BeforeKey &input);
  void SetFrameTexel(const BeforeKey &input);
  void SetMixing(gs_texture_t *previous);

  bool offered_ = false;           // the file has all that is needed
  gs_texture_t *found_ = nullptr;  // the frame's fine map
  Parameters params_;
  RenderTarget cells_;
  RenderTarget map_;
  RenderTarget fine_map_;
  RenderTarget mixing_cells_;
  FeedbackTarget mixing_;
  // What the map is of.
  bool drawn_ = false;
  FrameSize size_;
  float key_color_[3] = {};
  float similarity_ = 0;
  uint64_t map_tick_ = 0;  // of the last cells and map
  uint64_t mixing_tick_ = 0;
};

}  // namespace vanta
