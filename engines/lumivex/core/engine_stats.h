// What the engine did and how long it took, per frame and summed up.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "faces/faces.h"

namespace lumivex {

enum class Stage {
  kFaces,
  kGreenMatting,
  kSkin,
  kRetouch,
  kBeauty,
  kMakeup,
  kRelight,
  kTone,
  kLookup,
  kWarp,
  kSharpen,
  kMagic,
  kOutput,
  kCount
};

inline constexpr size_t kStageCount = static_cast<size_t>(Stage::kCount);
inline constexpr std::array<const char *, kStageCount> kStageNames = {
    "faces", "green_matting", "skin", "retouch", "beauty",        "makeup", "relight",
    "tone",  "lookup",        "warp", "sharpen", "magic_effects", "output"};

// One frame. Milliseconds; negative for a stage that did not run.
struct FrameTimes {
  FrameTimes() { stages.fill(-1.0f); }

  float &operator[](Stage stage) { return stages[static_cast<size_t>(stage)]; }
  float operator[](Stage stage) const { return stages[static_cast<size_t>(stage)]; }

  std::array<float, kStageCount> stages;
  float vision = 0.0f;  // spent on faces
  float beauty = 0.0f;  // all the rest
  bool skin_found = false;
  size_t faces = 0;  // found last
  int quality = 0;   // the step that it was made with: 0 whole
};

struct TimeSum {
  void Add(float milliseconds);

  uint64_t count = 0;
  double total = 0.0;  // milliseconds
  double most = 0.0;
};

// Texts are compact JSON without any per cent sign, since hosts hand them to printf-like functions.
// Threads: one at a time.
class EngineStats {
 public:
  void AddFrame(const FrameTimes &times);
  void AddFailure() { ++failed_; }
  void SetSearchShare(double share) { search_share_ = share; }  // of a processor core, by the search for faces
  void SetFaces(const Faces &faces);                            // of the last frame
  void Clear();  // all but the figures of the search for faces, which count from the engine's start

  std::string Text() const;
  std::string VisionText() const;

 private:
  uint64_t failed_ = 0;
  uint64_t skin_frames_ = 0;
  uint64_t lowered_frames_ = 0;  // made with less than the whole quality
  int quality_ = 0;              // the last frame's step
  TimeSum beauty_;
  TimeSum vision_in_frames_;
  std::array<TimeSum, kStageCount> stages_;
  TimeSum vision_;
  uint64_t face_frames_ = 0;
  double search_share_ = 0.0;
  std::vector<Expression> expressions_;
};

}  // namespace lumivex
