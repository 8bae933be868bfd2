// The message with which faces come, as the host application reads it.
#include "faces/face_message.h"

#include <gtest/gtest.h>

#include <obs.hpp>

#include <nlohmann/json.hpp>

namespace vanta_test {
namespace {

using vanta_run::FaceLine;
using vanta_run::FaceMessage;
using vanta_run::ReadFaceMessage;

constexpr char kMessage[] = R"({"face_cont":2,"width":640,"height":360,"fans_face_point":[
  {"index":-1,"pos":[{"first":10.5,"second":20,"index":0},{"first":30,"second":40,"index":97}]},
  {"index":-1,"pos":[]}],
  "roi_vec":[{"left":1,"top":2,"width":3,"height":4},{"left":0,"top":0,"width":0,"height":0}],"detect_key":5})";

TEST(FaceMessage, HoldsPointsAndBoxesOfEachFace) {
  const OBSDataAutoRelease data = obs_data_create_from_json(kMessage);
  const FaceMessage message = ReadFaceMessage(data);
  EXPECT_EQ(message.width, 640);
  EXPECT_EQ(message.height, 360);
  ASSERT_EQ(message.points.size(), 2u);
  ASSERT_EQ(message.points[0].size(), 2u);
  EXPECT_EQ(message.points[0][0].x, 10.5);
  EXPECT_EQ(message.points[0][1].index, 97);
  EXPECT_TRUE(message.points[1].empty());
  ASSERT_EQ(message.boxes.size(), 2u);
  EXPECT_EQ(message.boxes[0].height, 4);
}

TEST(FaceMessage, WithoutItsArraysHoldsNoFace) {
  const OBSDataAutoRelease data = obs_data_create_from_json("{}");
  EXPECT_TRUE(ReadFaceMessage(data).points.empty());
  EXPECT_TRUE(ReadFaceMessage(data).boxes.empty());
}

TEST(FaceMessage, LineIsTheWholeMessageBehindItsTime) {
  const OBSDataAutoRelease data = obs_data_create_from_json(kMessage);
  const std::string line = FaceLine(data, 1.23456);
  EXPECT_EQ(line.find('\n'), std::string::npos);
  EXPECT_EQ(line.rfind(R"({"seconds":1.235)", 0), 0u) << line;
  nlohmann::json expected = nlohmann::json::parse(kMessage);
  expected["seconds"] = 1.235;
  EXPECT_EQ(nlohmann::json::parse(line), expected);
}

}  // namespace
}  // namespace vanta_test
