// From the runner's tree to faces, on both paths.
#include "face_points/landmark_parsing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "face_points/cast_helper.h"
#include "fakes/runner/scripted_runner.h"
#include "vanta_base/point_order.h"

namespace {

using namespace vanta_test;
using tessera::Any;
using vanta::FacePointResult;
using vanta::ParseLandmarkAny;
using vanta::ParseLandmarkOut;

std::shared_ptr<Any> Tree(Any any) {
  return std::make_shared<Any>(std::move(any));
}

// A tree of one face, whose map is `face`.
std::shared_ptr<Any> TreeOf(const Any &face) {
  return Tree(FacesMap({face}));
}

FacePointResult Parse(const std::shared_ptr<Any> &tree) {
  FacePointResult result;
  EXPECT_TRUE(ParseLandmarkAny(tree, result));
  return result;
}

// The value under "landmarks", as the engine hands it over.
std::shared_ptr<Any> Object(const std::shared_ptr<Any> &tree) {
  auto out = std::make_shared<tessera::TesseraOut>();
  out->getAny() = tree;
  auto object = std::make_shared<Any>();
  object->tag = Any::kObject;
  object->object_name = "tessera::TesseraOut";
  object->payload = out;
  return object;
}

// The published point 0 of a face with the one point (x, y) in all places.
vanta::PointXY Turned(float x, float y, int32_t rotation) {
  std::vector<tessera::TesseraPoint> points(101, {x, y, {}});
  FacePointResult result;
  EXPECT_TRUE(ParseLandmarkOut(Object(TreeOf(Any("pos", PointList(points)))), result, 640, 480, rotation, 1));
  return {result.faces.at(0).points.at(0).x, result.faces.at(0).points.at(0).y};
}

std::string CastError(const Any &any) {
  try {
    vanta::CastHelper<tessera::TesseraOut>(any);
  } catch (const std::runtime_error &error) {
    return error.what();
  }
  return "no exception";
}

TEST(LandmarkParsing, NoTreeIsFalseAndLeavesTheResult) {
  FacePointResult result;
  result.face_count = 7;
  EXPECT_FALSE(ParseLandmarkAny(nullptr, result));
  EXPECT_EQ(result.face_count, 7);
}

TEST(LandmarkParsing, RootThatIsNoMapIsFalseAndLeavesTheResult) {
  FacePointResult result;
  result.face_count = 7;
  result.rois.resize(2);
  for (const Any &root : {Any(), Any(3), Any("text"), PointLadder(101)}) {
    EXPECT_FALSE(ParseLandmarkAny(Tree(root), result));
  }
  EXPECT_EQ(result.face_count, 7);
  EXPECT_EQ(result.rois.size(), 2u);
}

TEST(LandmarkParsing, MapWithoutResultsHasNoFace) {
  const FacePointResult result = Parse(Tree(Any("other", Any(1))));
  EXPECT_EQ(result.face_count, 0);
  EXPECT_TRUE(result.faces.empty());
  EXPECT_TRUE(result.rois.empty());
}

TEST(LandmarkParsing, ResultsOfAnotherKindHaveNoFace) {
  EXPECT_EQ(Parse(Tree(Any("landmarks_out", Any(5)))).face_count, 0);
  EXPECT_EQ(Parse(Tree(Any("landmarks_out", Any("faces", Any("three"))))).face_count, 0);
  EXPECT_EQ(Parse(Tree(Any("landmarks_out", Any("faces", Any("a", Any(1)))))).face_count, 0);
}

TEST(LandmarkParsing, ContainersWithoutContentsHaveNoFace) {
  Any map;
  map.tag = Any::kMap;
  Any list;
  list.tag = Any::kVector;
  EXPECT_EQ(Parse(Tree(map)).face_count, 0);
  EXPECT_EQ(Parse(Tree(Any("landmarks_out", Any("faces", list)))).face_count, 0);
}

TEST(LandmarkParsing, SecondParseReplacesTheFacesOfTheFirst) {
  FacePointResult result;
  ASSERT_TRUE(ParseLandmarkAny(FaceTree({{}, {}}), result));
  ASSERT_TRUE(ParseLandmarkAny(FaceTree({{}}), result));
  EXPECT_EQ(result.face_count, 1);
  EXPECT_EQ(result.faces.size(), 1u);
  EXPECT_EQ(result.rois.size(), 1u);
}

TEST(LandmarkParsing, FacesAndBoxesKeepTheirOrder) {
  const FacePointResult result = Parse(FaceTree({{101, {1, 2, 3, 4}}, {5, {5, 6, 7, 8}}, {0, {9, 10, 11, 12}}}));
  ASSERT_EQ(result.face_count, 3);
  EXPECT_EQ(result.faces[0].points.size(), 101u);
  EXPECT_EQ(result.faces[1].points.size(), 5u);
  EXPECT_EQ(result.faces[2].points.size(), 0u);
  EXPECT_EQ(result.rois[0].left, 1);
  EXPECT_EQ(result.rois[1].top, 6);
  EXPECT_EQ(result.rois[2].width, 11);
  EXPECT_EQ(result.rois[2].height, 12);
  EXPECT_EQ(result.faces[0].index, -1);
}

TEST(LandmarkParsing, FaceThatIsNoMapStandsWithoutPointsAndWithAZeroBox) {
  const FacePointResult result = Parse(Tree(FacesMap({Any(4), Any()})));
  ASSERT_EQ(result.face_count, 2);
  EXPECT_TRUE(result.faces[0].points.empty());
  EXPECT_EQ(result.rois[1].height, 0);
}

TEST(LandmarkParsing, BoxThatIsNoMapIsFourZeros) {
  Any face("pos", PointLadder(101));
  face.addMapItem("range_expand", Any(7));
  const FacePointResult result = Parse(TreeOf(face));
  ASSERT_EQ(result.rois.size(), 1u);
  EXPECT_EQ(result.rois[0].left, 0);
  EXPECT_EQ(result.rois[0].height, 0);
  EXPECT_EQ(result.faces[0].points.size(), 101u);
}

TEST(LandmarkParsing, SideThatTheBoxLacksIsZero) {
  const FacePointResult result = Parse(TreeOf(Any("range_expand", Any("top", Any(12)))));
  EXPECT_EQ(result.rois.at(0).left, 0);
  EXPECT_EQ(result.rois.at(0).top, 12);
}

TEST(LandmarkParsing, PointsOfAnotherKindAreNone) {
  Any unfilled;
  unfilled.tag = Any::kPointList;
  for (const Any &pos : {Any(9), Any("text"), FacesMap({}), unfilled}) {
    EXPECT_TRUE(Parse(TreeOf(Any("pos", pos))).faces.at(0).points.empty());
  }
}

TEST(LandmarkParsing, HundredPointsKeepTheirOrder) {
  const FacePointResult result = Parse(FaceTree({{.points = 100}}));
  ASSERT_EQ(result.faces[0].points.size(), 100u);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(result.faces[0].points[static_cast<size_t>(i)].index, i);
    EXPECT_EQ(result.faces[0].points[static_cast<size_t>(i)].x, static_cast<float>(i));
  }
}

TEST(LandmarkParsing, PointZeroOf101IsPoint18OfTheRunner) {
  const FacePointResult result = Parse(FaceTree({{.points = 101}}));
  const auto &points = result.faces[0].points;
  EXPECT_EQ(points[0].index, 0);
  EXPECT_EQ(points[0].x, 18);
  EXPECT_EQ(points[0].y, 1018);
  EXPECT_EQ(points[9].x, 9);
  EXPECT_EQ(points[18].x, 0);
  EXPECT_EQ(points[97].x, 97);
  EXPECT_EQ(points[99].x, 99);
}

TEST(LandmarkParsing, PointsAbove100KeepTheirPlace) {
  const FacePointResult result = Parse(FaceTree({{.points = 10000}}));
  const auto &points = result.faces[0].points;
  ASSERT_EQ(points.size(), 10000u);
  EXPECT_EQ(points[0].x, 18);
  EXPECT_EQ(points[101].x, 101);
  EXPECT_EQ(points[9999].x, 9999);
  EXPECT_EQ(points[9999].index, 9999);
}

TEST(LandmarkParsing, NumbersThatAreNonePassOnTheWorkersPath) {
  std::vector<tessera::TesseraPoint> points(101);
  points[18] = {std::nanf(""), -std::numeric_limits<float>::infinity(), {}};
  Any face("pos", PointList(points));
  face.addMapItem("range_expand", Any("left", Float(std::nan(""))));
  const FacePointResult result = Parse(TreeOf(face));
  EXPECT_TRUE(std::isnan(result.faces[0].points[0].x));
  EXPECT_TRUE(std::isinf(result.faces[0].points[0].y));
  EXPECT_TRUE(std::isnan(result.rois[0].left));
}

TEST(LandmarkParsing, WorkersPathDoesNotTouchTheDetectKey) {
  FacePointResult result;
  result.detect_key = 12;
  EXPECT_TRUE(ParseLandmarkAny(FaceTree({{}}), result));
  EXPECT_EQ(result.detect_key, 12u);
}

TEST(LandmarkParsing, TreeIsReadWithoutAChange) {
  const std::shared_ptr<Any> tree = FaceTree({{}, {}});
  EXPECT_EQ(Parse(tree).face_count, 2);
  EXPECT_EQ(Parse(tree).face_count, 2);
}

// ---- The engine's path ----

TEST(LandmarkOut, WithoutAnObjectIsFalse) {
  FacePointResult result;
  result.detect_key = 5;
  EXPECT_FALSE(ParseLandmarkOut(nullptr, result, 1, 1, 0, 9));
  EXPECT_EQ(result.detect_key, 5u);
}

TEST(LandmarkOut, ResultWithoutATreeIsFalse) {
  FacePointResult result;
  EXPECT_FALSE(ParseLandmarkOut(Object(nullptr), result, 1, 1, 0, 9));
}

TEST(LandmarkOut, ReadsFacesAndStoresTheDetectKey) {
  FacePointResult result;
  EXPECT_TRUE(ParseLandmarkOut(Object(FaceTree({{}, {}})), result, 640, 480, 0, uint64_t{1} << 63));
  EXPECT_EQ(result.face_count, 2);
  EXPECT_EQ(result.detect_key, uint64_t{1} << 63);
}

TEST(LandmarkOut, TreeThatIsNoMapHasNoFace) {
  FacePointResult result;
  EXPECT_TRUE(ParseLandmarkOut(Object(Tree(Any(5))), result, 640, 480, 0, 9));
  EXPECT_EQ(result.face_count, 0);
  EXPECT_EQ(result.detect_key, 9u);
}

TEST(LandmarkOut, PointsAreCutAndTurned) {
  EXPECT_EQ(Turned(10.9f, 20.9f, 0), (vanta::PointXY{10, 20}));
  EXPECT_EQ(Turned(10.9f, 20.9f, 90), (vanta::PointXY{460, 10}));
  EXPECT_EQ(Turned(10.9f, 20.9f, 180), (vanta::PointXY{630, 460}));
  EXPECT_EQ(Turned(10.9f, 20.9f, 270), (vanta::PointXY{20, 630}));
  EXPECT_EQ(Turned(10.9f, 20.9f, 45), (vanta::PointXY{10, 20}));
}

TEST(LandmarkOut, OriginTurnedBy90LiesAtTheHeight) {
  EXPECT_EQ(Turned(0, 0, 90), (vanta::PointXY{480, 0}));
}

TEST(LandmarkOut, BoxesAreNotTurned) {
  FacePointResult result;
  EXPECT_TRUE(ParseLandmarkOut(Object(FaceTree({{101, {1.5f, 2.5f, 3.5f, 4.5f}}})), result, 640, 480, 90, 0));
  EXPECT_EQ(result.rois[0].left, 1.5f);
  EXPECT_EQ(result.rois[0].height, 4.5f);
}

TEST(LandmarkOut, PointThatNoWholeNumberHoldsIsAFiniteOne) {
  for (const float odd : {std::nanf(""), std::numeric_limits<float>::infinity(), 1e30f}) {
    const vanta::PointXY point = Turned(odd, odd, 180);
    EXPECT_TRUE(std::isfinite(point.x));
    EXPECT_TRUE(std::isfinite(point.y));
  }
}

// ---- Casts ----

TEST(CastHelper, GivesTheObjectThatTheValueHolds) {
  const std::shared_ptr<Any> object = Object(nullptr);
  EXPECT_EQ(vanta::CastHelper<tessera::TesseraOut>(*object).get(), object->payload.get());
}

TEST(CastHelper, OtherTagIsNamedInTheException) {
  EXPECT_EQ(CastError(Any(1)), "CastHelper cannot cast type to object, type mismatch: 3");
  EXPECT_EQ(CastError(Any("a", Any())), "CastHelper cannot cast type to object, type mismatch: 22");
}

TEST(CastHelper, MissingObjectIsNamedWithBothTypes) {
  Any any;
  any.tag = Any::kObject;
  any.object_name = "some::Thing";
  EXPECT_EQ(CastError(any),
            "CastHelper cannot cast type to object , pointer null : some::Thing <--> tessera::TesseraOut");
}

TEST(LandmarkOut, ValueThatHoldsNoObjectThrowsToTheCaller) {
  FacePointResult result;
  EXPECT_THROW(ParseLandmarkOut(Tree(Any(1)), result, 1, 1, 0, 0), std::runtime_error);
}

// ---- Trees of chance ----

constexpr const char *kKeys[] = {"landmarks_out", "faces",  "pos", "range_expand", "left", "top",
                                 "width",         "height", "x"};

class Chance {
 public:
  explicit Chance(uint32_t seed) : engine_(seed) {}

  Any Value(int depth) {
    switch (Below(depth > 0 ? 9 : 6)) {
      case 0:
        return {};
      case 1:
        return Float(kNumbers[Below(6)]);
      case 2:
        return Any("12x");
      case 3:
        return PointLadder(kCounts[Below(7)]);
      case 4:
        return Unfilled();
      case 5:
        return Any(static_cast<int>(Below(100)));
      case 6:
        return FacesMap({Value(depth - 1), Value(depth - 1)});
      case 7:
        return Face(depth);
      default:
        return Any(kKeys[Below(9)], Value(depth - 1));
    }
  }

  Any Face(int depth) {
    Any face("pos", Value(depth - 1));
    face.addMapItem("range_expand", Value(depth - 1));
    return face;
  }

 private:
  static constexpr double kNumbers[] = {
      0, -1, 1e300, 0.5, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
  static constexpr size_t kCounts[] = {0, 1, 100, 101, 102, 200, 10000};

  size_t Below(size_t end) { return engine_() % end; }
  // A tag whose contents are missing.
  Any Unfilled() {
    constexpr int32_t kTags[] = {Any::kVector, Any::kMap, Any::kPointList, Any::kObject, 99};
    Any any;
    any.tag = kTags[Below(5)];
    return any;
  }

  std::mt19937 engine_;
};

TEST(LandmarkParsing, NoTreeOfChanceBreaksIt) {
  Chance chance(20260101);
  int with_faces = 0;
  int with_points = 0;
  for (int i = 0; i < 3000; ++i) {
    const std::shared_ptr<Any> tree = Tree(i % 3 == 0 ? FacesMap({chance.Face(3), chance.Value(3)}) : chance.Value(4));
    FacePointResult result;
    const bool read = ParseLandmarkAny(tree, result);
    EXPECT_EQ(read, tree->tag == Any::kMap);
    ASSERT_EQ(result.faces.size(), result.rois.size());
    ASSERT_EQ(result.faces.size(), static_cast<size_t>(result.face_count));
    FacePointResult turned;
    ASSERT_TRUE(ParseLandmarkOut(Object(tree), turned, 640, 480, 90 * (i % 4), 1));
    ASSERT_EQ(turned.face_count, result.face_count);
    with_faces += result.face_count > 0;
    for (const vanta::FaceRecord &face : result.faces) with_points += face.points.size() >= vanta::kReorderedPoints;
  }
  EXPECT_GT(with_faces, 1000);
  EXPECT_GT(with_points, 20);
}

}  // namespace
