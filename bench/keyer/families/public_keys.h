// Chroma keys whose formulas are public, in floats, with their best parameters found by a grid search with the truth.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "family.h"

namespace keyer_bench {

// libobs's stock chroma key; the classic wedge; the colour difference of compositing tools; a compositing node's keying
// with its protection of luma.
enum class PublicKey { kStock, kWedge, kColourDifference, kCompositing };
inline constexpr PublicKey kPublicKeys[] = {PublicKey::kStock, PublicKey::kWedge, PublicKey::kColourDifference,
                                            PublicKey::kCompositing};

struct PublicParameters {
  float shape = 0;          // the wedge's acceptance, the balance between the other channels
  float low = 0, high = 1;  // what is clear, what is opaque
};

// libobs's stock key as it stands after being added, with the key colour given.
inline constexpr PublicParameters kStockDefaults{0, 0.4f, 0.08f};

std::vector<float> Key(PublicKey key, const PublicParameters &parameters, const FamilyTake &take, size_t frame);
PublicParameters Tune(PublicKey key, const FamilyTake &take);

}  // namespace keyer_bench
