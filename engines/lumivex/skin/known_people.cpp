#include "skin/known_people.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "pixels/cell_grid.h"
#include "skin/face_samples.h"

namespace lumivex {
namespace {

constexpr float kInFaceSlack = 4.0f;  // a face has spots and blush, and it is skin all the same
constexpr float kFollow = 0.12f;      // of the way to what the newest frame shows
constexpr float kSamePerson = 0.8f;   // distances between the eyes that a face moves at most from frame to frame
constexpr int kRemembered = 90;       // frames without the face
// Skin that is nearly grey has the colour of many walls, so it is looked for only where its face is. Saturation as a
// part of the luma, and in codes, of which noise leaves nothing.
constexpr float kGreyish = 0.045f;
constexpr float kColourful = 0.10f;
constexpr float kNoisyCodes = 1.5f;
constexpr float kClearCodes = 4.0f;
// Where that is: distances between the eyes from the point between them, whole and ending.
constexpr float kBesideWhole = 1.2f;
constexpr float kBesideEnd = 1.6f;
constexpr float kAboveWhole = 1.2f;
constexpr float kAboveEnd = 1.6f;
constexpr float kBelowWhole = 3.0f;
constexpr float kBelowEnd = 4.0f;
// Where so much beside and above the head has the skin's colour, that is a wall, and no hand: parts of it.
constexpr float kHands = 0.08f;
constexpr float kWall = 0.20f;
constexpr float kMouthHeight = 1.2f;  // of that region's lower edge
constexpr int kWallStep = 4;          // every so many cells are looked at
// Where a known person's hair, neck and breast may be: distances between the eyes.
constexpr float kOwnBeside = 1.5f;
constexpr float kOwnAbove = 2.0f;
constexpr float kOwnBelow = 3.0f;
constexpr uint8_t kSample = 200;  // skin, and inside a face, by so much

}  // namespace

void KnownPeople::Meet(const Faces &faces, const CellColours &cells, const cv::Mat &in_face, const cv::Mat &features) {
  seen_.clear();
  for (const Face &face : faces) {
    const FramePoint &left_eye = face.At(FaceAnchor::kLeftEye);
    const FramePoint &right_eye = face.At(FaceAnchor::kRightEye);
    const FramePoint between{(left_eye.x + right_eye.x) / 2.0f, (left_eye.y + right_eye.y) / 2.0f};
    TakeFaceSamples(face, cells, in_face, features, samples_);
    const std::optional<SkinModel> learned = SkinModel::Learn(samples_);
    const auto known = std::find_if(people_.begin(), people_.end(), [&](const Person &person) {
      return std::hypot(person.place.x - between.x, person.place.y - between.y) < kSamePerson * face.eye_distance;
    });
    if (known != people_.end()) {
      Person person{known->model, between, face.right, face.down, face.eye_distance};
      if (learned) person.model.Follow(*learned, kFollow);
      person.wall = known->wall + kFollow * (MeasureWall(person, cells) - known->wall);
      seen_.push_back(person);
      people_.erase(known);
    } else if (learned) {
      Person person{*learned, between, face.right, face.down, face.eye_distance};
      person.wall = MeasureWall(person, cells);
      seen_.push_back(person);
    }
  }
  for (Person &person : people_) {
    if (++person.frames_unseen <= kRemembered) seen_.push_back(person);
  }
  std::swap(people_, seen_);
  eye_distance_ = 0.0f;
  for (Person &person : people_) {
    const ShadeFreeColour &middle = person.model.Middle();
    const float saturation = std::hypot(middle.blue, middle.red);
    const float codes = saturation * middle.luma * 255.0f;
    person.certain_far = Part(kGreyish, kColourful, saturation) * Part(kNoisyCodes, kClearCodes, codes) *
                         (1.0f - Part(kHands, kWall, person.wall));
    eye_distance_ = std::max(eye_distance_, person.eye_distance);
  }
}

float KnownPeople::MeasureWall(const Person &person, const CellColours &cells) {
  float sum = 0.0f;
  float count = 0.0f;
  for (int row = kWallStep / 2; row < cells.luma.rows; row += kWallStep) {
    for (int column = kWallStep / 2; column < cells.luma.cols; column += kWallStep) {
      const FramePoint place{(static_cast<float>(column) + 0.5f) * kCell, (static_cast<float>(row) + 0.5f) * kCell};
      const float x = place.x - person.place.x;
      const float y = place.y - person.place.y;
      const float below = (x * person.down.x + y * person.down.y) / person.eye_distance;
      if (below > kMouthHeight || NearFace(person, place.x, place.y) > 0.0f) continue;
      sum += person.model.Weight(cells.At(row, column), 1.0f);
      count += 1.0f;
    }
  }
  return count > 0.0f ? sum / count : 0.0f;
}

// 1 where head, neck and breast are, 0 away from them.
template <typename Value>
Value KnownPeople::NearFace(const Person &person, const Value &place_x, const Value &place_y) {
  const auto all = [](float number) { return All<Value>(number); };
  const float scale = 1.0f / person.eye_distance;
  const Value x = (place_x - all(person.place.x)) * all(scale);
  const Value y = (place_y - all(person.place.y)) * all(scale);
  const Value beside = Magnitude(x * all(person.right.x) + y * all(person.right.y));
  const Value below = x * all(person.down.x) + y * all(person.down.y);
  return (all(1.0f) - Part<Value>(kBesideWhole, kBesideEnd, beside)) *
         (all(1.0f) - Part<Value>(kAboveWhole, kAboveEnd, all(0.0f) - below)) *
         (all(1.0f) - Part<Value>(kBelowWhole, kBelowEnd, below));
}

Lanes KnownPeople::WeightOf(const ShadeFreeLanes &colours, const Lanes &inside, const Lanes &x, float y) const {
  Lanes weight = All<Lanes>(0.0f);
  for (const Person &person : people_) {
    const Lanes here = person.model.Weight(colours, All<Lanes>(1.0f) + All<Lanes>(kInFaceSlack - 1.0f) * inside);
    if (!cv::v_check_any(here > weight)) continue;
    const Lanes near = NearFace<Lanes>(person, x, All<Lanes>(y));
    weight = Greater(weight, here * Greater(All<Lanes>(person.certain_far), near));
  }
  return weight;
}

void KnownPeople::WeighRow(const CellColours &cells, const cv::Mat &in_face, int row, uint8_t *weights) const {
  const uint8_t *inside = in_face.ptr<uint8_t>(row);
  const Lanes middles = Lanes(0.5f, 1.5f, 2.5f, 3.5f) * All<Lanes>(kCell);
  for (int column = 0; column < in_face.cols; column += kLanes) {
    const int count = in_face.cols - column;
    const Lanes weight =
        WeightOf(cells.From(row, column), LoadSome(inside + column, count) * All<Lanes>(1.0f / 255.0f),
                 middles + All<Lanes>(static_cast<float>(column * kCell)), (static_cast<float>(row) + 0.5f) * kCell);
    StoreSome(All<Lanes>(255.0f) * weight + All<Lanes>(0.5f), count, weights + column);
  }
}

void KnownPeople::LeaveOut(cv::Mat &weight) const {
  for (const Person &person : people_) {
    const float reach = (kOwnBeside + kOwnBelow) * person.eye_distance;
    const auto cell = [](float pixels, int most) {
      return static_cast<int>(std::clamp(pixels / kCell, 0.0f, static_cast<float>(most)));
    };
    for (int row = cell(person.place.y - reach, weight.rows); row < cell(person.place.y + reach, weight.rows); ++row) {
      uint8_t *weights = weight.ptr<uint8_t>(row);
      const int end = cell(person.place.x + reach, weight.cols);
      for (int column = cell(person.place.x - reach, weight.cols); column < end; ++column) {
        const float x = ((static_cast<float>(column) + 0.5f) * kCell - person.place.x) / person.eye_distance;
        const float y = ((static_cast<float>(row) + 0.5f) * kCell - person.place.y) / person.eye_distance;
        const float below = x * person.down.x + y * person.down.y;
        const bool own =
            std::fabs(x * person.right.x + y * person.right.y) < kOwnBeside && below > -kOwnAbove && below < kOwnBelow;
        if (own) weights[column] = 0;
      }
    }
  }
}

float KnownPeople::ContrastAt(int row, int column) const {
  float contrast = 1.0f;
  float nearest = std::numeric_limits<float>::max();
  for (const Person &person : people_) {
    const float x = ((static_cast<float>(column) + 0.5f) * kCell - person.place.x) / person.eye_distance;
    const float y = ((static_cast<float>(row) + 0.5f) * kCell - person.place.y) / person.eye_distance;
    const float away = x * x + y * y;
    if (away >= nearest) continue;
    nearest = away;
    contrast = person.model.Contrast();
  }
  return contrast;
}

void KnownPeople::MeasureOwnColour(const CellColours &cells, float black, const cv::Mat &weight,
                                   const cv::Mat &in_face) {
  if (people_.empty()) own_.reset();
  if (people_.empty()) return;
  float sum = 0.0f;
  OwnColour own;
  for (int row = 0; row < weight.rows; ++row) {
    const uint8_t *weights = weight.ptr<uint8_t>(row);
    const uint8_t *inside = in_face.ptr<uint8_t>(row);
    for (int column = 0; column < weight.cols; ++column) {
      if (weights[column] < kSample || inside[column] < kSample) continue;
      sum += 1.0f;
      own.luma += cells.luma.at<float>(row, column);
      own.u += cells.u.at<float>(row, column);
      own.v += cells.v.at<float>(row, column);
    }
  }
  if (sum == 0.0f) return;
  own.black = black;
  own.luma = std::max(own.luma / sum - own.black, 1.0f);
  own.u = own.u / sum - 128.0f;
  own.v = own.v / sum - 128.0f;
  own_ = own;
}

}  // namespace lumivex
