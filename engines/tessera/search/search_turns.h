// A search in turns: each takes some milliseconds of a processor, and together they miss no face for long.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "following/known_faces.h"
#include "search/face_look.h"
#include "vision/small_picture.h"

namespace tessera {

struct KnownPlace {
  uint32_t id = 0;
  Placement placement;  // of the template's frame in the task's picture
};

struct SearchTask {
  std::shared_ptr<const SmallPicture> picture;  // never null
  std::vector<KnownPlace> known;
  int max_faces = 1;
};

// What a look at a known face gave.
struct LookResult {
  uint32_t id = 0;
  bool seen = false;
  Placement correction;                      // from the template's frame to that of the new template
  std::shared_ptr<const FaceTemplate> face;  // the new template; null: the old one stays
  std::vector<cv::Point2f> points;           // in units of the new template's frame; empty: nothing told them
};

struct SearchAnswer {
  std::vector<LookResult> looks;
  std::vector<NewFace> fresh;  // in the task's picture, unless carried to a later one
};

// Borrows: the cascades. Threads: one at a time, but for Stop.
class SearchTurns {
 public:
  explicit SearchTurns(FaceLook &look) : look_(look) {}

  SearchAnswer Turn(const SearchTask &task);
  // Ends a turn that is under way after the cascade that it is at. There will be no other.
  void Stop() { stop_ = true; }

 private:
  struct Doubtful {
    Placement placement;
    int pictures_left = 0;
  };

  void LookAtOne(const SearchTask &task, SearchAnswer &answer);
  void LookForMore(const SearchTask &task, SearchAnswer &answer);
  void LookAtDoubtful(const SearchTask &task, SearchAnswer &answer);
  SearchPass NextPass(const cv::Mat &luma);

  FaceLook &look_;
  std::atomic<bool> stop_{false};
  uint64_t turn_ = 0;
  size_t next_known_ = 0;
  uint64_t pass_ = 0;
  DarkPasses dark_passes_;
  size_t first_proposal_ = 0;  // of those of a pass: where there are many, each has its turn
  std::vector<Doubtful> doubtful_;
};

}  // namespace tessera
