// A landmark filter on a source, and what comes of it.
#pragma once

#include <obs.hpp>

#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace vanta_integration {

struct Point {
  double x = 0;  // pixels
  double y = 0;  // pixels
};

// One signal, with the points of its first face.
struct FaceMessage {
  long long faces = 0;
  long long width = 0;   // pixels, of the analysed picture
  long long height = 0;  // pixels
  std::vector<Point> points;
  std::thread::id thread;  // on which it came
};

// The road that a landmark filter takes is the host's choice when it is made.
enum class Road { kCpu, kGpu };

// Owns: the filter. Takes it off its source at the end. Threads: the test's.
class LandmarkFilter {
 public:
  LandmarkFilter(obs_source_t *source, Road road);
  ~LandmarkFilter() { Remove(); }
  LandmarkFilter(const LandmarkFilter &) = delete;
  LandmarkFilter &operator=(const LandmarkFilter &) = delete;

  obs_source_t *Get() const { return filter_; }
  // Off the source and released; libobs destroys it on a thread of its own.
  void Remove();

 private:
  obs_source_t *const source_;
  OBSSourceAutoRelease filter_;
};

// Keeps every message from construction to destruction. Threads: any.
class FaceReceiver {
 public:
  FaceReceiver();
  ~FaceReceiver();
  FaceReceiver(const FaceReceiver &) = delete;
  FaceReceiver &operator=(const FaceReceiver &) = delete;

  std::vector<FaceMessage> Messages() const;
  // The newest one when `count` more have come; fails the test when they do not.
  FaceMessage WaitForNext(size_t count) const;

 private:
  static void Receive(void *param, calldata_t *data);

  mutable std::mutex mutex_;
  std::vector<FaceMessage> messages_;  // guarded by mutex_
};

}  // namespace vanta_integration
