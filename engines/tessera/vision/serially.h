// Work of OpenCV's on the calling thread alone.
#pragma once

#include <opencv2/core.hpp>
#include <utility>

namespace tessera {

// Inside of a parallel loop OpenCV starts no other, so that the work stays on this thread, and the number of threads,
// which is the whole process's, stays as it is. For short calls: meanwhile other threads' loops are not spread either.
template <typename Work>
void Serially(Work &&work) {
  cv::parallel_for_(cv::Range(0, 1), [&](const cv::Range &) { work(); });
}

}  // namespace tessera
