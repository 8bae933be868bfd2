// Looking for faces in processor time that no other thread wants.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "results/result_tree.h"
#include "search/face_memory.h"
#include "vision/picture_view.h"

namespace tessera {

// Whether the calling thread is batch work by its scheduling policy: its owner says that its work may wait.
bool CallerIsBatchWork();

using FindFaces = std::function<std::vector<FoundFace>(const PictureView &picture, FaceMemory &memory)>;

// A search on a thread of its own, which the system runs while no other thread wants a processor.
// Owns: the thread. Threads: one at a time.
class BackgroundFinder {
 public:
  // Looking through a picture takes 10 to 60 ms of a processor. A machine that has not that to spare in all this time
  // is busy, and two pictures a second that are searched at the caller's priority keep the points from stopping.
  static constexpr std::chrono::milliseconds kPatience{500};

  explicit BackgroundFinder(FindFaces find);
  // Does not wait for the picture that the thread is at: it ends by itself behind that.
  ~BackgroundFinder();
  BackgroundFinder(const BackgroundFinder &) = delete;
  BackgroundFinder &operator=(const BackgroundFinder &) = delete;

  // False when there was too little idle time: `memory` and `faces` are then as before, and what the thread still finds
  // is dropped. Throws what the search throws. The picture is copied.
  bool Find(const PictureView &picture, FaceMemory &memory, std::vector<FoundFace> &faces,
            std::chrono::milliseconds patience = kPatience);

  struct Search;  // what it shares with its thread

 private:
  const std::shared_ptr<Search> search_;
};

}  // namespace tessera
