// From light to the 8-bit pixels that reach the host.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "family.h"

namespace keyer_bench {

// `picture` gets the family's sharpening, noise and BT.709 4:2:0 video with its quantisation.
void ThroughCamera(std::vector<Colour> &picture, uint32_t width, uint32_t height, const Family &family,
                   std::mt19937 &random);

std::vector<uint8_t> Pixels(const std::vector<Colour> &picture);

// The takes' pixels after an encoder and its decoder.
void ThroughEncoder(FamilyTake &take, int bit_rate);

}  // namespace keyer_bench
