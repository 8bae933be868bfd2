#include "vanta_operations/stages.h"

#include <lumivex/lumivex_values.h>

#include <tuple>

namespace vanta_operations {

const std::array<StageInfo, 9> kStages = {{
    {"beauty", lumivex::kEffectBeauty, "smooth, whiten, ruddy"},
    {"adjust", lumivex::kEffectAdjust, "sharpen, brightness, contrast"},
    {"lookup", lumivex::kEffectLookup, "the colour table"},
    {"relight", lumivex::kEffectRelight, "the soft key light"},
    {"green-matting", lumivex::kEffectGreenMatting, "a green backdrop replaced by a dark grey one; off at the start"},
    {"makeup", lumivex::kEffectMakeup, "layers of makeup"},
    {"deform", lumivex::kEffectDeform, "shapes of the face"},
    {"body-slimming", lumivex::kEffectBodySlimming, "shapes of the body"},
    {"magic", lumivex::kEffectMagic, "effects, gifts, media, the interactive box"},
}};
static_assert(std::tuple_size_v<decltype(kStages)> == lumivex::kEffectTypeCount);

std::optional<LXEffectType> FindEffectType(std::string_view name) {
  for (const StageInfo &stage : kStages) {
    if (stage.name == name) return stage.type;
  }
  return std::nullopt;
}

}  // namespace vanta_operations
