// One frame before and after the filter, with the engine's report of it.
#include <gtest/gtest.h>

#include <fstream>

#include <opencv2/imgcodecs.hpp>

#include "program.h"

namespace vanta_test {
namespace {

using Names = std::vector<std::string>;

cv::Mat Picture(const Workplace &workplace, const std::string &name) {
  return cv::imread((workplace / name).string());
}

double Light(const cv::Mat &picture) {
  const cv::Scalar bgr = MiddleColor(picture);
  return (bgr[0] + bgr[1] + bgr[2]) / 3;
}

TEST(RunDumpFrame, WritesThePictureBeforeAndAfterAndTheEnginesWord) {
  const Workplace workplace;
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "color:20C040", "--size", "320x180", "--frames", "12",
                             "--every-frame", "--beauty", "brightness=0.8", "--dump-frame", "10"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"frame-10-after.png", "frame-10-before.png", "frame-10.json"}));
  const cv::Mat before = Picture(workplace, "frame-10-before.png"), after = Picture(workplace, "frame-10-after.png");
  EXPECT_EQ(before.size(), cv::Size(320, 180));
  EXPECT_EQ(after.size(), before.size());
  EXPECT_NEAR(MiddleColor(before)[1], 0xC0, 4);
  EXPECT_GT(Light(after), Light(before) + 10);
  const nlohmann::json word = ReadReport(workplace / "frame-10.json");
  EXPECT_EQ(word["engine"], "lumivex");
  EXPECT_EQ(word["frame"]["width"], 320);
  EXPECT_EQ(word["beauty"]["brightness"], 0.8);
}

// Every frame of the clip is eight steps lighter than the one before, and the engine is behind.
TEST(RunDumpFrame, BothPicturesAreOfTheSameFrame) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i",
           "color=gray:s=160x96:r=10:d=3,format=yuv420p,geq=lum='16+mod(N\\,26)*8':cb=128:cr=128", "-c:v", "ffv1",
           (workplace / "ramp.mkv").string()});
  const ProgramResult result = RunProgram(workplace, {"--quiet", "--input", "ramp.mkv", "--engine-delay", "250",
                                                      "--dump-frame", "8=ramp", "--report", "r.json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_GE(ReadReport(workplace / "r.json")["delay"]["frames"]["max"].get<double>(), 1.0);
  EXPECT_NEAR(Light(Picture(workplace, "ramp-after.png")), Light(Picture(workplace, "ramp-before.png")), 6);
  EXPECT_EQ(ReadReport(workplace / "ramp.json")["engine"], "lumivex");
}

TEST(RunDumpFrame, WithoutEngineBothPicturesAreTheSameAndTheWordIsEmpty) {
  const Workplace workplace;
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "color:20C040", "--size", "320x180", "--seconds", "1",
                             "--every-frame", "--beauty", "brightness=0.8", "--no-engine", "--dump-frame", "5=plain"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(cv::norm(Picture(workplace, "plain-before.png"), Picture(workplace, "plain-after.png"), cv::NORM_INF), 0);
  EXPECT_EQ(ReadReport(workplace / "plain.json"), nlohmann::json::object());
}

TEST(RunDumpFrame, LastFrameOfARunIsWaitedFor) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(workplace, {"--quiet", "--input", "color:20C040", "--size", "320x180",
                                                      "--frames", "5", "--dump-frame", "5=last"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"last-after.png", "last-before.png", "last.json"}));
}

TEST(RunDumpFrame, FrameThatNeverEntersIsAnOutputErrorAndLeavesNoFile) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(workplace, {"--quiet", "--input", "color:20C040", "--size", "320x180",
                                                      "--seconds", "1", "--every-frame", "--dump-frame", "5000"});
  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.err.rfind("vanta-run: --dump-frame: only ", 0), 0u) << result.err;
  EXPECT_EQ(workplace.Files(), Names{});
}

TEST(RunDumpFrame, FullDiskIsAnOutputErrorAndLeavesNoFile) {
  const Workplace workplace;
  ProgramSetting setting;
  setting.largest_file = 100;
  const ProgramResult result = RunProgram(workplace,
                                          {"--quiet", "--input", "color:20C040", "--size", "320x180", "--frames", "6",
                                           "--every-frame", "--dump-frame", "5"},
                                          setting);
  EXPECT_EQ(result.exit_code, 6);
  EXPECT_NE(result.err.find("frame-5-before.png: File too large"), std::string::npos) << result.err;
  EXPECT_EQ(workplace.Files(), Names{});
}

}  // namespace
}  // namespace vanta_test
