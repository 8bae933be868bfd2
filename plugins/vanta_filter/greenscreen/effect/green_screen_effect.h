// `GreenScreenEffect` is the loaded effect file: its techniques and its parameters.
#pragma once

#include <graphics/graphics.h>

#include "greenscreen/effect/effect_parameters.h"
#include "obs/graphics_scope.h"

namespace vanta {

// Owns the effect. What the file lacks is named in the log once, when it is loaded, and stops nothing.
// Threads: Load any; the others [render], or with the graphics context held.
class GreenScreenEffect {
 public:
  GreenScreenEffect() = default;
  GreenScreenEffect(const GreenScreenEffect &) = delete;
  GreenScreenEffect &operator=(const GreenScreenEffect &) = delete;

  // The effect of `file_name` in the module's data folder; false, with the reason in the log, where it cannot be made.
  // Call it when nothing is loaded. Enters graphics itself.
  bool Load(const char *file_name);
  void Unload() VANTA_REQUIRES(graphics_context);  // safe to run twice

  bool loaded() const { return effect_ != nullptr; }
  gs_effect_t *handle() const { return effect_; }
  const EffectParameters &params() const { return params_; }
  bool HasTechnique(const char *name) const;

  // For passes that a file may leave out: null, without a log line, where it does. Look it up once, after Load.
  gs_eparam_t *OptionalParameter(const char *name) const;

  // Draws a sprite over a unit square into the render target that has been begun; nothing where the technique is
  // missing.
  void Draw(const char *technique) const;

 private:
  void Bind();

  gs_effect_t *effect_ = nullptr;
  EffectParameters params_;
};

}  // namespace vanta
