// What an effect's layers look like on the frame.
#include <algorithm>
#include <filesystem>

#include "fixtures/lumivex/effect_fixture.h"

namespace lumivex_test {
namespace {

class EffectLayers : public EffectFixture {};

TEST_F(EffectLayers, StickToTheCornersOfThePicture) {
  const struct {
    const char *anchor;
    int x;
    int y;
  } corners[] = {{"top_left", 0, 0},       {"top_right", 63, 0}, {"bottom_left", 0, 47},
                 {"bottom_right", 63, 47}, {"center", 32, 24},   {"top", 32, 0},
                 {"bottom", 32, 47},       {"left", 0, 24},      {"right", 63, 24}};
  for (const auto &corner : corners) {
    Play(WriteEffect(corner.anchor, OneLayer({{"anchor", corner.anchor}, {"size", 0.25}})));
    const Picture picture = Show();
    for (const auto &other : corners) {
      EXPECT_TRUE(Is(picture, other.x, other.y, &other == &corner ? kRedCodes : kGrey))
          << corner.anchor << " seen at " << other.anchor;
    }
  }
}

TEST_F(EffectLayers, LeaveWhatTheyDoNotCoverByteForByte) {
  Play(WriteEffect("effect", OneLayer()));
  const Picture picture = Show();
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 64; ++x) EXPECT_EQ(Is(picture, x, y, kRedCodes), x < 24 && y < 24) << x << " " << y;
  }
}

TEST_F(EffectLayers, OfTheWholeScreenCoverIt) {
  Play(WriteEffect("effect", OneLayer({{"anchor", "screen"}})));
  const Picture picture = Show();
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 64; ++x) EXPECT_TRUE(Is(picture, x, y, kRedCodes)) << x << " " << y;
  }
}

TEST_F(EffectLayers, MoveByTheirOffset) {
  Play(WriteEffect("effect", OneLayer({{"size", 0.25}, {"offset", {0.5, 0.25}}})));
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 24, 12, kRedCodes));
  EXPECT_TRUE(Is(picture, 35, 23, kRedCodes));
  EXPECT_TRUE(Is(picture, 22, 12, kGrey));
  EXPECT_TRUE(Is(picture, 36, 23, kGrey));
}

TEST_F(EffectLayers, MixByTheirAlpha) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "half.png"}}));
  WritePicture("effect/half.png", {255, 255, 255, 128});
  Play(folder);
  const int middle = (kWhiteCodes.y * 128 + kGrey.y * 127) / 255;
  EXPECT_TRUE(Is(Show(), 8, 8, {middle, 128, 128}));
}

TEST_F(EffectLayers, MixByTheirOpacityAndThatOfAllEffects) {
  Play(WriteEffect("effect", OneLayer({{"image", "red.png"}, {"opacity", 0.5}})));
  const int half = (kRedCodes.v + kGrey.v) / 2;
  EXPECT_NEAR(Show().V(8, 8), half, 2);
  engine_->setEffectIntensityWithType(lumivex::kAdjustEffectOpacity, 0.5f);
  EXPECT_NEAR(Show().V(8, 8), (half + kGrey.v) / 2, 2);
  engine_->setEffectIntensityWithType(lumivex::kAdjustEffectOpacity, 0.0f);
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3));
}

TEST_F(EffectLayers, FollowTheFramesColourCode) {
  Play(WriteEffect("effect", OneLayer()));
  const struct {
    int32_t code;
    Codes red;
  } rows[] = {{0, {81, 90, 240}}, {1, {76, 85, 255}}, {2, {63, 102, 240}}, {3, {54, 99, 255}}};
  for (const auto &row : rows) {
    const Picture picture =
        ShowWith(Picture(64, 48, kGrey), [&](LX::FrameData &frame) { frame.color_code = row.code; });
    EXPECT_TRUE(Is(picture, 8, 8, row.red)) << row.code;
  }
}

TEST_F(EffectLayers, StandInTheUprightPicture) {
  Play(WriteEffect("effect", OneLayer({{"size", 0.25}})));
  // Where the upright picture's upper left corner is stored.
  const struct {
    int32_t rotation;
    bool flip;
    int x;
    int y;
  } rows[] = {{0, false, 0, 0}, {90, false, 0, 47}, {180, false, 63, 47}, {270, false, 63, 0},
              {0, true, 63, 0}, {90, true, 63, 47}, {180, true, 0, 47},   {270, true, 0, 0}};
  for (const auto &row : rows) {
    const Picture picture = ShowWith(Picture(64, 48, kGrey, 5), [&](LX::FrameData &frame) {
      frame.rotation = row.rotation;
      frame.flip = row.flip;
    });
    for (const int x : {0, 63}) {
      for (const int y : {0, 47}) {
        EXPECT_EQ(Is(picture, x, y, kRedCodes), x == row.x && y == row.y) << row.rotation << " " << row.flip;
      }
    }
  }
}

TEST_F(EffectLayers, TurnTheirPictureWithTheUprightOne) {
  const std::string folder =
      WriteEffect("effect", OneLayer({{"image", "two.png"}, {"anchor", "center"}, {"size", 0.5}}));
  cv::Mat two(8, 8, CV_8UC4, cv::Scalar(0, 0, 255, 255));
  two.rowRange(0, 4).setTo(cv::Scalar(0, 255, 0, 255));
  ASSERT_TRUE(SavePicture(folder + "/two.png", two));
  Play(folder);
  const Picture turned = ShowWith(Picture(64, 48, kGrey), [](LX::FrameData &frame) { frame.rotation = 90; });
  EXPECT_TRUE(Is(turned, 24, 24, kGreenCodes)) << "turned clockwise, what is stored on the left comes to the top";
  EXPECT_TRUE(Is(turned, 40, 24, kRedCodes));
}

TEST_F(EffectLayers, StayWithinOddAndTinyFrames) {
  Play(WriteEffect("effect", OneLayer({{"anchor", "bottom_right"}, {"offset", {0.1, 0.1}}, {"size", 0.7}})));
  for (const auto &[width, height] : {std::pair{63, 47}, {1, 1}, {2, 1}, {1, 3}, {17, 5}}) {
    for (const int rotation : {0, 90}) {
      const Picture picture =
          ShowWith(Picture(width, height, kGrey, 3), [&](LX::FrameData &frame) { frame.rotation = rotation; });
      if (rotation == 0 && std::min(width, height) > 3) {
        EXPECT_TRUE(Is(picture, width - 1, height - 1, kRedCodes)) << width << " " << height;
      }
    }
  }
}

TEST_F(EffectLayers, OutsideThePictureDrawNothing) {
  Play(WriteEffect("effect", OneLayer({{"offset", {19, 19}}, {"size", 20}})));
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3));
}

TEST_F(EffectLayers, PlayAFolderOfPicturesAtTheirRate) {
  const json layer = {{"image", "walk"}, {"fps", 10}};
  json effect = {{"format", 1}, {"layers", {RedLayer(layer), RedLayer(layer)}}};
  effect["layers"][1].update({{"anchor", "bottom_right"}, {"loop", false}});
  const std::string folder = WriteEffect("effect", effect);
  WritePicture("effect/walk/1.png", kRed);
  WritePicture("effect/walk/2.png", kGreen);
  WritePicture("effect/walk/3.png", kWhite);
  Play(folder);
  EXPECT_TRUE(Is(Show(0), 0, 0, kRedCodes));
  EXPECT_TRUE(Is(Show(90), 0, 0, kRedCodes));
  EXPECT_TRUE(Is(Show(20), 0, 0, kGreenCodes)) << "110 ms";
  EXPECT_TRUE(Is(Show(100), 0, 0, kWhiteCodes));
  const Picture later = Show(100);
  EXPECT_TRUE(Is(later, 0, 0, kRedCodes)) << "310 ms, looped";
  EXPECT_TRUE(Is(later, 63, 47, kWhiteCodes)) << "310 ms, not looped";
}

TEST_F(EffectLayers, PlayAnAnimatedFileByItsOwnTimes) {
  const json layer = {{"image", "pictures.webp"}, {"fps", 100}};
  json effect = {{"format", 1}, {"layers", {RedLayer(layer), RedLayer(layer)}}};
  effect["layers"][1].update({{"anchor", "bottom_right"}, {"loop", false}});
  const std::string folder = WriteEffect("effect", effect);
  std::filesystem::copy(VANTA_MOVING_PICTURES "/pictures.webp", folder);
  Play(folder);
  EXPECT_TRUE(Is(Show(0), 0, 0, kRedCodes));
  EXPECT_TRUE(Is(Show(98), 0, 0, kRedCodes));
  EXPECT_TRUE(Is(Show(4), 0, 0, kGreenCodes)) << "102 ms";
  EXPECT_TRUE(Is(Show(196), 0, 0, kGreenCodes));
  EXPECT_TRUE(Is(Show(4), 0, 0, kGrey)) << "302 ms: clear";
  const Picture later = Show(100);
  EXPECT_TRUE(Is(later, 0, 0, kRedCodes)) << "402 ms, looped";
  EXPECT_TRUE(Is(later, 63, 47, kGrey)) << "402 ms, not looped";
}

TEST_F(EffectLayers, AreShownFromTheirStartToTheirEnd) {
  Play(WriteEffect("effect", OneLayer({{"start", 100}, {"end", 200}})));
  EXPECT_TRUE(Is(Show(50), 0, 0, kGrey));
  EXPECT_TRUE(Is(Show(60), 0, 0, kRedCodes)) << "110 ms";
  EXPECT_TRUE(Is(Show(100), 0, 0, kGrey)) << "210 ms";
}

TEST_F(EffectLayers, AreDrawnInTheirOrder) {
  json effect = {{"format", 1}, {"layers", {RedLayer(), RedLayer({{"image", "green.png"}, {"size", 0.25}})}}};
  const std::string folder = WriteEffect("effect", effect);
  WritePicture("effect/green.png", kGreen);
  Play(folder);
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 4, 4, kGreenCodes));
  EXPECT_TRUE(Is(picture, 20, 20, kRedCodes));
}

TEST_F(EffectLayers, AreDrawnUpToTheirLimit) {
  json effect = {{"format", 1}, {"layers", json::array()}};
  for (int i = 0; i < 32; ++i) {
    effect["layers"].push_back(RedLayer({{"size", 4.0 / 48}, {"offset", {(i % 8) * 8.0 / 48, (i / 8) * 12.0 / 48}}}));
  }
  Play(WriteEffect("effect", effect));
  for (int frame = 0; frame < 2; ++frame) {
    const Picture picture = Show();
    for (int i = 0; i < 32; ++i) {
      EXPECT_TRUE(Is(picture, i % 8 * 8 + 1, i / 8 * 12 + 1, kRedCodes)) << i;
      EXPECT_TRUE(Is(picture, i % 8 * 8 + 6, i / 8 * 12 + 1, kGrey)) << i;
    }
  }
}

TEST_F(EffectLayers, ShrinkLargePicturesByTheirMean) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "fine.png"}}));
  cv::Mat fine(512, 512, CV_8UC4, cv::Scalar(255, 255, 255, 255));
  for (int x = 0; x < 512; x += 2) fine.col(x).setTo(cv::Scalar(0, 0, 0, 255));
  ASSERT_TRUE(SavePicture(folder + "/fine.png", fine));
  Play(folder);
  EXPECT_NEAR(Show().Luma(8, 8), (kWhiteCodes.y + kBlackCodes.y) / 2, 3);
}

TEST_F(EffectLayers, OfEveryDepthAndKindOfPictureAreDrawn) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "picture.png"}}));
  for (const int type : {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3, CV_16UC4}) {
    const double white = CV_MAT_DEPTH(type) == CV_8U ? 255 : 65535;
    ASSERT_TRUE(SavePicture(folder + "/picture.png", cv::Mat(8, 8, type, cv::Scalar::all(white))));
    Play(folder);
    EXPECT_TRUE(Is(Show(), 8, 8, kWhiteCodes)) << type;
  }
}

TEST_F(EffectLayers, WithATextShowIt) {
  json effect = OneLayer({{"text", "###"}, {"color", {255, 0, 0}}, {"size", 1.0}});
  effect["layers"][0].erase("image");
  Play(WriteEffect("effect", effect));
  const Picture picture = Show();
  EXPECT_GT(picture.MeanV(), kGrey.v + 2) << "red letters";
}

TEST_F(EffectLayers, OnFacesAreNotDrawnWithoutAFace) {
  Play(WriteEffect("effect", OneLayer({{"anchor", "forehead"}, {"size", 2}})));
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3));
}

}  // namespace
}  // namespace lumivex_test
