// Networks that the user has put into the model folder: small ones, made here, that always say the same.
#include "networks/trained_networks.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <thread>

#include "fixtures/networks/small_network.h"
#include "fixtures/portrait/face_reader.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "search/face_look.h"
#include "shape/mean_shape.h"
#include "shape/sparse_shape.h"
#include "tessera/point_layout.h"
#include "vision/cascade_files.h"

namespace {

namespace fs = std::filesystem;
using vanta_test::FaceReader;
using vanta_test::NetworkOutput;
using vanta_test::Portrait;
using vanta_test::PortraitPicture;
using vanta_test::ReadFace;

// 640x480 pixels of a wall with spots, in which no cascade sees a face.
PortraitPicture Wall() {
  PortraitPicture picture;
  cv::RNG random(3);
  cv::Mat coarse(24, 32, CV_8UC3);
  random.fill(coarse, cv::RNG::UNIFORM, 60, 190);
  cv::resize(coarse, picture.bgr, cv::Size(640, 480), 0, 0, cv::INTER_CUBIC);
  cv::cvtColor(picture.bgr, picture.i420, cv::COLOR_BGR2YUV_I420);
  return picture;
}

// A detector that is shown 640x480 as 320x256 and sees one face, at an anchor of 32 pixels in the map whose places are
// 16 pixels apart: its eyes are 40 pixels apart.
constexpr int kColumn = 10;
constexpr int kRow = 7;
std::string OneFaceDetector(size_t left_out = 0) {
  constexpr size_t kFirst = 3 * 40 * 32;  // anchors of the finer map
  constexpr size_t kAnchors = kFirst + 2 * 20 * 16 + 2 * 10 * 8 + 3 * 5 * 4;
  constexpr size_t kAnchor = kFirst + 2 * (kRow * 20 + kColumn);
  std::vector<float> places(kAnchors * 14, 0);
  std::vector<float> classes(kAnchors * 2, 0);
  std::vector<float> overlaps(kAnchors, 1);
  classes[kAnchor * 2 + 1] = 1;
  // In tenths of the anchor's 32 pixels from its middle: the eyes 20 pixels to either side.
  places[kAnchor * 14 + 4] = -20.0F / 3.2F;
  places[kAnchor * 14 + 6] = 20.0F / 3.2F;
  overlaps.resize(overlaps.size() - left_out);
  return vanta_test::ConstantNetwork({320, 256}, {{"loc", places}, {"conf", classes}, {"iou", overlaps}});
}
const cv::Point2f kLeftEye((kColumn + 0.5F) * 16 * 2 - 40, (kRow + 0.5F) * 16 * 2);  // of the picture
const cv::Point2f kRightEye = kLeftEye + cv::Point2f(80, 0);

// Where a network of points would see those of the mean face, and some moved: parts of what it is shown.
std::vector<float> Shown(const std::vector<cv::Point2f> &points) {
  std::vector<float> values;
  for (const cv::Point2f &point : points) {
    values.push_back((point.x + 1.6F) / 3.2F);
    values.push_back((point.y + 1.15F) / 3.2F);
  }
  return values;
}

std::string PointsNetwork(const std::vector<float> &values) {
  return vanta_test::ConstantNetwork({112, 112}, {{"points", values}});
}

class TrainedNetworks : public testing::Test {
 protected:
  TrainedNetworks() { fs::create_directories(folder_); }
  ~TrainedNetworks() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  void Put(const char *name, const std::string &bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
  }
  std::string Folder() const { return folder_.string(); }

  // Without the slash in the name of a test with a parameter.
  static std::string TestName() {
    std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
  }

  const fs::path folder_ = fs::temp_directory_path() / ("tessera_" + TestName() + std::to_string(getpid()));
};

float Apart(cv::Point2f a, cv::Point2f b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// A point of the face, in units from between its pupils.
cv::Point2f InFace(const ReadFace &face, size_t point) {
  return tessera::PlacementOfEyes(face.points[tessera::kLeftPupil], face.points[tessera::kRightPupil])
      .FromPicture(face.points[point]);
}

// The mean face with its nose's tip pulled to the right.
const cv::Point2f kPulled(0.4F, 0);
std::vector<cv::Point2f> PulledNose() {
  std::vector<cv::Point2f> points = tessera::MeanShape();
  points[tessera::kNoseTip] += kPulled;
  return points;
}

TEST_F(TrainedNetworks, FaceIsWhereTheDetectorSeesOne) {
  Put(tessera::kFaceNetworkFile, OneFaceDetector());
  FaceReader reader(1, Folder());
  PortraitPicture wall = Wall();
  const auto faces = reader.Run(wall);
  ASSERT_EQ(faces.size(), 1U);
  EXPECT_LT(Apart(faces[0].points[tessera::kLeftPupil], kLeftEye), 3);
  EXPECT_LT(Apart(faces[0].points[tessera::kRightPupil], kRightEye), 3);
}

TEST_F(TrainedNetworks, WithoutTheDetectorThereIsNoFaceThere) {
  FaceReader reader(1, Folder());
  PortraitPicture wall = Wall();
  EXPECT_TRUE(reader.Run(wall).empty());
}

TEST_F(TrainedNetworks, DetectorSeesAKnownFaceAgainAtItsPlace) {
  Put(tessera::kFaceNetworkFile, OneFaceDetector());
  tessera::FaceLook look;
  const std::string cascade = tessera::FindCascade(tessera::kFaceCascade, "", {});
  ASSERT_EQ(look.Load({cascade, "", "", (folder_ / tessera::kFaceNetworkFile).string(), ""}).faces, "");
  PortraitPicture wall = Wall();
  tessera::PictureView view;
  view.y = wall.i420.rowRange(0, wall.bgr.rows);
  EXPECT_TRUE(look.Again(view, tessera::PlacementOfEyes(kLeftEye, kRightEye)).has_value());
  EXPECT_FALSE(look.Again(view, {{100, 100}, 80, 0}).has_value());
}

TEST_F(TrainedNetworks, SearchThreadReadsThem) {
  Put(tessera::kFaceNetworkFile, OneFaceDetector());
  Put(tessera::kPointNetworkFile, PointsNetwork(Shown(PulledNose())));
  vanta_test::LogCapture log;
  std::thread::id reading;
  log.OnLine("[tessera] points by " + (folder_ / tessera::kPointNetworkFile).string(),
             [&] { reading = std::this_thread::get_id(); });
  FaceReader reader(1, Folder());
  reader.SearchBeside();
  PortraitPicture wall = Wall();
  std::vector<ReadFace> faces;
  vanta_test::WaitUntil([&] { return !(faces = reader.Run(wall)).empty(); }, "a face");
  ASSERT_EQ(faces.size(), 1U);
  EXPECT_LT(Apart(InFace(faces[0], tessera::kNoseTip), PulledNose()[tessera::kNoseTip]), 0.02F);
  EXPECT_NE(reading, std::thread::id());
  EXPECT_NE(reading, std::this_thread::get_id());
}

TEST_F(TrainedNetworks, PointsAreThoseOfANetworkOf101) {
  Put(tessera::kPointNetworkFile, PointsNetwork(Shown(PulledNose())));
  FaceReader reader(1, Folder());
  PortraitPicture picture = Portrait();
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  for (size_t i = 0; i < tessera::kPointCount; ++i) EXPECT_LT(Apart(InFace(faces[0], i), PulledNose()[i]), 0.01F) << i;
}

// Of three kilobytes; it would take 1.5 GB for a picture.
TEST_F(TrainedNetworks, NetworkThatWouldTakeGigabytesIsNotUsed) {
  Put(tessera::kPointNetworkFile, vanta_test::ConstantNetwork({112, 112}, {{"points", Shown(PulledNose())}}, 100));
  vanta_test::LogCapture log;
  FaceReader reader(1, Folder());
  PortraitPicture picture = Portrait();
  EXPECT_EQ(reader.Run(picture).size(), 1U);
  EXPECT_TRUE(log.HasText(" is not used: a picture would take it 14"));  // hundreds of MiB
}

TEST_F(TrainedNetworks, PointsGoAlongWithTheFaceBetweenLooks) {
  Put(tessera::kPointNetworkFile, PointsNetwork(Shown(PulledNose())));
  FaceReader reader(1, Folder());
  vanta_test::PortraitSetup setup;
  for (int i = 0; i < 10; ++i) {
    PortraitPicture picture = vanta_test::PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), setup);
    const auto faces = reader.Run(picture);
    ASSERT_EQ(faces.size(), 1U) << i;
    EXPECT_LT(Apart(faces[0].points[tessera::kLeftPupil], picture.marks[4]), 0.1F * setup.eye_distance) << i;
    EXPECT_LT(Apart(InFace(faces[0], tessera::kNoseTip), PulledNose()[tessera::kNoseTip]), 0.15F) << i;
    setup.middle.x += 5;
  }
}

TEST_F(TrainedNetworks, NetworkOf68PointsMovesTheirNeighbours) {
  std::vector<cv::Point2f> sparse(tessera::kSparsePoints, cv::Point2f(0, 0));
  for (size_t i = 36; i < 48; ++i) sparse[i] = {i < 42 ? -0.5F : 0.5F, 0};  // eyes
  sparse[8] = {0.1F, 1.5F};                                                 // chin
  Put(tessera::kPointNetworkFile, PointsNetwork(Shown(sparse)));
  FaceReader reader(1, Folder());
  PortraitPicture picture = Portrait();
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  EXPECT_LT(Apart(InFace(faces[0], tessera::kChin), {0.1F, 1.5F}), 0.01F);
}

TEST(SparseShape, KeepsThePointsThatBothLayoutsHave) {
  std::vector<cv::Point2f> sparse;
  for (size_t i = 0; i < tessera::kSparsePoints; ++i) sparse.emplace_back(static_cast<float>(i), 100);
  const std::vector<cv::Point2f> dense = tessera::DenseShape(sparse);
  const std::vector<std::pair<size_t, size_t>> pairs = {{tessera::kContourLeft, 0},
                                                        {tessera::kChin, 8},
                                                        {tessera::kContourRight, 16},
                                                        {tessera::kLeftBrowUpper.first, 17},
                                                        {tessera::kLeftBrowUpper.last, 21},
                                                        {tessera::kRightBrowUpper.first, 22},
                                                        {tessera::kRightBrowUpper.last, 26},
                                                        {tessera::kNoseRoot, 27},
                                                        {tessera::kNoseTip, 30},
                                                        {tessera::kNoseBase, 33},
                                                        {tessera::kLeftEyeOuterCorner, 36},
                                                        {tessera::kLeftEyeInnerCorner, 39},
                                                        {tessera::kRightEyeInnerCorner, 42},
                                                        {tessera::kRightEyeOuterCorner, 45},
                                                        {tessera::kMouthLeftCorner, 48},
                                                        {tessera::kUpperLipTop, 51},
                                                        {tessera::kMouthRightCorner, 54},
                                                        {tessera::kLowerLipBottom, 57},
                                                        {tessera::kUpperLipInner.first, 60},
                                                        {tessera::kUpperLipMiddle, 62},
                                                        {tessera::kLowerLipMiddle, 66}};
  for (const auto &[point, from] : pairs) EXPECT_FLOAT_EQ(dense[point].x, static_cast<float>(from)) << point;
}

struct BadFile {
  const char *name;
  const char *file;
  std::string bytes;
  const char *reason;
};

std::string AsMany(size_t values, float value) {
  return PointsNetwork(std::vector<float>(values, value));
}

class BadNetwork : public TrainedNetworks, public testing::WithParamInterface<BadFile> {};

TEST_P(BadNetwork, GetsOneLineInTheLogAndCascadesGoOn) {
  Put(GetParam().file, GetParam().bytes);
  vanta_test::LogCapture log;
  FaceReader reader(1, Folder());
  PortraitPicture picture = Portrait();
  for (int i = 0; i < 6; ++i) {
    const auto faces = reader.Run(picture);
    ASSERT_EQ(faces.size(), 1U);
    for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.13F);
  }
  const auto lines = log.LinesWith("[tessera] " + (folder_ / GetParam().file).string() + " is not used: ");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_NE(lines[0].text.find(GetParam().reason), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find("remove it, or put one there"), std::string::npos);
  EXPECT_EQ(lines[0].text.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Files, BadNetwork,
    testing::Values(BadFile{"DetectorThatIsNoNetwork", tessera::kFaceNetworkFile, "no network at all", ""},
                    BadFile{"EmptyDetector", tessera::kFaceNetworkFile, "", ""},
                    BadFile{"DetectorOfTooFewValues", tessera::kFaceNetworkFile, OneFaceDetector(1), "'iou'"},
                    BadFile{"DetectorWithoutItsOutputs", tessera::kFaceNetworkFile, AsMany(202, 0), ""},
                    BadFile{"PointsThatAreNoNetwork", tessera::kPointNetworkFile, "no network at all", ""},
                    BadFile{"PointsOfAnotherNumber", tessera::kPointNetworkFile, AsMany(200, 0.5F), "200 values"}),
    [](const auto &info) { return info.param.name; });

TEST_F(TrainedNetworks, PointsThatAreNoNumbersAreLeftOut) {
  for (const float value : {std::numeric_limits<float>::quiet_NaN(), 1e6F}) {
    Put(tessera::kPointNetworkFile, AsMany(202, value));
    FaceReader reader(1, Folder());
    PortraitPicture picture = Portrait();
    const auto faces = reader.Run(picture);
    ASSERT_EQ(faces.size(), 1U);
    for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.13F);
  }
}

}  // namespace
