// Fields that say where each part of a picture comes from.
#include <gtest/gtest.h>

#include <algorithm>

#include "warp/warp_field.h"

namespace lumivex_test {
namespace {

using lumivex::FramePoint;
using lumivex::WarpField;

// Moves what is around `center` to the right by `way` pixels.
void AddPush(WarpField &field, const FramePoint &center, float reach, float way) {
  field.Add(center, reach, reach, [&](const FramePoint &place) {
    const float x = (place.x - center.x) / reach;
    const float y = (place.y - center.y) / reach;
    const float rest = std::max(1.0f - x * x - y * y, 0.0f);
    return FramePoint{-way * rest * rest, 0.0f};
  });
}

TEST(WarpField, LeavesEveryPlaceWhereNothingIsAdded) {
  WarpField field;
  field.Begin(320, 240);
  field.End();
  EXPECT_EQ(field.Moved({100, 50}), (FramePoint{100, 50}));
  EXPECT_EQ(field.Source({100, 50}), (FramePoint{100, 50}));
}

TEST(WarpField, TellsWhereAPlaceGoesAndWhereItCameFrom) {
  WarpField field;
  field.Begin(320, 240);
  AddPush(field, {160, 120}, 80, 20);
  field.End();
  const FramePoint moved = field.Moved({144, 120});
  EXPECT_GT(moved.x, 155.0f);
  EXPECT_NEAR(moved.y, 120.0f, 0.01f);
  for (float x = 60; x < 260; x += 7) {
    for (float y = 20; y < 220; y += 9) {
      const FramePoint back = field.Source(field.Moved({x, y}));
      EXPECT_NEAR(back.x, x, 0.02f) << x << ' ' << y;
      EXPECT_NEAR(back.y, y, 0.02f) << x << ' ' << y;
    }
  }
}

TEST(WarpField, TellsWhereAPlaceGoesWhereMuchIsPressedTogether) {
  WarpField field;
  field.Begin(320, 240);
  field.Add({160, 120}, 100, 60, [](const FramePoint &place) {
    const float x = place.x - 160.0f;
    const float way = std::fabs(x);
    const float pressed = way < 20.0f ? 1.5f * way : std::max(30.0f - 0.4f * (way - 20.0f), 0.0f);
    return FramePoint{x < 0.0f ? -pressed : pressed, 0.0f};
  });
  field.End();
  for (float x = 70; x < 250; x += 3) EXPECT_NEAR(field.Source(field.Moved({x, 120})).x, x, 0.02f) << x;
}

TEST(WarpField, ChainsMovementsInsteadOfAddingThemUp) {
  WarpField field;
  field.Begin(320, 240);
  // First the one that is done last. By itself it shows at 160 what was at 140.
  AddPush(field, {160, 120}, 100, 20);
  AddPush(field, {140, 120}, 24, 8);
  field.End();
  EXPECT_NEAR(field.Source({160, 120}).x, 140.0f - 8.0f, 0.01f);
}

TEST(WarpField, ChainedNeverFoldsWhereAddedUpItWould) {
  WarpField field;
  field.Begin(320, 240);
  for (int i = 0; i < 6; ++i) AddPush(field, {160, 120}, 64, 16);
  field.End();
  float last = -1.0f;
  for (float x = 0; x <= 320; x += 1.0f) {
    const float shown = field.Source({x, 120}).x;
    EXPECT_GT(shown, last) << x;
    last = shown;
  }
}

TEST(WarpField, TellsTheTilesThatHaveANodeThatMoves) {
  for (const float place : {3.0f, 60.0f, 64.0f, 128.0f, 190.0f, 317.0f}) {
    WarpField field;
    field.Begin(330, 330);
    AddPush(field, {place, 330 - place}, 30, 8);
    AddPush(field, {330 - place, 100}, 9, 4);
    field.End();
    EXPECT_TRUE(field.Moves());
    for (int row = 0; row < field.TileRows(); ++row) {
      for (int column = 0; column < field.TileColumns(); ++column) {
        bool moves = false;
        for (int y = 0; y <= WarpField::kTileNodes; ++y) {
          const FramePoint *nodes = field.Row(row * WarpField::kTileNodes + y) + column * WarpField::kTileNodes;
          moves = moves || std::any_of(nodes, nodes + WarpField::kTileNodes + 1,
                                       [](const FramePoint &node) { return node != FramePoint{}; });
        }
        EXPECT_EQ(field.TileMoves(row, column), moves) << place << ": " << row << ' ' << column;
      }
    }
  }
}

TEST(WarpField, TellsWhichTilesAreEnlarged) {
  WarpField field;
  field.Begin(640, 256);
  const auto scale = [&](const FramePoint &center, float amount) {
    field.Add(center, 40, 40, [&](const FramePoint &place) {
      const float x = place.x - center.x;
      const float y = place.y - center.y;
      const float rest = std::max(1.0f - (x * x + y * y) / 1600.0f, 0.0f);
      return FramePoint{-amount * x * rest * rest, -amount * y * rest * rest};
    });
  };
  scale({96, 96}, 0.3f);
  field.End();
  EXPECT_TRUE(field.TileEnlarges(1, 1));
  EXPECT_FALSE(field.TileEnlarges(1, 8));
}

TEST(WarpField, BearsPlacesOutsideAndNoNumbers) {
  WarpField field;
  field.Begin(320, 240);
  AddPush(field, {160, 120}, 300, 20);
  field.End();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(field.Moved({-500, 9000}).y, 9000.0f);
  EXPECT_TRUE(std::isnan(field.Moved({nan, 1}).x));
}

}  // namespace
}  // namespace lumivex_test
