#include "core/face_need.h"

#include "platform/engine_points.h"

namespace lumivex {
namespace {

// Every stage that works on faces stands here: a new one adds its line.
bool ChangesFaces(const EffectSettings &settings, const MagicEffects &effects) {
  return settings.SkinStrength().Any() || settings.Retouch().Any() || settings.EyesAndTeeth().Any() ||
         settings.Relight() > 0.0f || settings.ShowsMakeup() || settings.Warp().NeedsFaces() ||
         (settings.Enabled(kEffectMagic) && effects.NeedsFaces());
}

}  // namespace

FaceNeed NeedOfFaces(const EffectSettings &settings, const MagicEffects &effects, bool is_listened_to) {
  if (ChangesFaces(settings, effects)) return FaceNeed::kPicture;
  return is_listened_to && HostWantsEnginePoints() ? FaceNeed::kReport : FaceNeed::kNone;
}

}  // namespace lumivex
