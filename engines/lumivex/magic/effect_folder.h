// Loads a magic effect from its folder: effect.json and the pictures that it names.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "magic/effect_plan.h"
#include "magic/picture.h"

namespace lumivex {

struct Effect {
  EffectPlan plan;
  std::vector<Pictures> pictures;     // by layer; empty for a layer that draws no file
  std::vector<PicturePointer> texts;  // by layer, as they stand in the file; null, or none at its place, without one
};

template <typename Content>
struct Loaded {
  static Loaded Failed(std::string reason) { return {nullptr, {}, std::move(reason), "try again"}; }

  std::shared_ptr<const Content> content;  // null: no good
  std::string file;                        // then the file that is to blame,
  std::string reason;                      // why,
  std::string remedy;                      // and what to do about it
};

inline constexpr size_t kMaxPicturesInLayer = 256;

// Both stop early, with nothing, once `cancelled` is set. Threads: any.
Loaded<Effect> LoadEffect(const std::string &folder, const std::atomic<bool> &cancelled);
// One line, cut between characters, in the layer's colour. Fonts are read for it. Null for an empty one. Threads: any.
PicturePointer DrawLayerText(const std::string &text, const LayerPlan &layer);
// One file, still, animated or a video, or a folder of still pictures in the order of their names.
Loaded<Pictures> LoadPictures(const std::string &path, PixelBudget &budget, const std::atomic<bool> &cancelled);

}  // namespace lumivex
