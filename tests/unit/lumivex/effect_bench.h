// An engine, effects in folders of the test's own, and what the engine says of them.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "engine_fixture.h"

namespace lumivex_test {

using nlohmann::json;

// Red, green, blue, alpha.
using Rgba = std::array<int, 4>;
inline constexpr Rgba kRed = {255, 0, 0, 255};
inline constexpr Rgba kGreen = {0, 255, 0, 255};
inline constexpr Rgba kWhite = {255, 255, 255, 255};
inline constexpr Rgba kBlack = {0, 0, 0, 255};
// As BT.601 partial codes.
inline constexpr Codes kRedCodes{81, 90, 240};
inline constexpr Codes kGreenCodes{145, 54, 34};
inline constexpr Codes kWhiteCodes{235, 128, 128};
inline constexpr Codes kBlackCodes{16, 128, 128};

// A picture file of one colour. Gives its path.
std::string WritePicture(const std::string &name, Rgba color, int width = 8, int height = 8);
bool SavePicture(const std::string &path, const cv::Mat &picture);

// effect.json and a picture "red.png" in a folder of that name. Gives the folder's path.
std::string WriteEffect(const std::string &name, const json &effect);
// One layer with "red.png"; `more` is put on top of it.
json RedLayer(const json &more = json::object());
json OneLayer(const json &more = json::object());  // an effect with that layer alone

// Frames of 64 by 48 pixels, 40 ms from one to the next.
// Threads: one.
class EffectBench : public ::testing::Test {
 protected:
  struct Description {
    json text;
    bool success;
  };

  EffectBench();

  // Asks for it and hands frames over, without any time passing, until the engine has told of it.
  void Play(const std::string &folder, LXEffectSlot slot = kMainEffectSlot);
  // The picture of one frame; time passes first.
  Picture Show(int64_t milliseconds = 40);
  Picture ShowWith(Picture picture, const std::function<void(LX::FrameData &)> &change);
  // Hands frames over without time passing until the condition holds; fails the test when it never does.
  void Await(const std::function<bool()> &condition);

  bool Is(const Picture &picture, int x, int y, Codes codes) const;

  std::shared_ptr<LX::LumivexSync> engine_ = MakeEngine(64, 48);
  std::vector<Description> descriptions_;
  std::vector<json> messages_;
  uint64_t now_ = 1000000000;
};

}  // namespace lumivex_test
