// Faces found by the landmark filter, as lines and as marks over the picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include <opencv2/imgcodecs.hpp>

#include "program.h"

namespace vanta_test {
namespace {

using nlohmann::json;

constexpr int kWidth = 640, kHeight = 600;  // twice the portrait's size

ProgramResult RunPortrait(const Workplace &workplace, std::vector<std::string> more) {
  const std::vector<std::string> first = {"--input", VANTA_TEST_PORTRAIT, "--size",    "640x600", "--fps",
                                          "15",      "--no-beauty",       "--seconds", "1",       "--every-frame"};
  more.insert(more.begin(), first.begin(), first.end());
  ProgramResult result = RunProgram(workplace, more);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return result;
}

std::vector<json> Lines(std::istream &text) {
  std::vector<json> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(json::parse(line));
  return lines;
}

TEST(RunLandmarks, EachSignalIsALineWithItsTime) {
  const Workplace workplace;
  RunPortrait(workplace, {"--landmarks", "f.jsonl", "--report", "r.json"});
  std::ifstream file(workplace / "f.jsonl");
  const std::vector<json> lines = Lines(file);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(ReadReport(workplace / "r.json")["landmarks"]["signals"], lines.size());
  for (size_t i = 1; i < lines.size(); ++i) {
    EXPECT_GE(lines[i]["seconds"].get<double>(), lines[i - 1]["seconds"].get<double>());
  }
  EXPECT_EQ(lines.back()["width"], kWidth);
  EXPECT_EQ(lines.back()["height"], kHeight);
}

// The recording goes on, and what else is wanted is written.
TEST(RunLandmarks, FullDiskForTheFacesLeavesTheOtherFiles) {
  const Workplace workplace;
  ProgramSetting setting;
  setting.output = "/dev/full";
  const ProgramResult result = RunProgram(
      workplace,
      {"--quiet", "--input", VANTA_TEST_PORTRAIT, "--size", "640x600", "--fps", "15", "--no-beauty", "--seconds", "1",
       "--landmarks", "-", "--output", "o.mp4", "--snapshot", "s.png", "--report", "r.json"},
      setting);
  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.err, "vanta-run: standard output: No space left on device; give a file, or a reader that stays\n");
  EXPECT_EQ(workplace.Files(), (std::vector<std::string>{"o.mp4", "r.json", "s.png"}));
  EXPECT_GE(ReadReport(workplace / "r.json")["run"]["seconds"].get<double>(), 1.0);
}

TEST(RunLandmarks, FaceOfThePortraitIsFound) {
  const Workplace workplace;
  RunPortrait(workplace, {"--landmarks", "f.jsonl"});
  std::ifstream file(workplace / "f.jsonl");
  const std::vector<json> lines = Lines(file);
  ASSERT_FALSE(lines.empty());
  const json &last = lines.back();
  ASSERT_EQ(last["face_cont"], 1);
  const json &points = last["fans_face_point"][0]["pos"];
  ASSERT_EQ(points.size(), 5u);
  const json &box = last["roi_vec"][0];
  for (const json &point : points) {
    EXPECT_GT(point["first"].get<double>(), box["left"].get<double>());
    EXPECT_LT(point["first"].get<double>(), box["left"].get<double>() + box["width"].get<double>());
  }
  // The contour's ends stand left and right of the chin, which is below both.
  EXPECT_LT(points[0]["first"].get<double>(), points[1]["first"].get<double>());
  EXPECT_LT(points[1]["first"].get<double>(), points[2]["first"].get<double>());
  EXPECT_GT(points[1]["second"].get<double>(),
            std::max(points[0]["second"].get<double>(), points[2]["second"].get<double>()));
}

TEST(RunLandmarks, StandardOutputTakesTheLinesToo) {
  const Workplace workplace;
  std::istringstream out(RunPortrait(workplace, {"--landmarks", "-"}).out);
  EXPECT_FALSE(Lines(out).empty());
}

TEST(RunLandmarks, PointsAreDrawnOverTheSnapshot) {
  const Workplace workplace;
  RunPortrait(workplace, {"--draw-landmarks", "--landmarks", "f.jsonl", "--snapshot", "s.png", "--at", "0.9"});
  std::ifstream file(workplace / "f.jsonl");
  const std::vector<json> lines = Lines(file);
  ASSERT_FALSE(lines.empty());
  const cv::Mat picture = cv::imread((workplace / "s.png").string());
  ASSERT_EQ(picture.size(), cv::Size(kWidth, kHeight));
  for (const json &point : lines.back()["fans_face_point"][0]["pos"]) {
    const cv::Vec3b color = picture.at<cv::Vec3b>(static_cast<int>(point["second"].get<double>()),
                                                  static_cast<int>(point["first"].get<double>()));
    EXPECT_GT(color[1], 180) << point;
    EXPECT_LT(color[0], 120) << point;
    EXPECT_LT(color[2], 150) << point;
  }
}

TEST(RunLandmarks, EnginesFacePointsAreTheSameSignal) {
  const Workplace workplace;
  RunningProgram program(workplace,
                         {"--input", VANTA_TEST_PORTRAIT, "--size", "640x600", "--fps", "15", "--interactive",
                          "--beauty", "smooth=0.3", "--engine-face-points", "on", "--landmarks", "-"},
                         {{}, {}, true});
  ASSERT_TRUE(program.WaitForOutput("\"face_cont\":1")) << program.errors();
  program.Type("quit\n");
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 0) << result.err;
}

TEST(RunLandmarks, PictureWithoutAFaceStillGivesLines) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(workplace, {"--input", "color:406080", "--size", "320x240", "--no-beauty",
                                                      "--seconds", "1", "--every-frame", "--landmarks", "f.jsonl"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  std::ifstream file(workplace / "f.jsonl");
  const std::vector<json> lines = Lines(file);
  ASSERT_FALSE(lines.empty());
  for (const json &line : lines) EXPECT_EQ(line["face_cont"], 0);
}

}  // namespace
}  // namespace vanta_test
