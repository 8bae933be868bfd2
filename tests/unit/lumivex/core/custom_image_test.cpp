// Pictures that come from commands: custom images and the media resource.
#include <cstring>

#include "fixtures/lumivex/effect_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

class CustomImages : public EffectFixture {};

class MediaResource : public EffectFixture {
 protected:
  void SetMedia(int32_t type, const std::string &path) {
    LXMediaResource resource{};
    resource.type = type;
    std::strncpy(resource.mediaPath, path.c_str(), sizeof(resource.mediaPath) - 1);
    engine_->setMediaResource(resource);
  }
};

TEST_F(CustomImages, AreDrawnByTheLayersThatNameThem) {
  Play(WriteEffect("effect", {{"format", 1},
                              {"layers",
                               {RedLayer({{"image", "custom:0"}, {"size", 0.25}}),
                                RedLayer({{"image", "custom:1"}, {"size", 0.25}, {"anchor", "bottom_right"}})}}}));
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3)) << "none so far";
  engine_->setMagicCustomImage({WritePicture("a.png", kGreen), WritePicture("b.png", kWhite)});
  Await([&] { return !(Show(0) == Picture(64, 48, kGrey, 3)); });
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 2, 2, kGreenCodes));
  EXPECT_TRUE(Is(picture, 63, 47, kWhiteCodes));
  engine_->setMagicCustomImage({});
  Await([&] { return Show(0) == Picture(64, 48, kGrey, 3); });
}

TEST_F(CustomImages, ThatCannotBeReadAreALogLineAndLeaveTheOthers) {
  const vanta_test::LogCapture log;
  Play(WriteEffect("effect", OneLayer({{"image", "custom:1"}})));
  const std::string missing = OwnFolder() + "/missing.png";
  engine_->setMagicCustomImage({missing, WritePicture("b.png", kWhite)});
  Await([&] { return Is(Show(0), 2, 2, kWhiteCodes); });
  EXPECT_EQ(log.Count("[lumivex] custom image " + missing + ": it is no file that can be read; check the name"), 1u);
}

TEST_F(CustomImages, ThatCannotBeReadLeaveTheFormerOnes) {
  Play(WriteEffect("effect", OneLayer({{"image", "custom:1"}})));
  engine_->setMagicCustomImage({WritePicture("a.png", kRed), WritePicture("b.png", kWhite)});
  Await([&] { return Is(Show(0), 2, 2, kWhiteCodes); });
  const vanta_test::LogCapture log;
  engine_->setMagicCustomImage({OwnFolder() + "/a.png", WriteFile("text.png", "text")});
  Await([&] { return log.CountWith("text.png: it is no PNG") == 1; });
  EXPECT_TRUE(Is(Show(), 2, 2, kWhiteCodes));
}

TEST_F(CustomImages, OfJpegAreRead) {
  Play(WriteEffect("effect", OneLayer({{"image", "custom:0"}})));
  const std::string path = OwnFolder() + "/white.jpg";
  ASSERT_TRUE(SavePicture(path, cv::Mat(16, 16, CV_8UC3, cv::Scalar::all(255))));
  engine_->setMagicCustomImage({path});
  Await([&] { return Is(Show(0), 2, 2, kWhiteCodes); });
}

TEST_F(CustomImages, BeyondTheLimitAreLeftOutAndToldOf) {
  const vanta_test::LogCapture log;
  engine_->setMagicCustomImage(std::vector<std::string>(17, WritePicture("a.png", kGreen)));
  EXPECT_EQ(log.Count("[lumivex] 17 custom images: only the first 16 are used"), 1u);
}

TEST_F(MediaResource, IsShownWholeInTheMiddle) {
  SetMedia(lumivex::kMediaPicture, WritePicture("media.png", kGreen, 16, 16));
  Await([&] { return Is(Show(0), 32, 24, kGreenCodes); });
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 8, 0, kGreenCodes));
  EXPECT_TRUE(Is(picture, 55, 47, kGreenCodes));
  EXPECT_TRUE(Is(picture, 7, 24, kGrey));
  EXPECT_TRUE(Is(picture, 56, 24, kGrey));
}

TEST_F(MediaResource, IsDrawnByTheLayerThatNamesIt) {
  SetMedia(lumivex::kMediaPicture, WritePicture("media.png", kGreen));
  Await([&] { return Is(Show(0), 32, 24, kGreenCodes); });
  Play(WriteEffect("effect", OneLayer({{"image", "media"}, {"size", 0.25}})));
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 2, 2, kGreenCodes));
  EXPECT_TRUE(Is(picture, 32, 24, kGrey)) << "and not whole as well";
}

TEST_F(MediaResource, OfAFolderPlays25PicturesASecond) {
  WritePicture("film/1.png", kGreen);
  WritePicture("film/2.png", kWhite);
  SetMedia(lumivex::kMediaVideo, OwnFolder() + "/film");
  Await([&] { return Is(Show(0), 32, 24, kGreenCodes); });
  EXPECT_TRUE(Is(Show(41), 32, 24, kWhiteCodes));
  EXPECT_TRUE(Is(Show(40), 32, 24, kGreenCodes));
}

TEST_F(MediaResource, OfAVideoIsPlayed) {
  SetMedia(lumivex::kMediaVideo, VANTA_MOVING_PICTURES "/pictures.mp4");
  Await([&] { return Show(0).V(32, 24) > 200; });
  EXPECT_LT(Show(110).V(32, 24), 80) << "green after 100 ms";
  EXPECT_GT(Show(200).Luma(32, 24), 225) << "white after 300 ms";
  EXPECT_GT(Show(100).V(32, 24), 200) << "and from its beginning";
}

TEST_F(MediaResource, IsTakenAwayByEveryTypeThatIsNone) {
  for (const int32_t none : {lumivex::kMediaNone, kMediaTypeSkipEngine}) {
    SetMedia(lumivex::kMediaPicture, WritePicture("media.png", kGreen));
    Await([&] { return Is(Show(0), 32, 24, kGreenCodes); });
    SetMedia(none, "");
    EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3));
  }
}

TEST_F(MediaResource, ThatCannotBeShownIsALogLine) {
  const vanta_test::LogCapture log;
  SetMedia(lumivex::kMediaVideo, WriteFile("film.mp4", std::string("\0\0\0\x14"
                                                                   "ftypisom",
                                                                   12)));
  Await([&] { return log.CountWith("film.mp4: it is broken; save it again") == 1; });
  SetMedia(17, "film");
  EXPECT_EQ(log.CountWith("no media type 17"), 1u);
  SetMedia(lumivex::kMediaPicture, WriteFile("text.png", "text"));
  Await([&] { return log.CountWith("it is no PNG, JPEG or WebP picture") == 1; });
}

}  // namespace
}  // namespace lumivex_test
