// A picture made ready for one place on a frame, in the frame's own codes, and pressed onto it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "magic/picture.h"
#include "magic/placement.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// Making costs, pressing is cheap: a picture that stays where it was is not made again.
// Owns: codes multiplied by alpha, for the part of the frame that is covered. Threads: one at a time.
class Stamp {
 public:
  // `opacity` 0 to 1.
  void Make(const PicturePointer &picture, const Placement &placement, float opacity, const YuvSpace &space, int width,
            int height, const RowBands &bands = RowBands());
  // The frame has the size that the stamp was made for.
  void Blend(const Nv12View &view, const RowBands &bands = RowBands()) const;

 private:
  struct Look {
    PicturePointer picture;
    Placement placement;
    float opacity = 0.0f;
    YuvSpace space;
    int width = 0;
    int height = 0;

    bool operator==(const Look &) const = default;
  };
  struct CodeWeights;

  void Cover();  // the part of the frame
  float Shrink() const;
  void Fill(const RowBands &bands);
  void SampleRow(const cv::Mat &level, int row, uint8_t *rgba) const;
  void FillLuma(const CodeWeights &weights, int row, const uint8_t *rgba);
  void FillChroma(const CodeWeights &weights, int chroma_row, int luma_rows, const uint8_t *samples);
  void BlendLuma(const Nv12View &view, const cv::Range &rows) const;
  void BlendChroma(const Nv12View &view, const cv::Range &rows) const;

  Look look_;
  int left_ = 0;  // pixels of the frame; even, as is top_
  int top_ = 0;
  int columns_ = 0;  // 0: nothing of the picture is on the frame
  int rows_ = 0;
  std::vector<uint8_t> luma_;                  // columns_ by rows_
  std::vector<uint8_t> luma_alpha_;            // likewise
  std::vector<uint8_t> chroma_;                // U, V: columns_ rounded up by half the rows_, rounded up
  std::vector<uint8_t> chroma_alpha_;          // the same for U and V, so that one loop takes both
  std::vector<std::vector<uint8_t>> samples_;  // by thread: two rows of red, green, blue, alpha
};

}  // namespace lumivex
