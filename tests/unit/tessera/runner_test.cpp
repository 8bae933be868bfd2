#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <thread>
#include <vector>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "fixtures/process/log_capture.h"
#include "tessera/point_layout.h"

namespace {

using tessera::Any;
using vanta_test::FaceReader;
using vanta_test::PlacePortrait;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;

const cv::Mat &Portrait() {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  return portrait;
}

PortraitPicture Empty(int width = 640, int height = 480) {
  PortraitPicture picture;
  picture.bgr = cv::Mat(height, width, CV_8UC3, cv::Scalar(90, 120, 110));
  picture.i420 = cv::Mat(height * 3 / 2, width, CV_8UC1, cv::Scalar(128));
  return picture;
}

TEST(TesseraRunner, IsNotMadeWithoutAConfiguration) {
  EXPECT_EQ(tessera::TesseraRunner::createTesseraRunner(nullptr), nullptr);
}

TEST(TesseraRunner, FindsTheFaceOfAPortrait) {
  FaceReader reader;
  ASSERT_EQ(reader.init_result(), 0);
  PortraitPicture picture = PlacePortrait(Portrait(), {});
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  EXPECT_EQ(faces[0].points.size(), 101U);
}

TEST(TesseraRunner, ResultIsATreeOfMapsAndLists) {
  FaceReader reader;
  PortraitPicture picture = PlacePortrait(Portrait(), {});
  const auto tree = reader.RunTree(picture);
  ASSERT_NE(tree, nullptr);
  ASSERT_EQ(tree->tag, Any::kMap);
  Any out = tree->asMap().get("landmarks_out", Any());
  ASSERT_EQ(out.tag, Any::kMap);
  Any faces = out.asMap().get("faces", Any());
  ASSERT_EQ(faces.tag, Any::kVector);
  ASSERT_EQ(faces.asVec().size(), 1U);
  Any &face = faces.asVec()[0];
  EXPECT_EQ(face.tag, Any::kMap);
  const Any pos = face.asMap().get("pos", Any());
  EXPECT_EQ(pos.tag, Any::kPointList);
  EXPECT_EQ(static_cast<const std::vector<tessera::TesseraPoint> *>(pos.payload.get())->size(), 101U);
  Any box = face.asMap().get("range_expand", Any());
  EXPECT_EQ(box.tag, Any::kMap);
  for (const char *key : {"left", "top", "width", "height"})
    EXPECT_EQ(box.asMap().get(key, Any()).tag, Any::kFloat) << key;
}

TEST(TesseraRunner, RunnersOwnListBeginsAtTheRightEar) {
  FaceReader reader;
  PortraitPicture picture = PlacePortrait(Portrait(), {});
  const auto tree = reader.RunTree(picture);
  ASSERT_NE(tree, nullptr);
  Any faces = tree->asMap().get("landmarks_out", Any()).asMap().get("faces", Any());
  ASSERT_EQ(faces.asVec().size(), 1U);
  const Any pos = faces.asVec()[0].asMap().get("pos", Any());
  const auto &list = *static_cast<const std::vector<tessera::TesseraPoint> *>(pos.payload.get());
  EXPECT_GT(list[0].x, list[18].x);
  EXPECT_GT(list[95].x, list[96].x);  // pupils
}

TEST(TesseraRunner, BoxHoldsAllPointsAndStaysInThePicture) {
  FaceReader reader;
  PortraitSetup setup;
  setup.middle = {320, 60};  // the forehead is cut off
  setup.eye_distance = 70;
  PortraitPicture picture = PlacePortrait(Portrait(), setup);
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  EXPECT_GE(faces[0].box.y, 0);
  EXPECT_LE(faces[0].box.br().y, 480);
  for (const cv::Point2f &point : faces[0].points) {
    if (point.y < 0) continue;
    EXPECT_TRUE(faces[0].box.contains(point)) << point;
  }
}

TEST(TesseraRunner, PictureWithoutAFaceGivesAnEmptyList) {
  FaceReader reader;
  PortraitPicture picture = Empty();
  const auto tree = reader.RunTree(picture);
  ASSERT_NE(tree, nullptr);
  EXPECT_TRUE(reader.Run(picture).empty());
}

TEST(TesseraRunner, NoiseHasNoFaces) {
  FaceReader reader(4);
  for (uint64_t seed = 1; seed <= 4; ++seed) {
    PortraitPicture picture = Empty();
    cv::RNG random(seed);
    cv::Mat blobs(15 * static_cast<int>(seed), 20 * static_cast<int>(seed), CV_8UC1);
    random.fill(blobs, cv::RNG::UNIFORM, 20, 235);
    cv::Mat luma = picture.i420.rowRange(0, 480);
    cv::resize(blobs, luma, luma.size(), 0, 0, cv::INTER_CUBIC);
    EXPECT_TRUE(reader.Run(picture).empty()) << seed;
  }
}

// One of many textures that the cascades take for a turned face with an eye.
TEST(TesseraRunner, TextureThatLooksLikeATurnedFaceWithOneEyeHasNoFace) {
  constexpr uint64_t kSeed = 41;
  cv::RNG random(kSeed);
  cv::Mat coarse(48, 86, CV_8UC3);
  random.fill(coarse, cv::RNG::UNIFORM, 10, 245);
  PortraitPicture picture;
  cv::resize(coarse, picture.bgr, {1280, 720}, 0, 0, cv::INTER_CUBIC);
  cv::Mat noise(picture.bgr.size(), CV_16SC3);
  random.state = kSeed;
  random.fill(noise, cv::RNG::NORMAL, 0, 3);
  cv::add(picture.bgr, noise, picture.bgr, cv::noArray(), CV_8UC3);
  cv::cvtColor(picture.bgr, picture.i420, cv::COLOR_BGR2YUV_I420);
  FaceReader reader(3);
  for (int i = 0; i < 13; ++i) EXPECT_TRUE(reader.Run(picture).empty()) << i;
}

TEST(TesseraRunner, SmallestPicturesAreAnalysed) {
  FaceReader reader;
  for (const int side : {1, 2, 3, 19, 25}) {
    std::vector<unsigned char> bytes(static_cast<size_t>(side * side), 100);
    auto image = std::make_shared<tessera::TesseraImage>();
    image->setData(side, side, bytes.data(), bytes.data(), bytes.data(), tessera::kTesseraI420, side, (side + 1) / 2,
                   (side + 1) / 2, tessera::kTesseraEightBit);
    EXPECT_NE(reader.RunTree(image), nullptr) << side;
  }
}

TEST(TesseraRunner, PictureThatCannotBeReadLeavesTheResultNull) {
  FaceReader reader;
  std::vector<unsigned char> bytes(64 * 64, 100);
  const auto run = [&](int width, int height, unsigned char *luma, int stride, int format) {
    auto image = std::make_shared<tessera::TesseraImage>();
    image->setData(width, height, luma, bytes.data(), bytes.data(), static_cast<tessera::TesseraPixelFormat>(format),
                   stride, 32, 32, tessera::kTesseraEightBit);
    return reader.RunTree(image);
  };
  EXPECT_NE(run(64, 64, bytes.data(), 64, 7), nullptr);
  EXPECT_EQ(run(0, 64, bytes.data(), 64, 7), nullptr);
  EXPECT_EQ(run(64, -1, bytes.data(), 64, 7), nullptr);
  EXPECT_EQ(run(64, 64, nullptr, 64, 7), nullptr);
  EXPECT_EQ(run(64, 64, bytes.data(), 63, 7), nullptr);
  EXPECT_EQ(run(64, 64, bytes.data(), 64, 6), nullptr);
  EXPECT_EQ(reader.RunTree(std::make_shared<tessera::TesseraImage>()), nullptr);
  EXPECT_EQ(reader.RunTree(std::shared_ptr<tessera::TesseraImage>()), nullptr);
}

TEST(TesseraRunner, RowsMayBeLongerThanThePicture) {
  PortraitPicture picture = PlacePortrait(Portrait(), {});
  const int width = picture.bgr.cols;
  const int height = picture.bgr.rows;
  cv::Mat luma(height, width + 37, CV_8UC1, cv::Scalar(0));
  cv::Mat(height, width, CV_8UC1, picture.Plane(0)).copyTo(luma.colRange(0, width));
  auto image = std::make_shared<tessera::TesseraImage>();
  image->setData(width, height, luma.data, picture.Plane(1), picture.Plane(2), tessera::kTesseraI420, width + 37,
                 width / 2, width / 2, tessera::kTesseraEightBit);
  FaceReader padded;
  FaceReader plain;
  const auto tree = padded.RunTree(image);
  ASSERT_NE(tree, nullptr);
  Any faces = tree->asMap().get("landmarks_out", Any()).asMap().get("faces", Any());
  ASSERT_EQ(faces.asVec().size(), 1U);
  const float left = faces.asVec()[0].asMap().get("range_expand", Any()).asMap().get("left", Any()).toFloat32();
  EXPECT_FLOAT_EQ(left, plain.Run(picture)[0].box.x);
}

TEST(TesseraRunner, ChromaThatIsMissingMeansAGreyPicture) {
  PortraitPicture picture = PlacePortrait(Portrait(), {});
  auto image = std::make_shared<tessera::TesseraImage>();
  image->setData(640, 480, picture.Plane(0), nullptr, nullptr, tessera::kTesseraI420, 640, 0, 0,
                 tessera::kTesseraEightBit);
  FaceReader reader;
  const auto tree = reader.RunTree(image);
  ASSERT_NE(tree, nullptr);
  Any faces = tree->asMap().get("landmarks_out", Any()).asMap().get("faces", Any());
  EXPECT_EQ(faces.asVec().size(), 1U);
}

TEST(TesseraRunner, FindsAsManyFacesAsAreAskedFor) {
  PortraitSetup left;
  left.size = {1280, 480};
  left.middle = {300, 220};
  PortraitPicture picture = PlacePortrait(Portrait(), left);
  PortraitSetup right = left;
  right.middle = {950, 240};
  right.mirror = true;
  AddPortrait(picture, Portrait(), right);
  EXPECT_EQ(FaceReader(1).Run(picture).size(), 1U);
  const auto faces = FaceReader(4).Run(picture);
  ASSERT_EQ(faces.size(), 2U);
  EXPECT_GT(std::abs(faces[0].box.x - faces[1].box.x), 400);
}

TEST(TesseraRunner, TwoRunnersOnTwoThreadsFindWhatOneFinds) {
  PortraitPicture picture = PlacePortrait(Portrait(), {});
  const auto expected = FaceReader().Run(picture);
  std::vector<vanta_test::ReadFace> found[2];
  const auto work = [&picture](std::vector<vanta_test::ReadFace> &faces) {
    for (int i = 0; i < 3; ++i) {
      FaceReader reader;
      faces = reader.Run(picture);
      reader.Run(picture);
    }
  };
  {
    std::thread first([&] { work(found[0]); });
    std::thread second([&] { work(found[1]); });
    first.join();
    second.join();
  }
  for (const auto &faces : found) {
    ASSERT_EQ(faces.size(), expected.size());
    EXPECT_EQ(faces[0].points, expected[0].points);
  }
}

}  // namespace
