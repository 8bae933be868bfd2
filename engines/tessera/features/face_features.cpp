#include "features/face_features.h"

namespace tessera {

Features FindFeatures(const PictureView &picture, const Placement &placement) {
  return FindFeatures(picture, placement, FindTurn(picture.y, placement));
}

Features FindFeatures(const PictureView &picture, const Placement &placement, const Turn &turn) {
  FaceCues lower(picture.y, placement, kLowerFace, turn.tangent);
  lower.AddColour(picture, placement);
  const FaceCues upper(picture.y, placement, kUpperFace, turn.tangent);
  Features features;
  features.turn = turn;
  features.nose = FindNose(lower);
  features.mouth = FindMouth(lower, features.nose);
  features.brows = {FindBrow(upper, -1), FindBrow(upper, 1)};
  features.eye_corners = {FindEyeCorner(upper, -1), FindEyeCorner(upper, 1)};
  features.lids = {FindLids(upper, -1, placement.unit), FindLids(upper, 1, placement.unit)};
  return features;
}

}  // namespace tessera
