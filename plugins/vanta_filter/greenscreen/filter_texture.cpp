#include "greenscreen/filter_texture.h"

#include <cstring>

#include <util/bmem.h>

namespace vanta {
namespace {

constexpr char kNoSuchTechnique[] = "";

// What an effect's texture parameter holds begins with the texture itself.
gs_texture_t *TextureOf(gs_eparam_t *param) {
  void *value = gs_effect_get_val(param);
  gs_texture_t *texture = nullptr;
  if (value && gs_effect_get_val_size(param) >= sizeof(texture)) std::memcpy(&texture, value, sizeof(texture));
  bfree(value);
  return texture;
}

}  // namespace

// libobs hands the texture to an effect's `image` before it looks for the technique, so that a technique that does not
// exist draws nothing and leaves the texture behind. It must be an effect whose `image` libobs sets; the default one
// is.
gs_texture_t *FilterSourceTexture(obs_source_t *filter) {
  gs_effect_t *effect = obs_get_base_effect(OBS_EFFECT_DEFAULT);
  gs_eparam_t *image = effect ? gs_effect_get_param_by_name(effect, "image") : nullptr;
  if (!image) return nullptr;
  gs_effect_set_texture(image, nullptr);  // what an earlier draw left there is not ours
  obs_source_process_filter_tech_end(filter, effect, 0, 0, kNoSuchTechnique);
  gs_texture_t *const texture = TextureOf(image);
  gs_effect_set_texture(image, nullptr);  // every source shares the effect, and the texture may go before the next draw
  return texture;
}

}  // namespace vanta
