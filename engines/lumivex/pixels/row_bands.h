// Spreads the rows of a frame over several processors.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/utility.hpp>
#include <vector>

namespace lumivex {

// Rows are worked on in bands. Work that reads what no band writes, and writes its own rows alone, gives the same codes
// on any number of threads. Threads: one loop at a time.
class RowBands {
 public:
  static constexpr int kRows = 64;  // of the frame in a band: whole cells, and whole pairs of chroma
  static constexpr int kMostThreads = 16;

  // Outside of 1 to kMostThreads the number is clamped.
  explicit RowBands(int threads = 1) : threads_(std::clamp(threads, 1, kMostThreads)) {}

  // What an engine takes that is told nothing: all of two processors, half of more, and never more than four.
  static int DefaultThreads();

  int Threads() const { return threads_; }
  // Of a band of a plane with so many rows, where kRows of the frame are `rows_of_band` of the plane.
  int RowsOfBand(int rows, int rows_of_band = kRows) const { return threads_ == 1 ? std::max(rows, 1) : rows_of_band; }

  // Calls work(first, end, thread) for each band until first <= row < end have covered all rows. `thread`, from 0 to
  // Threads() - 1, is never used by two bands at a time, so it may choose scratch memory.
  template <typename Work>
  void Run(int rows, int rows_of_band, const Work &work) const {
    const int step = RowsOfBand(rows, rows_of_band);
    const int bands = (rows + step - 1) / step;
    Loop<Work> loop(work, rows, step, bands);
    const int threads = std::min(threads_, bands);
    if (threads <= 1) {
      loop.Take(0);
      return;
    }
    handover_.fetch_add(1, std::memory_order_release);
    cv::parallel_for_(cv::Range(0, threads), loop, threads);
    handover_.fetch_add(1, std::memory_order_acquire);
  }

 private:
  // Goes up before a loop, as a thread begins and ends its part, and after the loop: so the memory of the bands is
  // ordered for tools that cannot look into OpenCV's scheduler too. Not a member of the loop, whose memory is what it
  // orders.
  inline static std::atomic<unsigned> handover_{0};

  // OpenCV's own wrapper of a lambda would allocate.
  template <typename Work>
  class Loop : public cv::ParallelLoopBody {
   public:
    Loop(const Work &work, int rows, int step, int bands) : work_(work), rows_(rows), step_(step), bands_(bands) {}

    void operator()(const cv::Range &threads) const override {
      handover_.fetch_add(1, std::memory_order_acquire);
      for (int thread = threads.start; thread < threads.end; ++thread) Take(thread);
      handover_.fetch_add(1, std::memory_order_release);
    }
    void Take(int thread) const {
      for (int band = next_.fetch_add(1, std::memory_order_relaxed); band < bands_;
           band = next_.fetch_add(1, std::memory_order_relaxed)) {
        const int first = band * step_;
        work_(first, std::min(first + step_, rows_), thread);
      }
    }

   private:
    const Work &work_;
    const int rows_;
    const int step_;
    const int bands_;
    mutable std::atomic<int> next_{0};
  };

  int threads_;
};

// The rows beside the edges of bands, copied before any band is changed, for work in place that looks at its
// neighbours. Owns: the copies. Threads: one at a time to save, any to read.
class BandEdges {
 public:
  // Of `rows` rows of `width` bytes in bands of `rows_of_band`.
  void Save(const uint8_t *plane, ptrdiff_t stride, int width, int rows, int rows_of_band);
  // The row above the band that begins there, and that below the one that ends there. Not for the plane's own edges.
  const uint8_t *Above(int first) const { return Copy(2 * (first / rows_of_band_ - 1)); }
  const uint8_t *Below(int end) const { return Copy(2 * (end / rows_of_band_ - 1) + 1); }

 private:
  const uint8_t *Copy(int index) const {
    return copies_.data() + static_cast<size_t>(index) * static_cast<size_t>(width_);
  }

  int width_ = 0;
  int rows_of_band_ = 1;
  std::vector<uint8_t> copies_;  // for each edge the row above it, then the row below
};

}  // namespace lumivex
