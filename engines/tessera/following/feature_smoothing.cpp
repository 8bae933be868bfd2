#include "following/feature_smoothing.h"

#include <cmath>

#include "vision/numbers.h"

namespace tessera {
namespace {

// How much of a new place counts: a small move may be noise, a large one is none. Distances are units.
constexpr float kStillPart = 0.06F;
constexpr float kMovingPart = 0.6F;
constexpr float kStillMove = 0.02F;
constexpr float kMovingMove = 0.08F;
constexpr float kConfidencePart = 0.2F;

// Of a tangent.
constexpr float kStillTurn = 0.04F;
constexpr float kMovingTurn = 0.2F;

// A mouth opens quickly: less of it is noise.
constexpr float kQuickMove = 0.04F;

// How long it is remembered that an eye's white was seen: half of it for four seconds.
constexpr float kWhiteKept = 0.995F;
constexpr float kWhiteLess = 0.3F;
constexpr float kConfidenceOfGone = 0.8F;

float PartFor(float move, float moving = kMovingMove) {
  return Mixed(kStillPart, kMovingPart, Clamped01((move - kStillMove) / (moving - kStillMove)));
}

void QuickStep(float &smooth, float found) {
  smooth += (found - smooth) * PartFor(std::abs(found - smooth), kQuickMove);
}

void Step(float &smooth, float found) {
  smooth += (found - smooth) * PartFor(std::abs(found - smooth));
}

void Step(cv::Point2f &smooth, cv::Point2f found) {
  const cv::Point2f move = found - smooth;
  smooth += move * PartFor(std::hypot(move.x, move.y));
}

void StepConfidence(float &smooth, float found) {
  smooth += (found - smooth) * kConfidencePart;
}

// A blink is over in some pictures: half of the way at once, where it is clear.
void StepLids(Lids &smooth, const Lids &found) {
  smooth.white = std::max(found.white, smooth.white * kWhiteKept);
  // An eye that showed its white is closed when it shows none.
  const float gone = smooth.white * Clamped01((smooth.white - found.white - kWhiteLess) / kWhiteLess);
  const float open = Mixed(found.open, 0, gone);
  const float move = std::abs(open - smooth.open);
  smooth.open += (open - smooth.open) * Mixed(0.15F, 0.75F, Clamped01((move - 0.15F) / 0.25F));
  StepConfidence(smooth.confidence, std::max(found.confidence, kConfidenceOfGone * gone));
}

}  // namespace

void Smooth(Turn &smooth, const Turn &found) {
  const float move = std::abs(found.tangent - smooth.tangent);
  const float part = Mixed(kStillPart, kMovingPart, Clamped01((move - kStillTurn) / (kMovingTurn - kStillTurn)));
  smooth.tangent += (found.tangent - smooth.tangent) * part * found.confidence;
  StepConfidence(smooth.confidence, found.confidence);
}

void Smooth(Features &smooth, const Features &found) {
  smooth.turn = found.turn;
  Step(smooth.mouth.left, found.mouth.left);
  Step(smooth.mouth.right, found.mouth.right);
  Step(smooth.mouth.line, found.mouth.line);
  // What no lips were seen by says nothing of their edges.
  if (found.mouth.lips_confidence > 0) {
    Step(smooth.mouth.top, found.mouth.top);
    Step(smooth.mouth.bottom, found.mouth.bottom);
  }
  StepConfidence(smooth.mouth.confidence, found.mouth.confidence);
  StepConfidence(smooth.mouth.lips_confidence, found.mouth.lips_confidence);
  QuickStep(smooth.mouth.gap_top, found.mouth.gap_top);
  QuickStep(smooth.mouth.gap_bottom, found.mouth.gap_bottom);
  smooth.mouth.gap_confidence += (found.mouth.gap_confidence - smooth.mouth.gap_confidence) * kMovingPart;
  Step(smooth.nose.nostrils, found.nose.nostrils);
  StepConfidence(smooth.nose.confidence, found.nose.confidence);
  for (size_t side = 0; side < 2; ++side) {
    if (found.brows[side].confidence > 0) {
      Step(smooth.brows[side].height, found.brows[side].height);
      Step(smooth.brows[side].slope, found.brows[side].slope);
      Step(smooth.brows[side].bend, found.brows[side].bend);
    }
    StepConfidence(smooth.brows[side].confidence, found.brows[side].confidence);
    Step(smooth.eye_corners[side].x, found.eye_corners[side].x);
    StepConfidence(smooth.eye_corners[side].confidence, found.eye_corners[side].confidence);
    StepLids(smooth.lids[side], found.lids[side]);
  }
}

}  // namespace tessera
