#include "pixels/row_bands.h"

#include <cstring>
#include <thread>

namespace lumivex {

int RowBands::DefaultThreads() {
  const auto processors = static_cast<int>(std::min(std::thread::hardware_concurrency(), 64u));
  return std::clamp(processors / 2, std::min(processors, 2), 4);
}

void BandEdges::Save(const uint8_t *plane, ptrdiff_t stride, int width, int rows, int rows_of_band) {
  width_ = width;
  rows_of_band_ = rows_of_band;
  const int edges = (rows - 1) / rows_of_band;
  copies_.resize(size_t{2} * static_cast<size_t>(edges) * static_cast<size_t>(width));
  uint8_t *copy = copies_.data();
  for (int edge = 1; edge <= edges; ++edge) {
    for (const int row : {edge * rows_of_band - 1, edge * rows_of_band}) {
      std::memcpy(copy, plane + stride * row, static_cast<size_t>(width));
      copy += width;
    }
  }
}

}  // namespace lumivex
