// Lights in which a person stands before backdrops.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "fixtures/portrait/skin_tones.h"

namespace skin_bench {

using vanta_test::PortraitPicture;
using vanta_test::Spot;

cv::Scalar Bgr(double red, double green, double blue);

// A light, and what stands behind the person.
struct Scene {
  const char *name;
  cv::Scalar light = cv::Scalar::all(1);  // of blue, green, red
  float side = 0;                         // of the light that the dark side of the picture lacks
  float noise = 0;
  cv::Scalar backdrop = cv::Scalar::all(-1);  // its colour; below 0: the portrait's own
  float grain = 0;                            // of the backdrop's light
  cv::Size2f flecks{6, 1.2F};                 // pixels that its flecks are wide and high
  int boards = 0;                             // pixels from joint to joint; 0: none
  uint64_t seed = 11;
  uint64_t noise_seed = 3;
  vanta_test::PortraitSetup setup{};
};

// The portrait as it is. `dim`: mirrored, longer, smaller, noisy and at 0.7 of its light.
Scene Plain(bool dim);
// Every light before every backdrop, in two halves that share neither size nor tilt nor a sample of what is behind.
// `seed`: 0, or the number of another draw of them.
std::vector<Scene> Scenes(bool second_half, uint64_t seed);

// The head with its hair, and the shoulders.
cv::Mat PersonMask(const PortraitPicture &picture);
// The picture in the scene's light, before its backdrop. `people` is where somebody stands, CV_8U.
cv::Mat InScene(const PortraitPicture &picture, const Scene &scene, const cv::Mat &people);
cv::Mat InScene(const PortraitPicture &picture, const Scene &scene);
// As a camera gives it: with noise of that deviation in codes, and whole codes.
cv::Mat WithNoise(const cv::Mat &lit, float deviation, uint64_t seed);

// Turns the head of the same picture without and with spots, which go along: where they are in the turned picture is
// where a disc in their place comes to lie.
void TurnBoth(PortraitPicture &plain, PortraitPicture &spotted, std::vector<Spot> &spots, float degrees);

}  // namespace skin_bench
