// The green screen's options, judged by the colours of the picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "program.h"

namespace vanta_test {
namespace {

const cv::Scalar kBackingBgr(0x50, 0xA0, 0x30), kFrontBgr(0x30, 0x40, 0xC0), kBackgroundBgr(0xC0, 0x40, 0x20);
constexpr char kBackground[] = "color:2040C0";
constexpr char kConfig[] = R"({"keyColor":[0.188,0.627,0.314]})";

double Distance(const cv::Scalar &a, const cv::Scalar &b) {
  return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

double Light(const cv::Scalar &bgr) {
  return (bgr[0] + bgr[1] + bgr[2]) / 3;
}

// A red front in the middle of a green backing.
void WriteTake(const std::filesystem::path &path) {
  cv::Mat take(180, 320, CV_8UC3, kBackingBgr);
  cv::rectangle(take, cv::Rect(100, 50, 120, 80), kFrontBgr, cv::FILLED);
  cv::imwrite(path.string(), take);
}

cv::Scalar Center(const cv::Mat &picture) {
  return cv::mean(picture(cv::Rect(140, 70, 40, 40)));
}

cv::Scalar Corner(const cv::Mat &picture) {
  return cv::mean(picture(cv::Rect(10, 10, 40, 20)));
}

ProgramResult RunTake(const Workplace &workplace, const std::vector<std::string> &more) {
  WriteTake(workplace / "take.png");
  std::vector<std::string> arguments = {"--quiet", "--input",   "take.png", "--fps",
                                        "20",      "--seconds", "1.5",      "--every-frame"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  ProgramResult result = RunProgram(workplace, arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return result;
}

cv::Mat Snapshot(const std::vector<std::string> &more) {
  const Workplace workplace;
  std::vector<std::string> arguments = {"--snapshot", "s.png"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  RunTake(workplace, arguments);
  return cv::imread((workplace / "s.png").string());
}

// Uneven light from left to right, noise, and the front that reaches the lower border.
void WriteNoisyTake(const std::filesystem::path &path, const cv::Scalar &backing) {
  cv::Mat take(180, 320, CV_8UC3, backing);
  cv::RNG random(7);
  for (int y = 0; y < take.rows; ++y) {
    for (int x = 0; x < take.cols; ++x) {
      const double light = 0.9 + 0.2 * x / take.cols;
      for (int c = 0; c < 3; ++c) {
        take.at<cv::Vec3b>(y, x)[c] = cv::saturate_cast<uint8_t>(backing[c] * light + random.gaussian(6));
      }
    }
  }
  cv::rectangle(take, cv::Rect(80, 40, 160, 140), kFrontBgr, cv::FILLED);
  cv::imwrite(path.string(), take);
}

cv::Scalar PickedBgr(const Workplace &workplace, const std::string &input) {
  const ProgramResult result = RunProgram(workplace, {"--input", input, "--pick-key"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const auto color = nlohmann::json::parse(result.out).at("keyColor").get<std::vector<double>>();
  return {color[2] * 255, color[1] * 255, color[0] * 255};
}

// One line, with the subject, the reason and the remedy; nothing is left behind.
void ExpectRefusal(const Workplace &workplace, std::vector<std::string> arguments, int code,
                   const std::vector<std::string> &parts) {
  WriteTake(workplace / "take.png");
  const size_t files = workplace.Files().size();
  arguments.insert(arguments.begin(), {"--input", "take.png", "--snapshot", "s.png"});
  const ProgramResult result = RunProgram(workplace, arguments);
  EXPECT_EQ(result.exit_code, code) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_NE(result.err.find("; "), std::string::npos) << result.err;
  for (const std::string &part : parts) EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
  EXPECT_EQ(workplace.Files().size(), files);
}

TEST(RunGreenScreen, BackingGivesWayToTheBackgroundAndTheFrontStays) {
  const cv::Mat picture = Snapshot({"--no-beauty", "--green-screen", kConfig, "--background", kBackground});
  EXPECT_LT(Distance(Center(picture), kFrontBgr), 8);
  EXPECT_LT(Distance(Corner(picture), kBackgroundBgr), 8);
}

TEST(RunGreenScreen, WithoutABackgroundTheBackingIsBlack) {
  EXPECT_LT(Distance(Corner(Snapshot({"--no-beauty", "--green-screen", kConfig})), cv::Scalar(0, 0, 0)), 8);
}

TEST(RunGreenScreen, WithoutTheFilterTheBackgroundIsCovered) {
  EXPECT_LT(Distance(Corner(Snapshot({"--no-beauty", "--background", kBackground})), kBackingBgr), 8);
}

TEST(RunGreenScreen, StandsInOneChainWithTheBeautyFilter) {
  const cv::Mat picture =
      Snapshot({"--beauty", "brightness=0.6", "--green-screen", kConfig, "--background", kBackground});
  EXPECT_GT(Light(Center(picture)), Light(kFrontBgr) + 5) << "the engine has brightened the front";
  EXPECT_LT(Distance(Corner(picture), kBackgroundBgr), 8) << "and not the background";
}

TEST(RunGreenScreen, ConfigComesFromAFileToo) {
  const Workplace workplace;
  std::ofstream(workplace / "key.json") << "\n " << kConfig << "\n";
  RunTake(workplace, {"--no-beauty", "--green-screen", "key.json", "--background", kBackground, "--snapshot", "s.png"});
  EXPECT_LT(Distance(Corner(cv::imread((workplace / "s.png").string())), kBackgroundBgr), 8);
}

TEST(RunGreenScreen, PictureFillsTheCanvasAsBackgroundWhateverItsShape) {
  const Workplace workplace;
  cv::imwrite((workplace / "tall.png").string(), cv::Mat(200, 60, CV_8UC3, kBackgroundBgr));
  RunTake(workplace, {"--no-beauty", "--green-screen", kConfig, "--background", "tall.png", "--snapshot", "s.png"});
  const cv::Mat picture = cv::imread((workplace / "s.png").string());
  EXPECT_LT(Distance(Corner(picture), kBackgroundBgr), 8);
  EXPECT_LT(Distance(cv::mean(picture(cv::Rect(270, 150, 40, 20))), kBackgroundBgr), 8);
}

TEST(RunGreenScreen, VideoIsPlayedAsBackground) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0x2040C0:s=320x180:r=20:d=0.5", "-pix_fmt", "yuv420p",
           (workplace / "back.mp4").string()});
  RunTake(workplace, {"--no-beauty", "--green-screen", kConfig, "--background", "back.mp4", "--snapshot", "s.png"});
  // The file does not say its matrix: the hue may be a little off.
  EXPECT_LT(Distance(Corner(cv::imread((workplace / "s.png").string())), kBackgroundBgr), 30);
}

TEST(RunGreenScreen, ReportHoldsTheConfigAndThatNoBeautyFilterWasThere) {
  const Workplace workplace;
  RunTake(workplace, {"--no-beauty", "--green-screen", kConfig, "--background", kBackground, "--report", "r.json"});
  const nlohmann::json report = ReadReport(workplace / "r.json");
  EXPECT_EQ(report["green_screen"]["config"], nlohmann::json::parse(kConfig));
  EXPECT_EQ(report["green_screen"]["background"], kBackground);
  EXPECT_EQ(report["beauty_filter"], false);
  EXPECT_GT(report["frames"]["out"], 0);
}

// The matte of a take that is written as take.png, one byte a pixel.
cv::Mat Matte(const cv::Mat &take, const std::vector<std::string> &more = {}) {
  const Workplace workplace;
  cv::imwrite((workplace / "take.png").string(), take);
  std::vector<std::string> arguments = {"--quiet",      "--input", "take.png",       "--no-beauty", "--fps",   "20",
                                        "--seconds",    "1",       "--green-screen", kConfig,       "--matte", "m.png",
                                        "--every-frame"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const ProgramResult result = RunProgram(workplace, arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return cv::imread((workplace / "m.png").string(), cv::IMREAD_UNCHANGED);
}

// The red front before the backing, with a ramp from one to the other over x = 120 to 200.
cv::Mat SoftTake() {
  cv::Mat take(180, 320, CV_8UC3);
  for (int x = 0; x < take.cols; ++x) {
    const double front = std::clamp((x - 120) / 80.0, 0.0, 1.0);
    take.col(x) = kBackingBgr * (1 - front) + kFrontBgr * front;
  }
  return take;
}

TEST(RunMatte, IsWhiteInTheFrontBlackInTheBackingAndBetweenAtASoftEdge) {
  const cv::Mat matte = Matte(SoftTake());
  ASSERT_EQ(matte.size(), cv::Size(320, 180));
  ASSERT_EQ(matte.type(), CV_8UC1);
  EXPECT_GT(cv::mean(matte(cv::Rect(220, 20, 80, 140)))[0], 252);
  EXPECT_LT(cv::mean(matte(cv::Rect(20, 20, 80, 140)))[0], 3);
  const cv::Mat between = (matte.row(90) > 40) & (matte.row(90) < 215);
  EXPECT_GT(cv::countNonZero(between), 5);
}

TEST(RunMatte, LiesOverTheSnapshotWhereTheInputDoesNotFillTheCanvas) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0xC04030:s=320x180:r=20:d=2", "-pix_fmt", "yuv420p",
           (workplace / "front.mp4").string()});
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "front.mp4", "--size", "320x320", "--every-frame", "--no-beauty",
                             "--green-screen", kConfig, "--matte", "m.png"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const cv::Mat matte = cv::imread((workplace / "m.png").string(), cv::IMREAD_UNCHANGED);
  ASSERT_EQ(matte.size(), cv::Size(320, 320));
  std::vector<cv::Point> opaque;
  cv::findNonZero(matte > 128, opaque);
  const cv::Rect place = cv::boundingRect(opaque);
  EXPECT_EQ(place.width, 320);
  EXPECT_NEAR(place.height, 180, 2);
}

// The front moves by 15 pixels with each frame, and the recorder takes every frame at the same time.
TEST(RunMatte, OfAMovingInputBelongsToTheSnapshotsFrame) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0x30A050:s=320x180:r=20:d=3", "-f", "lavfi", "-i",
           "color=0xC04030:s=60x90:r=20:d=3", "-filter_complex", "[0][1]overlay=x='mod(n*15,260)':y=45", "-pix_fmt",
           "yuv420p", (workplace / "moving.mp4").string()});
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "moving.mp4", "--no-beauty", "--green-screen", kConfig, "--output",
                             "o.mp4", "--snapshot", "s.png", "--matte", "m.png"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const cv::Mat matte = cv::imread((workplace / "m.png").string(), cv::IMREAD_UNCHANGED);
  cv::Mat red;
  cv::extractChannel(cv::imread((workplace / "s.png").string()), red, 2);
  const cv::Mat front = red > 96, opaque = matte > 128;
  ASSERT_GT(cv::countNonZero(front), 4000);
  EXPECT_LT(cv::countNonZero(front != opaque), 600) << "one frame of motion is 2700 pixels";
}

TEST(RunMatte, WithoutTheGreenScreenIsRefusedWithTheRemedy) {
  ExpectRefusal(Workplace(), {"--matte", "m.png"}, 2, {"--matte", "give --green-screen too"});
}

TEST(RunPickKey, FindsTheColorOfANoisyBacking) {
  const Workplace workplace;
  for (const cv::Scalar &backing : {cv::Scalar(0x50, 0xA0, 0x30), cv::Scalar(0xB0, 0x50, 0x20)}) {
    WriteNoisyTake(workplace / "noisy.png", backing);
    EXPECT_LT(Distance(PickedBgr(workplace, "noisy.png"), backing), 5);
  }
}

TEST(RunPickKey, FindsABackingThatDoesNotReachTheBorder) {
  const Workplace workplace;
  cv::Mat take(180, 320, CV_8UC3, cv::Scalar(20, 20, 20));
  cv::rectangle(take, cv::Rect(60, 40, 200, 130), kBackingBgr, cv::FILLED);
  cv::imwrite((workplace / "framed.png").string(), take);
  EXPECT_LT(Distance(PickedBgr(workplace, "framed.png"), kBackingBgr), 3);
}

TEST(RunPickKey, LooksAtTheFirstFrameOfAVideo) {
  const Workplace workplace;
  WriteTake(workplace / "take.png");
  RunTool({"ffmpeg", "-v", "error", "-loop", "1", "-i", (workplace / "take.png").string(), "-t", "0.2", "-vf",
           "scale=out_color_matrix=bt709:out_range=tv", "-colorspace", "bt709", "-pix_fmt", "yuv420p", "-crf", "10",
           (workplace / "take.mp4").string()});
  EXPECT_LT(Distance(PickedBgr(workplace, "take.mp4"), kBackingBgr), 6);
}

TEST(RunPickKey, WhatItPrintsKeysTheSameInput) {
  const Workplace workplace;
  WriteTake(workplace / "take.png");
  const ProgramResult picked = RunProgram(workplace, {"--input", "take.png", "--pick-key"});
  ASSERT_EQ(picked.exit_code, 0) << picked.err;
  const cv::Mat picture = Snapshot({"--no-beauty", "--green-screen", picked.out, "--background", kBackground});
  EXPECT_LT(Distance(Corner(picture), kBackgroundBgr), 8);
  EXPECT_LT(Distance(Center(picture), kFrontBgr), 8);
}

TEST(RunPickKey, SaysBesideTheConfigWhatItFound) {
  const Workplace workplace;
  WriteNoisyTake(workplace / "noisy.png", cv::Scalar(0x50, 0xA0, 0x30));
  const ProgramResult picked = RunProgram(workplace, {"--input", "noisy.png", "--pick-key"});
  EXPECT_NE(picked.err.find("backing even (0."), std::string::npos) << picked.err;
  EXPECT_NE(picked.err.find("noise σ 6."), std::string::npos) << picked.err;
  EXPECT_EQ(std::count(picked.err.begin(), picked.err.end(), '\n'), 1) << picked.err;
}

TEST(RunPickKey, NoBackingIsAnInputErrorInOneLine) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(workplace, {"--input", "color:808080", "--pick-key"});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_NE(result.err.find("no green or blue backing"), std::string::npos) << result.err;
}

TEST(RunGreenScreenErrors, UnreadableConfigIsAnInputError) {
  ExpectRefusal(Workplace(), {"--green-screen", "missing.json"}, 3, {"missing.json", "No such file"});
}

TEST(RunGreenScreenErrors, ConfigWithoutAnEndIsAnInputError) {
  ExpectRefusal(Workplace(), {"--green-screen", "/dev/zero"}, 3, {"/dev/zero: is longer than 1 MiB; "});
}

TEST(RunGreenScreenErrors, FolderAsConfigIsAnInputError) {
  ExpectRefusal(Workplace(), {"--green-screen", "/tmp"}, 3, {"/tmp", "is a folder"});
}

TEST(RunGreenScreenErrors, BadJsonInAFileIsToldWithTheFileAndThePlace) {
  const Workplace workplace;
  std::ofstream(workplace / "key.json") << "{\"keyColor\":\n[1,}";
  ExpectRefusal(workplace, {"--green-screen", "key.json"}, 2, {"key.json", "line 2"});
}

TEST(RunGreenScreenErrors, ConfigThatIsNoObjectIsRefused) {
  const Workplace workplace;
  std::ofstream(workplace / "key.json") << "[1, 2]";
  ExpectRefusal(workplace, {"--green-screen", "key.json"}, 2, {"key.json", "no object"});
}

TEST(RunGreenScreenErrors, MissingBackgroundIsAnInputError) {
  ExpectRefusal(Workplace(), {"--background", "missing.png"}, 3, {"missing.png"});
}

TEST(RunGreenScreenErrors, BeautyOptionsNeedTheBeautyFilter) {
  for (const std::vector<std::string> &option : std::vector<std::vector<std::string>>{
           {"--beauty", "smooth=1"}, {"--compare", "c.png"}, {"--interactive"}, {"--stage", "beauty=on"}}) {
    std::vector<std::string> arguments = {"--no-beauty"};
    arguments.insert(arguments.end(), option.begin(), option.end());
    ExpectRefusal(Workplace(), arguments, 2, {"--no-beauty", option[0]});
  }
}

}  // namespace
}  // namespace vanta_test
