// The mean colours of a frame's cells.
#pragma once

#include <opencv2/core.hpp>

#include "pixels/lanes.h"
#include "skin/skin_colour.h"

namespace lumivex {

// Borrows: the means, CV_32F codes, one for each cell.
struct CellColours {
  const cv::Mat &luma;
  const cv::Mat &u;
  const cv::Mat &v;
  const ShadeFree &shade_free;

  ShadeFreeColour At(int row, int column) const {
    return shade_free.Of(luma.at<float>(row, column), u.at<float>(row, column), v.at<float>(row, column));
  }
  // Of up to four cells, from that one to the row's end.
  ShadeFreeLanes From(int row, int column) const {
    const int count = luma.cols - column;
    return shade_free.Of(LoadSome(luma.ptr<float>(row) + column, count), LoadSome(u.ptr<float>(row) + column, count),
                         LoadSome(v.ptr<float>(row) + column, count));
  }
};

}  // namespace lumivex
