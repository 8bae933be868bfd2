#include "pixels/cell_grid.h"

#include <gtest/gtest.h>

#include <utility>

#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

TEST(CellGrid, HasTheMeansOfFourPairsOfChroma) {
  constexpr int kColumns = 19;  // no whole steps
  Picture picture(4 * kColumns, 8, kGrey);
  picture.FillChroma([](int x, int y) { return std::pair<int, int>(20 + 3 * x, 20 + 25 * y); });
  const auto frame = picture.Frame();
  cv::Mat u;
  cv::Mat v;
  lumivex::MeasureCellChroma(*lumivex::ViewOf(*frame), lumivex::RowBands(), u, v);
  ASSERT_EQ(u.size(), cv::Size(kColumns, 2));
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      const double expected_u = (picture.U(4 * column, 0) + picture.U(4 * column + 2, 0)) / 2.0;
      const double expected_v = (picture.V(0, 4 * row) + picture.V(0, 4 * row + 2)) / 2.0;
      EXPECT_EQ(u.at<float>(row, column), expected_u);
      EXPECT_EQ(v.at<float>(row, column), expected_v);
    }
  }
}

TEST(CellGrid, AtTheEdgesTakesTheChromaThatIsThere) {
  Picture picture(6, 6, kGrey);
  picture.FillChroma([](int x, int y) { return std::pair<int, int>(100 + 10 * x, 100 + 10 * y); });
  const auto frame = picture.Frame();
  cv::Mat u;
  cv::Mat v;
  lumivex::MeasureCellChroma(*lumivex::ViewOf(*frame), lumivex::RowBands(), u, v);
  ASSERT_EQ(u.size(), cv::Size(2, 2));
  EXPECT_EQ(u.at<float>(0, 1), static_cast<float>(picture.U(4, 0)));
  EXPECT_EQ(v.at<float>(1, 0), static_cast<float>(picture.V(0, 4)));
}

}  // namespace
}  // namespace lumivex_test
