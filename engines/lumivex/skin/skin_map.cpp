#include "skin/skin_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "pixels/cell_grid.h"
#include "skin/face_regions.h"

namespace lumivex {
namespace {

constexpr int kFeather = 5;           // cells across which the edge of skin is softened
constexpr float kInFaceSlack = 4.0f;  // a face has spots and blush, and it is skin all the same
constexpr float kFollow = 0.12f;      // of the way to what the newest frame shows
constexpr float kSamePerson = 0.8f;   // distances between the eyes that a face moves at most from frame to frame
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
constexpr int kWideSide = 5;          // cells, of the means in the dark
constexpr float kDark = 0.16f;        // of white: up to here they count alone,
constexpr float kLight = 0.28f;       // from here on not at all
// Where nobody is known.
constexpr float kLeastEdge = 0.1f;   // of the upper edges that a wall fills
constexpr float kWallSlack = 1.5f;   // of its colour,
constexpr float kWallLight = 0.18f;  // and of its light: a part of it
constexpr int kRowsOfStep = 90;      // of cells, for each row of a step
constexpr int kMostStep = 3;
constexpr int kTopRows = 4;           // cells, that tell its light
constexpr float kWallDarkest = 0.3f;  // of its middle, at that
constexpr float kWallLightest = 1.8f;
constexpr float kLeastRest = 0.02f;  // of the skin, without what is a wall
constexpr float kHeadSlack = 1.5f;   // of a head's colour, in plain places
// Where a known person's hair, neck and breast may be: distances between the eyes.
constexpr float kOwnBeside = 1.5f;
constexpr float kOwnAbove = 2.0f;
constexpr float kOwnBelow = 3.0f;
// Spots are looked for on so many cells to each side, one for so many lines of the frame.
constexpr int kLinesOfSpot = 103;
constexpr int kLeastSpot = 3;
constexpr int kMostSpot = 11;
constexpr int kRemembered = 90;   // frames without the face
constexpr uint8_t kSample = 200;  // inside the face by so much, and not a feature

struct SamplePlace {
  FaceAnchor anchor;
  float right;  // distances between the eyes
  float down;
  float radius;
};
// Where skin is bare on nearly every face. The forehead is looked at low, below a fringe.
constexpr SamplePlace kSamplePlaces[] = {
    {FaceAnchor::kLeftCheek, 0.0f, 0.0f, 0.20f},
    {FaceAnchor::kRightCheek, 0.0f, 0.0f, 0.20f},
    {FaceAnchor::kForehead, 0.0f, 0.22f, 0.18f},
    {FaceAnchor::kFaceCenter, 0.0f, 0.0f, 0.12f},
};

// Up to four values, from a row that has `count` of them from there on.
Lanes LoadSome(const float *row, int count) {
  if (count >= kLanes) return cv::v_load(row);
  float values[kLanes] = {};
  std::copy_n(row, count, values);
  return cv::v_load(values);
}
Lanes LoadSome(const uint8_t *row, int count) {
  alignas(sizeof(int)) uint8_t values[kLanes] = {};
  std::copy_n(row, std::min(count, kLanes), values);
  return cv::v_cvt_f32(cv::v_reinterpret_as_s32(cv::v_load_expand_q(values)));
}
// Cut to whole numbers, 0 to 255.
void StoreSome(const Lanes &lanes, int count, uint8_t *row) {
  int values[kLanes];
  cv::v_store(values, cv::v_trunc(lanes));
  for (int i = 0; i < std::min(count, kLanes); ++i) row[i] = static_cast<uint8_t>(values[i]);
}

}  // namespace

bool SkinMap::Find(const Nv12View &view, const YuvSpace &space, const cv::Mat &mean_luma, const Faces &faces,
                   const RowBands &bands) {
  MeasureChroma(view, bands);
  for (cv::Mat *map : {&in_face_, &features_}) {
    map->create(mean_luma.rows, mean_luma.cols, CV_8U);
    std::fill_n(map->data, map->total(), uint8_t{0});  // cv::Mat::setTo allocates
  }
  for (const Face &face : faces) DrawFaceRegions(face, kCell, in_face_, features_);
  const ShadeFree shade_free(space);
  MeetPeople(faces, shade_free, mean_luma);
  WeighCells(shade_free, space, view.height, mean_luma, bands);
  MeasureOwnColour(space, mean_luma);
  bool any = false;
  rows_.resize(static_cast<size_t>(weight_.rows));
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *weights = weight_.ptr<uint8_t>(row);
    const bool found = std::any_of(weights, weights + weight_.cols, [](uint8_t weight) { return weight != 0; });
    rows_[static_cast<size_t>(row)] = found;
    any = any || found;
  }
  return any;
}

void SkinMap::MeasureChroma(const Nv12View &view, const RowBands &bands) {
  const int rows = (view.height + kCell - 1) / kCell;
  const int columns = (view.width + kCell - 1) / kCell;
  mean_u_.create(rows, columns, CV_32F);
  mean_v_.create(rows, columns, CV_32F);
  bands.Run(rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) {
      const uint8_t *upper = view.UvRow(2 * row);
      const uint8_t *lower = view.UvRow(std::min(2 * row + 1, view.chroma_height - 1));
      float *us = mean_u_.ptr<float>(row);
      float *vs = mean_v_.ptr<float>(row);
      for (int column = 0; column < columns; ++column) {
        const int left = 4 * column;
        const int right = 2 * column + 1 < view.chroma_width ? left + 2 : left;
        us[column] = static_cast<float>(upper[left] + upper[right] + lower[left] + lower[right]) * 0.25f;
        vs[column] =
            static_cast<float>(upper[left + 1] + upper[right + 1] + lower[left + 1] + lower[right + 1]) * 0.25f;
      }
    }
  });
}

void SkinMap::TakeSamples(const Face &face, const ShadeFree &shade_free, const cv::Mat &mean_luma) {
  samples_.clear();
  for (const SamplePlace &place : kSamplePlaces) {
    const FramePoint middle = face.Beside(place.anchor, place.right, place.down);
    const float radius = std::max(place.radius * face.eye_distance, static_cast<float>(kCell));
    const auto cell = [](float pixels, int count) {
      return static_cast<int>(std::clamp(pixels / kCell, 0.0f, static_cast<float>(count)));
    };
    const int bottom = cell(middle.y + radius, mean_luma.rows - 1);
    const int right = cell(middle.x + radius, mean_luma.cols - 1);
    for (int row = cell(middle.y - radius, mean_luma.rows); row <= bottom; ++row) {
      for (int column = cell(middle.x - radius, mean_luma.cols); column <= right; ++column) {
        if (in_face_.at<uint8_t>(row, column) < kSample || features_.at<uint8_t>(row, column) > 255 - kSample) continue;
        samples_.push_back(shade_free.Of(mean_luma.at<float>(row, column), mean_u_.at<float>(row, column),
                                         mean_v_.at<float>(row, column)));
      }
    }
  }
}

void SkinMap::MeetPeople(const Faces &faces, const ShadeFree &shade_free, const cv::Mat &mean_luma) {
  seen_.clear();
  for (const Face &face : faces) {
    const FramePoint &left_eye = face.At(FaceAnchor::kLeftEye);
    const FramePoint &right_eye = face.At(FaceAnchor::kRightEye);
    const FramePoint between{(left_eye.x + right_eye.x) / 2.0f, (left_eye.y + right_eye.y) / 2.0f};
    TakeSamples(face, shade_free, mean_luma);
    const std::optional<SkinModel> learned = SkinModel::Learn(samples_);
    const auto known = std::find_if(people_.begin(), people_.end(), [&](const Person &person) {
      return std::hypot(person.place.x - between.x, person.place.y - between.y) < kSamePerson * face.eye_distance;
    });
    if (known != people_.end()) {
      Person person{known->model, between, face.right, face.down, face.eye_distance};
      if (learned) person.model.Follow(*learned, kFollow);
      person.wall = known->wall + kFollow * (MeasureWall(person, shade_free, mean_luma) - known->wall);
      seen_.push_back(person);
      people_.erase(known);
    } else if (learned) {
      Person person{*learned, between, face.right, face.down, face.eye_distance};
      person.wall = MeasureWall(person, shade_free, mean_luma);
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

float SkinMap::MeasureWall(const Person &person, const ShadeFree &shade_free, const cv::Mat &mean_luma) const {
  float sum = 0.0f;
  float count = 0.0f;
  for (int row = kWallStep / 2; row < mean_luma.rows; row += kWallStep) {
    for (int column = kWallStep / 2; column < mean_luma.cols; column += kWallStep) {
      const FramePoint place{(static_cast<float>(column) + 0.5f) * kCell, (static_cast<float>(row) + 0.5f) * kCell};
      const float x = place.x - person.place.x;
      const float y = place.y - person.place.y;
      const float below = (x * person.down.x + y * person.down.y) / person.eye_distance;
      if (below > kMouthHeight || NearFace(person, place.x, place.y) > 0.0f) continue;
      sum += person.model.Weight(shade_free.Of(mean_luma.at<float>(row, column), mean_u_.at<float>(row, column),
                                               mean_v_.at<float>(row, column)),
                                 1.0f);
      count += 1.0f;
    }
  }
  return count > 0.0f ? sum / count : 0.0f;
}

// 1 where head, neck and breast are, 0 away from them.
template <typename Value>
Value SkinMap::NearFace(const Person &person, const Value &place_x, const Value &place_y) {
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

Lanes SkinMap::WeightOf(const ShadeFreeLanes &colours, const Lanes &inside, const Lanes &x, float y) const {
  Lanes weight = All<Lanes>(0.0f);
  for (const Person &person : people_) {
    const Lanes here = person.model.Weight(colours, All<Lanes>(1.0f) + All<Lanes>(kInFaceSlack - 1.0f) * inside);
    if (!cv::v_check_any(here > weight)) continue;
    const Lanes near = NearFace<Lanes>(person, x, All<Lanes>(y));
    weight = Greater(weight, here * Greater(All<Lanes>(person.certain_far), near));
  }
  return weight;
}

// In the dark a cell's colour is mostly noise, and the light and dark of its few codes are far apart.
void SkinMap::BlurDarkChroma() {
  const cv::Size side(kWideSide, kWideSide);
  cv::blur(mean_u_, wide_u_, side, cv::Point(-1, -1), cv::BORDER_REPLICATE);
  cv::blur(mean_v_, wide_v_, side, cv::Point(-1, -1), cv::BORDER_REPLICATE);
}

// Of the skin by colour, what reaches the picture's upper edges in one colour and light is a wall; unless there would
// be next to nothing left, as where skin fills the picture.
void SkinMap::LeaveOutWalls(const ShadeFree &shade_free, const cv::Mat &mean_luma, int step) {
  samples_.clear();
  const auto look = [&](int row, int column) {
    if (others_.at<uint8_t>(row, column) < kSample / 2) return;
    samples_.push_back(shade_free.Of(mean_luma.at<float>(row, column), mean_u_.at<float>(row, column),
                                     mean_v_.at<float>(row, column)));
  };
  for (int column = 0; column < others_.cols; ++column) look(0, column);
  for (int row = step; row < others_.rows * 2 / 3; row += step) {
    look(row, 0);
    look(row, others_.cols - 1);
  }
  const size_t edge = static_cast<size_t>(others_.cols) + static_cast<size_t>(others_.rows);
  if (static_cast<float>(samples_.size()) < kLeastEdge * static_cast<float>(edge) / static_cast<float>(step)) return;
  const std::optional<SkinModel> wall = SkinModel::Learn(samples_);
  if (!wall) return;
  wall_.create(others_.size(), CV_8U);
  int64_t before = 0;
  int64_t after = 0;
  const Lanes one = All<Lanes>(1.0f);
  const Lanes middle = All<Lanes>(wall->Middle().luma);
  MeasureWallLight(shade_free, mean_luma, *wall, step);
  for (int row = 0; row < others_.rows; row += step) {
    const float *luma = mean_luma.ptr<float>(row);
    const float *u = mean_u_.ptr<float>(row);
    const float *v = mean_v_.ptr<float>(row);
    const uint8_t *weights = others_.ptr<uint8_t>(row);
    uint8_t *left = wall_.ptr<uint8_t>(row);
    for (int column = 0; column < others_.cols; column += kLanes) {
      const int count = others_.cols - column;
      ShadeFreeLanes colours =
          shade_free.Of(LoadSome(luma + column, count), LoadSome(u + column, count), LoadSome(v + column, count));
      const Lanes lit = colours.luma * LoadSome(per_wall_light_.data() + column, count);
      const Lanes off = Magnitude(lit - one);
      colours.luma = middle * lit;
      const Lanes part =
          wall->Weight(colours, All<Lanes>(kWallSlack)) * (one - Part<Lanes>(kWallLight, 2.0f * kWallLight, off));
      StoreSome(LoadSome(weights + column, count) * (one - part), count, left + column);
    }
    for (int column = 0; column < others_.cols; ++column) {
      before += weights[column];
      after += left[column];
    }
  }
  if (static_cast<double>(after) > kLeastRest * static_cast<double>(before)) std::swap(others_, wall_);
}

// A lamp at one side lights a wall less towards the other: how light it is at the picture's top tells for each column.
// Where something else is there, the columns beside tell.
void SkinMap::MeasureWallLight(const ShadeFree &shade_free, const cv::Mat &mean_luma, const SkinModel &wall, int step) {
  const float middle = wall.Middle().luma;
  const int columns = others_.cols;
  // First sums over the rows, then means over the columns beside each other.
  std::vector<cv::Vec2f> &sums = wall_sums_;
  sums.assign(static_cast<size_t>(columns), cv::Vec2f());
  for (int column = 0; column < columns; ++column) {
    for (int row = 0; row < std::min(kTopRows, others_.rows); row += step) {
      if (others_.at<uint8_t>(row, column) < kSample / 2) continue;
      const ShadeFreeColour colour = shade_free.Of(mean_luma.at<float>(row, column), mean_u_.at<float>(row, column),
                                                   mean_v_.at<float>(row, column));
      if (colour.luma < kWallDarkest * middle || colour.luma > kWallLightest * middle) continue;
      if (wall.Weight({middle, colour.blue, colour.red}, kWallSlack) < 0.5f) continue;
      sums[static_cast<size_t>(column)] += cv::Vec2f(colour.luma, 1.0f);
    }
  }
  std::vector<float> &light = per_wall_light_;
  light.assign(static_cast<size_t>(columns), 0.0f);
  for (int column = 0; column < columns; ++column) {
    cv::Vec2f sum;
    for (int x = std::max(column - kTopRows, 0); x <= std::min(column + kTopRows, columns - 1); ++x)
      sum += sums[static_cast<size_t>(x)];
    if (sum[1] > kTopRows) light[static_cast<size_t>(column)] = sum[0] / sum[1];
  }
  int last = -1;
  for (int column = 0; column <= columns; ++column) {
    if (column < columns && light[static_cast<size_t>(column)] <= 0.0f) continue;
    const float from = last >= 0 ? light[static_cast<size_t>(last)] : 0.0f;
    const float to = column < columns ? light[static_cast<size_t>(column)] : 0.0f;
    for (int x = last + 1; x < column; ++x) {
      const float part = static_cast<float>(x - last) / static_cast<float>(column - last);
      float &here = light[static_cast<size_t>(x)];
      here = from > 0.0f && to > 0.0f ? from + part * (to - from) : std::max(from, to);
      if (here <= 0.0f) here = middle;
    }
    last = column;
  }
  for (float &here : light) here = 1.0f / std::max(here, 0.01f);
}

// Who is known, with hair and breast, is nobody else.
void SkinMap::LeaveOutKnownHeads() {
  for (const Person &person : people_) {
    const float reach = (kOwnBeside + kOwnBelow) * person.eye_distance;
    const auto cell = [](float pixels, int most) {
      return static_cast<int>(std::clamp(pixels / kCell, 0.0f, static_cast<float>(most)));
    };
    for (int row = cell(person.place.y - reach, others_.rows); row < cell(person.place.y + reach, others_.rows);
         ++row) {
      uint8_t *weights = others_.ptr<uint8_t>(row);
      const int end = cell(person.place.x + reach, others_.cols);
      for (int column = cell(person.place.x - reach, others_.cols); column < end; ++column) {
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

// Of the skin by colour, the heads alone.
void SkinMap::KeepHeads() {
  for (int row = 0; row < others_.rows; ++row) {
    const uint8_t *kinds = heads_.Kinds().ptr<uint8_t>(row);
    uint8_t *weights = others_.ptr<uint8_t>(row);
    for (int column = 0; column < others_.cols; ++column) {
      if (kinds[column] < HeadPatches::kFirstHead) weights[column] = 0;
    }
  }
}

// Beside a head, a plain place is skin as far as it has that head's colour: an arm, and no board.
void SkinMap::LeaveOutPlainPlaces(const ShadeFree &shade_free, const cv::Mat &mean_luma) {
  std::array<std::optional<SkinModel>, HeadPatches::kMostHeads> models;
  const auto colour_at = [&](int row, int column) {
    return shade_free.Of(mean_luma.at<float>(row, column), mean_u_.at<float>(row, column),
                         mean_v_.at<float>(row, column));
  };
  for (int head = 0; head < heads_.Count(); ++head) {
    samples_.clear();
    for (int row = 0; row < others_.rows; row += 2) {
      for (int column = row / 2 % 2; column < others_.cols; column += 2) {
        if (heads_.Kinds().at<uint8_t>(row, column) == HeadPatches::kFirstHead + head &&
            others_.at<uint8_t>(row, column) >= kSample)
          samples_.push_back(colour_at(row, column));
      }
    }
    models[static_cast<size_t>(head)] = SkinModel::Learn(samples_);
  }
  for (int row = 0; row < others_.rows; ++row) {
    const uint8_t *kinds = heads_.Kinds().ptr<uint8_t>(row);
    uint8_t *weights = others_.ptr<uint8_t>(row);
    for (int column = 0; column < others_.cols; ++column) {
      if (weights[column] == 0 || kinds[column] != HeadPatches::kPlain) continue;
      float most = 0.0f;
      for (const auto &model : models) {
        if (model) most = std::max(most, model->Weight(colour_at(row, column), kHeadSlack));
      }
      weights[column] = static_cast<uint8_t>(static_cast<float>(weights[column]) * most);
    }
  }
}

void SkinMap::WeighRow(const ShadeFree &shade_free, int row, const float *luma) {
  const float *u = mean_u_.ptr<float>(row);
  const float *v = mean_v_.ptr<float>(row);
  const uint8_t *in_face = in_face_.ptr<uint8_t>(row);
  uint8_t *weights = weight_.ptr<uint8_t>(row);
  const Lanes middles = Lanes(0.5f, 1.5f, 2.5f, 3.5f) * All<Lanes>(kCell);
  for (int column = 0; column < weight_.cols; column += kLanes) {
    const int count = weight_.cols - column;
    const ShadeFreeLanes colours =
        shade_free.Of(LoadSome(luma + column, count), LoadSome(u + column, count), LoadSome(v + column, count));
    const Lanes weight =
        WeightOf(colours, LoadSome(in_face + column, count) * All<Lanes>(1.0f / 255.0f),
                 middles + All<Lanes>(static_cast<float>(column * kCell)), (static_cast<float>(row) + 0.5f) * kCell);
    StoreSome(All<Lanes>(255.0f) * weight + All<Lanes>(0.5f), count, weights + column);
  }
}

void SkinMap::WeighAnyonesRow(const ShadeFree &shade_free, int row, const float *luma) {
  const float *u = mean_u_.ptr<float>(row);
  const float *v = mean_v_.ptr<float>(row);
  uint8_t *weights = others_.ptr<uint8_t>(row);
  for (int column = 0; column < others_.cols; column += kLanes) {
    const int count = others_.cols - column;
    const Lanes here = LoadSome(luma + column, count);
    ShadeFreeLanes colours = shade_free.Of(here, LoadSome(u + column, count), LoadSome(v + column, count));
    if (cv::v_check_any(colours.luma < All<Lanes>(kLight))) {
      const ShadeFreeLanes wide = shade_free.Of(here, LoadSome(wide_u_.ptr<float>(row) + column, count),
                                                LoadSome(wide_v_.ptr<float>(row) + column, count));
      const Lanes own = Part<Lanes>(kDark, kLight, colours.luma);
      colours.blue = wide.blue + own * (colours.blue - wide.blue);
      colours.red = wide.red + own * (colours.red - wide.red);
    }
    StoreSome(All<Lanes>(255.0f) * SkinBand(colours) + All<Lanes>(0.5f), count, weights + column);
  }
}

void SkinMap::WeighAnyones(const ShadeFree &shade_free, const cv::Mat &mean_luma, const RowBands &bands) {
  others_.create(mean_luma.rows, mean_luma.cols, CV_8U);
  BlurDarkChroma();
  // Heads are looked for in blocks, so beside known people some rows stand for those below them.
  const int step = people_.empty() ? 1 : std::clamp((others_.rows + kRowsOfStep / 2) / kRowsOfStep, 1, kMostStep);
  bands.Run(others_.rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) {
      if (row % step == 0) WeighAnyonesRow(shade_free, row, mean_luma.ptr<float>(row));
    }
  });
  LeaveOutWalls(shade_free, mean_luma, step);
  for (int row = 0; row < others_.rows; ++row) {
    if (row % step != 0) std::copy_n(others_.ptr<uint8_t>(row - row % step), others_.cols, others_.ptr<uint8_t>(row));
  }
}

void SkinMap::WeighCells(const ShadeFree &shade_free, const YuvSpace &space, int height, const cv::Mat &mean_luma,
                         const RowBands &bands) {
  weight_.create(mean_luma.rows, mean_luma.cols, CV_8U);
  const bool known = !people_.empty();
  spots_.Clear();
  WeighAnyones(shade_free, mean_luma, bands);
  if (known) LeaveOutKnownHeads();
  heads_.Find(others_, mean_luma, static_cast<float>(space.black), eye_distance_ / kCell);
  if (known) {
    bands.Run(weight_.rows, kCellRowsOfBand, [&](int first, int end, int) {
      for (int row = first; row < end; ++row) WeighRow(shade_free, row, mean_luma.ptr<float>(row));
    });
    KeepHeads();
  } else if (heads_.Count() > 0) {
    LeaveOutPlainPlaces(shade_free, mean_luma);
  }
  if (!known || heads_.Count() > 0) {
    const int radius = std::clamp((height + kLinesOfSpot / 2) / kLinesOfSpot, kLeastSpot, kMostSpot);
    spots_.Find(mean_luma, mean_u_, mean_v_, space, radius, others_, bands);
  }
  if (!known) std::swap(weight_, others_);
  if (known && heads_.Count() > 0) AddOthers();
  cv::blur(weight_, weight_, cv::Size(kFeather, kFeather), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  // After the feathering, which would carry skin over their edges.
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *features = features_.ptr<uint8_t>(row);
    uint8_t *weights = weight_.ptr<uint8_t>(row);
    for (int column = 0; column < weight_.cols; ++column) {
      weights[column] = static_cast<uint8_t>(weights[column] * (255 - features[column]) / 255);
    }
  }
  if (!spots_.Any()) return;
  plain_.create(weight_.size(), CV_8U);
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *weights = weight_.ptr<uint8_t>(row);
    const uint8_t *spots = spots_.Drawn().ptr<uint8_t>(row);
    uint8_t *plain = plain_.ptr<uint8_t>(row);
    std::copy_n(weights, weight_.cols, plain);
    if (!spots_.InRow(row)) continue;
    for (int column = 0; column < weight_.cols; ++column)
      plain[column] = static_cast<uint8_t>(weights[column] * (255 - spots[column]) / 255);
  }
}

// A cell is of one of those who are not known where it has more of their skin.
void SkinMap::AddOthers() {
  for (int row = 0; row < weight_.rows; ++row) {
    uint8_t *weights = weight_.ptr<uint8_t>(row);
    uint8_t *others = others_.ptr<uint8_t>(row);
    for (int column = 0; column < weight_.cols; ++column) {
      const bool more = others[column] > weights[column];
      if (more) weights[column] = others[column];
      others[column] = more;
    }
  }
}

// The mean over the faces' own skin; kept while no face is in view.
void SkinMap::MeasureOwnColour(const YuvSpace &space, const cv::Mat &mean_luma) {
  if (people_.empty()) own_.reset();
  if (people_.empty()) return;
  float sum = 0.0f;
  OwnColour own;
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *weights = weight_.ptr<uint8_t>(row);
    const uint8_t *in_face = in_face_.ptr<uint8_t>(row);
    for (int column = 0; column < weight_.cols; ++column) {
      if (weights[column] < kSample || in_face[column] < kSample) continue;
      sum += 1.0f;
      own.luma += mean_luma.at<float>(row, column);
      own.u += mean_u_.at<float>(row, column);
      own.v += mean_v_.at<float>(row, column);
    }
  }
  if (sum == 0.0f) return;
  own.black = static_cast<float>(space.black);
  own.luma = std::max(own.luma / sum - own.black, 1.0f);
  own.u = own.u / sum - 128.0f;
  own.v = own.v / sum - 128.0f;
  own_ = own;
}

float SkinMap::ContrastAt(int row, int column) const {
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

bool SkinMap::RowHasSkin(int pixel_row, int scale) const {
  const int row = pixel_row / scale;
  const int first = std::max(row - 1, 0);
  const int last = std::min(row + 1, weight_.rows - 1);
  return std::any_of(rows_.begin() + first, rows_.begin() + last + 1, [](uint8_t any) { return any != 0; });
}

cv::Range SkinMap::RowsWithSkin() const {
  const auto holds = [](uint8_t any) { return any != 0; };
  const auto first = std::find_if(rows_.begin(), rows_.end(), holds);
  const auto behind = std::find_if(rows_.rbegin(), std::make_reverse_iterator(first), holds).base();
  return {static_cast<int>(first - rows_.begin()), static_cast<int>(behind - rows_.begin())};
}

}  // namespace lumivex
