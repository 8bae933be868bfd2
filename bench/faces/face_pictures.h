// Pictures with known faces in them: a portrait placed in a room, in NV12, with noise.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "fixtures/portrait/portrait.h"
#include "pixels/nv12_view.h"

namespace vanta_bench {

using vanta_test::PortraitSetup;

inline const cv::Size k720(1280, 720);
inline const cv::Size k1080(1920, 1080);

// Owns its planes.
struct Nv12 {
  cv::Mat luma;
  cv::Mat chroma;
  // Of the last face, pixels: pupils, tip of the nose, corners of the mouth; empty where no face is.
  std::vector<cv::Point2f> truth;

  lumivex::Nv12View View() const;
};

// The portrait that all faces are; empty where its file cannot be read.
const cv::Mat &Portrait();

// `noise` is its standard deviation in codes.
Nv12 FromBgr(const cv::Mat &bgr, double noise, uint64_t seed);

// A face: the middle between its eyes and their distance, pixels.
PortraitSetup Setup(cv::Size size, cv::Point2f middle, float eyes);

// The faces in a room with shapes in it.
Nv12 WithFaces(cv::Size size, const std::vector<PortraitSetup> &faces, double noise, uint64_t seed);

}  // namespace vanta_bench
