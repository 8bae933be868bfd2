// Faces in every frame, without a wait: known ones are followed here, others are searched on a thread of their own.
#pragma once

#include <memory>
#include <vector>

#include "following/known_faces.h"
#include "results/result_tree.h"
#include "runner/search_thread.h"
#include "search/face_look.h"
#include "search/search_turns.h"
#include "vision/small_picture.h"

namespace tessera {

// Borrows: the cascades, which its thread uses from construction to destruction. Threads: one at a time.
class LiveFinder {
 public:
  explicit LiveFinder(FaceLook &look);
  ~LiveFinder();
  LiveFinder(const LiveFinder &) = delete;
  LiveFinder &operator=(const LiveFinder &) = delete;

  void SetMaxFaces(int faces);
  // Pictures of something else follow: another camera, or turned.
  void StartAnew();
  // The faces that are known by now. Throws what a search threw.
  std::vector<FoundFace> Find(const PictureView &picture);
  SearchTime Time() const { return thread_.Time(); }

 private:
  void Take(SearchAnswer &&answer, double now);
  void Ask(const std::shared_ptr<const SmallPicture> &picture);

  SearchTurns turns_;  // the thread's
  SmallPictureMaker maker_;
  KnownFaces known_;
  int max_faces_ = 1;
  cv::Size size_;  // of the last picture
  uint64_t generation_ = 0;
  uint64_t pictures_ = 0;
  SearchThread thread_;  // last: ends before what it uses
};

}  // namespace tessera
