// An engine, and pictures for it whose every byte a test can name and check.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/lumivex_api.h"
#include "lumivex/lumivex_values.h"

namespace lumivex_test {

struct Codes {
  int y;
  int u;
  int v;
};

// Middle skin, a middle blue and a middle grey, as BT.601 partial codes.
inline constexpr Codes kSkin{130, 110, 150};
inline constexpr Codes kBlue{110, 170, 105};
inline constexpr Codes kGrey{126, 128, 128};

// An NV12 picture in memory of its own, with spare bytes behind every row and around the planes.
// Threads: one at a time.
class Picture {
 public:
  using LumaAt = std::function<int(int x, int y)>;

  Picture(int width, int height, Codes codes, int padding = 0);

  void FillLuma(const LumaAt &luma);
  void FillRect(int left, int top, int right, int bottom, Codes codes);  // even edges

  int Luma(int x, int y) const { return bytes_[LumaIndex(x, y)]; }
  int U(int x, int y) const { return bytes_[ChromaIndex(x, y)]; }  // of the pair that covers the luma pixel
  int V(int x, int y) const { return bytes_[ChromaIndex(x, y) + 1]; }
  int Width() const { return width_; }
  int Height() const { return height_; }

  double MeanLuma() const;
  double MeanV() const;
  double MeanU() const;
  double LumaDeviation(int left, int top, int right, int bottom) const;

  // Whether the bytes that are no pixels are as they were.
  bool MarginsUntouched() const;
  bool operator==(const Picture &other) const { return bytes_ == other.bytes_; }

  // A frame over this picture's memory, plain NV12 of the colour code.
  std::shared_ptr<LX::FrameData> Frame(int color_code = 0);

 private:
  size_t LumaIndex(int x, int y) const;
  size_t ChromaIndex(int x, int y) const;
  bool IsPixel(size_t index) const;

  int width_;
  int height_;
  int y_stride_;
  int uv_stride_;
  std::vector<uint8_t> bytes_;
};

// An engine for the folder of presets that the module installs.
std::shared_ptr<LX::LumivexSync> MakeEngine(int width = 64, int height = 64);

// Runs the picture through the engine in place. Fails the test when no frame comes back.
std::shared_ptr<LX::FrameData> Process(LX::LumivexSync &engine, Picture &picture, int color_code = 0);

// `original` after an engine with this one intensity.
Picture With(const Picture &original, LXBeautyType type, float intensity, int color_code = 0);

void SetLookup(LX::LumivexSync &engine, const std::string &path, float intensity = 1.0f, int32_t type = 0);
void SetGroup(LX::LumivexSync &engine, const std::string &path, bool is_group = false);

// A file of that name and content in a folder of this test's own. Gives its path.
std::string WriteFile(const std::string &name, const std::string &content);
std::string OwnFolder();

// Repeatable noise from -amplitude to amplitude.
int Noise(int x, int y, int amplitude);

}  // namespace lumivex_test
