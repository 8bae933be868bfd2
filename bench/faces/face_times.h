// Pictures given to the engine's finder of faces in real time, and what they cost the thread that gives them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "face_pictures.h"
#include "faces/face_finder.h"
#include "files/loader.h"
#include "ratio.h"

namespace vanta_bench {

inline constexpr double kRate = 30;  // pictures a second

// The value below which that part of all lies; 0 of none.
double Percentile(std::vector<double> values, double part);

// A figure that has a bar of its own, as a row that is printed.
Row Figure(const std::string &name, const char *unit, double value, double bar);

struct Shot {
  double ms = 0;  // processor time of this thread
  lumivex::Faces faces;
};

// One engine's finder, fed in real time.
class Feed {
 public:
  explicit Feed(double rate = kRate);

  Shot Give(const Nv12 &picture);
  // Until the next picture is due. Give does so, too.
  void SleepUntilNext();
  void SleepHalf() const;
  // Part of a core that the search thread has taken.
  double SearchShare() const { return finder_.TimeOfSearch().Share(); }

 private:
  lumivex::Loader loader_;
  lumivex::FaceFinder finder_{loader_};
  double rate_;
  std::chrono::steady_clock::duration period_;
  bool is_due_ = false;
  uint64_t time_ = 1;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

// The work that the frame's thread is compared with.
class Shrinking {
 public:
  explicit Shrinking(const std::vector<Nv12> &pictures);

  double Milliseconds(size_t picture);
  double MillisecondsInCache();

 private:
  static constexpr size_t kMostPlanes = 24;
  std::vector<cv::Mat> planes_;
  cv::Mat small_;
};

// What happened to the frame's thread in its slowest picture.
struct Slowest {
  double ms = 0;
  int picture = 0;
  long page_faults = 0;
  long preemptions = 0;
};

// Times of the frame's thread, over the pictures of a scene. Borrows: feed and pictures.
class Times {
 public:
  Times(Feed &feed, const std::vector<Nv12> &pictures) : feed_(feed), pictures_(pictures), shrinking_(pictures) {}

  // Shows the next picture. Without `counts` it is one of those in which the scene begins.
  Shot Show(bool counts);
  Row Print(const std::string &name);

 private:
  Feed &feed_;
  const std::vector<Nv12> &pictures_;
  Shrinking shrinking_;
  std::vector<double> times_;
  std::vector<double> others_;
  Slowest slowest_;
  int shown_ = 0;
};

}  // namespace vanta_bench
