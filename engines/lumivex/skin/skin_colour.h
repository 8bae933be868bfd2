// How much a colour looks like skin: anyone's, or that of one person who is in view.
#pragma once

#include <optional>
#include <vector>

#include "pixels/lanes.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// A colour apart from how brightly it is lit: BT.601 chroma at full range, divided by the luma above black. Shade and
// distance from the lamp scale all three alike, so skin keeps its place here from the lit cheek to the shadow below the
// chin. Luma is a part of white.
struct ShadeFreeColour {
  float luma = 0.0f;  // 0 black to 1 white
  float blue = 0.0f;  // (U - 128) over the luma's code
  float red = 0.0f;   // (V - 128) over the luma's code
};

// Of four cells beside each other.
struct ShadeFreeLanes {
  Lanes luma;
  Lanes blue;
  Lanes red;
};

// From the codes of one colour space to colours as above.
// Owns: the matrix of the space. Threads: any.
class ShadeFree {
 public:
  explicit ShadeFree(const YuvSpace &space);
  ShadeFreeColour Of(float y, float u, float v) const;
  ShadeFreeLanes Of(const Lanes &y, const Lanes &u, const Lanes &v) const;

 private:
  template <typename Value, typename Result>
  Result Convert(const Value &y, const Value &u, const Value &v) const;

  float black_;
  float per_luma_code_;  // parts of white
  // Chroma of the reference from the frame's chroma codes; neither depends on luma.
  float blue_from_u_, blue_from_v_;
  float red_from_u_, red_from_v_;
  float luma_from_u_, luma_from_v_;
};

// 0 no skin to 1 skin, for a colour of which nothing else is known. Covers the ten tones of the Monk scale from dim to
// bright light; wood, sand and cardboard have colours of skin, so they count too.
float SkinBand(const ShadeFreeColour &colour);
Lanes SkinBand(const ShadeFreeLanes &colours);

// The skin of one person: a normal distribution of the shade-free chroma, and the luma around which it is lit.
// Owns: the distribution. Threads: one at a time.
class SkinModel {
 public:
  // Learned from colours that are mostly skin; spots, shine and stray hair among them are left out, and taken out of
  // `samples`, whose order changes. Empty when there are too few, or when their middle is no colour that skin has.
  static std::optional<SkinModel> Learn(std::vector<ShadeFreeColour> &samples);

  // Moves towards `seen` by `part` from 0 to 1.
  void Follow(const SkinModel &seen, float part);
  // 0 no skin to 1 skin. `slack` widens what counts: 1 for any place of the picture, more where skin is expected.
  float Weight(const ShadeFreeColour &colour, float slack) const;
  Lanes Weight(const ShadeFreeLanes &colours, const Lanes &slack) const;

  const ShadeFreeColour &Middle() const { return middle_; }
  // How much the samples' luma varied: 1 in usual light or less, up to 4 in hard light.
  float Contrast() const { return contrast_; }

 private:
  template <typename Value>
  Value WeightOf(const Value &luma, const Value &blue_of, const Value &red_of, const Value &slack) const;

  ShadeFreeColour middle_;
  float contrast_ = 1.0f;
  // Variances and covariance of the chroma.
  float blue_blue_ = 0.0f;
  float blue_red_ = 0.0f;
  float red_red_ = 0.0f;
};

}  // namespace lumivex
