// Which places of skin's colours may be somebody's head, where no face was found.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace lumivex {

// A head is skin around some small places that are much darker or lighter: eyes, brows, nostrils, a mouth. Wood, sand,
// cardboard and cloth of skin's colours are plain, or have lines that run through.
// Owns: maps of one frame size. Threads: one at a time.
class HeadPatches {
 public:
  // What a place belongs to; from kFirstHead on, a head.
  enum Kind : uint8_t { kNothing, kPlain, kUnclear, kFirstHead };
  static constexpr int kMostHeads = 8;

  // `weight` says where skin's colours are, CV_8U; `luma` is the mean of cells, CV_32F codes, `black` the code of
  // black. `eyes`: the distance between the eyes of somebody in view, in cells; 0: of nobody. What was a head in the
  // call before is one more easily.
  void Find(const cv::Mat &weight, const cv::Mat &luma, float black, float eyes);
  // As if there had been no call.
  void Forget();

  int Count() const { return heads_; }
  const cv::Mat &Kinds() const { return kinds_; }  // CV_8U, for each cell: a Kind

 private:
  // Of a patch, in blocks.
  struct Box {
    int left = 0;
    int top = 0;
    int right = 0;  // behind it
    int bottom = 0;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
  };

  void Shrink(const cv::Mat &weight, const cv::Mat &luma, float black);
  void GatherPatch(int first);
  bool IsOfAHeadsSize(float eyes) const;
  Kind LookInto(float eyes);
  void MeasurePatch();
  void MarkFeatures(float least);
  int CountFeatures(int &blocks);
  void TakeInEnclosed(Kind head);
  void SpreadToCells(const cv::Size &cells);

  // Blocks of cells, about a hundred in a column of the picture.
  int side_ = 1;  // cells
  int columns_ = 0;
  int rows_ = 0;
  std::vector<float> luma_;    // codes above black
  std::vector<uint8_t> skin_;  // mostly of skin's colours
  std::vector<uint8_t> block_kinds_;
  std::vector<uint8_t> former_kinds_;
  std::vector<uint8_t> gathered_;  // into a patch

  // The patch that is looked into.
  std::vector<int> patch_;  // its blocks
  Box box_;
  std::vector<uint8_t> inside_;    // for each block of the box: of the patch
  std::vector<uint8_t> enclosed_;  // between blocks of the patch in its row and in its column
  std::vector<uint8_t> features_;
  std::vector<float> sums_;  // of luma over all of the patch above and to the left
  std::vector<float> counts_;
  std::vector<int> stack_;

  int heads_ = 0;
  cv::Mat kinds_;
};

}  // namespace lumivex
