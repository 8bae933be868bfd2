// The faces that are known, followed from picture to picture.
#pragma once

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

#include "features/face_features.h"
#include "following/face_template.h"
#include "following/own_shape.h"
#include "results/result_tree.h"
#include "vision/picture_view.h"

namespace tessera {

// A face that a search has found.
struct NewFace {
  Placement placement;  // in the picture that was searched
  Features features;
  std::shared_ptr<const FaceTemplate> face;  // never null
  std::vector<cv::Point2f> points;           // that a network told, units; empty: none did
  bool trained = false;                      // one of the user's networks told the face or its points
};

struct KnownFace {
  uint32_t id = 0;
  Placement placement;                       // of the template's frame, in the last picture
  std::shared_ptr<const FaceTemplate> face;  // never null
  Features features;                         // smoothed
  OwnShape own_shape;
  // Where the face is drawn, in the template's frame: after each search it comes to lie on it in small steps.
  Placement drawn;
  cv::Point2f step;          // from the picture before to the last one, units
  float correlation = 1;     // of the last picture with the template
  int bad_pictures = 0;      // in a row
  int missed_looks = 0;      // in a row
  int pictures_away = 0;     // in a row with its middle outside
  bool trained = false;      // as NewFace has it
  bool turned_away = false;  // so far aside that its points are not shown
  double confirmed = 0;      // seconds, when a search last saw it
  uint64_t features_turn = 0;

  Placement Drawn() const { return Composed(placement, drawn); }
};

// Whether the two are the same face.
bool Overlap(const Placement &a, const Placement &b);

// Times are seconds of any clock that does not go back. Threads: one at a time.
class KnownFaces {
 public:
  static constexpr float kSureCorrelation = 0.85F;  // a face that looks like this need not be seen by every search
  // Seconds since a search has seen a face until it is dropped: when one has missed it since, and in any case. Where
  // pictures are few or the search gets no time, there are few looks.
  static constexpr double kLongestUnseen = 2;
  static constexpr double kLongestUnsought = 10;

  const std::vector<KnownFace> &All() const { return faces_; }
  bool Empty() const { return faces_.empty(); }
  size_t Count() const { return faces_.size(); }
  void Clear() { faces_.clear(); }
  void KeepAtMost(size_t faces);

  // Where they are in this picture. Those that look different for some pictures are dropped.
  void Follow(const PictureView &picture);

  // A search has seen the face: `correction` is the way from the template's frame, at the picture that was searched, to
  // that of the new template. `points`: those that a network told, in units of the new template's frame; may be empty.
  void Confirm(uint32_t id, const Placement &correction, std::shared_ptr<const FaceTemplate> face, double now,
               const std::vector<cv::Point2f> &points = {});
  // A search has not seen it. False when it is dropped for that.
  bool Miss(uint32_t id);
  void Drop(uint32_t id);
  // Not one that is known already. `now` as in Confirm.
  bool Add(const NewFace &face, double now);
  void DropUnconfirmed(double now);

  // Looks for the features of at most `faces` of them: the largest one every second time, the others in turn.
  void FindFeatures(const PictureView &picture, size_t faces);

  // Those that can be seen, in the order in which they came, in pixels of a picture `scale` times as large as the one
  // that they are followed in, of that `size`.
  std::vector<FoundFace> Shown(cv::Size size, float scale) const;

 private:
  KnownFace *Find(uint32_t id);
  KnownFace *NextForFeatures();

  std::vector<KnownFace> faces_;
  uint32_t last_id_ = 0;
  uint64_t features_turn_ = 0;
};

}  // namespace tessera
