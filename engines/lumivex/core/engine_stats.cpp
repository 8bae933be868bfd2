#include "core/engine_stats.h"

#include <vanta_base/json_text.h>
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "lumivex/lumivex_values.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

double Rounded(double value) {
  return std::round(value * 1000.0) / 1000.0;
}

double Rounded(float value) {
  return Rounded(static_cast<double>(value));
}

Json ToJson(const TimeSum &sum) {
  const double mean = sum.count ? sum.total / static_cast<double>(sum.count) : 0.0;
  return {{"frames", sum.count}, {"mean_ms", Rounded(mean)}, {"max_ms", Rounded(sum.most)}};
}

Json ToJson(const Opening &opening) {
  return {{kFaceOpen, Rounded(opening.open)}, {kFaceConfidence, Rounded(opening.confidence)}};
}

Json ToJson(const Expression &face) {
  return {{kFaceConfidence, Rounded(face.confidence)},
          {kFaceMouth, ToJson(face.mouth)},
          {kFaceLeftEye, ToJson(face.left_eye)},
          {kFaceRightEye, ToJson(face.right_eye)}};
}

}  // namespace

void TimeSum::Add(float milliseconds) {
  ++count;
  total += static_cast<double>(milliseconds);
  most = std::max(most, static_cast<double>(milliseconds));
}

void EngineStats::AddFrame(const FrameTimes &times) {
  beauty_.Add(times.beauty);
  skin_frames_ += times.skin_found;
  lowered_frames_ += times.quality > 0;
  quality_ = times.quality;
  for (size_t i = 0; i < kStageCount; ++i) {
    if (times.stages[i] >= 0.0f) stages_[i].Add(times.stages[i]);
  }
  if (times[Stage::kFaces] < 0.0f) return;
  vision_in_frames_.Add(times.vision);
  vision_.Add(times.vision);
  face_frames_ += times.faces > 0;
}

void EngineStats::SetFaces(const Faces &faces) {
  expressions_.clear();
  for (const Face &face : faces) expressions_.push_back(face.expression);
}

void EngineStats::Clear() {
  failed_ = 0;
  skin_frames_ = 0;
  lowered_frames_ = 0;
  beauty_ = {};
  vision_in_frames_ = {};
  stages_ = {};
}

std::string EngineStats::Text() const {
  Json faces = Json::array();
  for (const Expression &face : expressions_) faces.push_back(ToJson(face));
  Json stages = Json::object();
  for (size_t i = 0; i < kStageCount; ++i) {
    if (stages_[i].count) stages[kStageNames[i]] = ToJson(stages_[i]);
  }
  const Json json = {{"engine", "lumivex"},
                     {"frames", beauty_.count},
                     {"failed", failed_},
                     {"skin_frames", skin_frames_},
                     {"quality", {{"step", quality_}, {"lowered_frames", lowered_frames_}}},
                     {"beauty", ToJson(beauty_)},
                     {"tessera", ToJson(vision_in_frames_)},
                     {"face_search_share", Rounded(search_share_)},
                     {kStatsFaces, std::move(faces)},
                     {"stages", std::move(stages)}};
  return vanta::WriteJson(json);
}

std::string EngineStats::VisionText() const {
  Json json = ToJson(vision_);
  json["vision"] = "faces";
  json["face_frames"] = face_frames_;
  json["face_search_share"] = Rounded(search_share_);
  return vanta::WriteJson(json);
}

}  // namespace lumivex
