// What a run's options do, judged by the colours of the picture.
#include <gtest/gtest.h>

#include <csignal>

#include <opencv2/imgcodecs.hpp>

#include "program.h"

namespace vanta_test {
namespace {

constexpr char kGreen[] = "color:20C040";
const cv::Scalar kGreenBgr(0x40, 0xC0, 0x20);

double Distance(const cv::Scalar &a, const cv::Scalar &b) {
  return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

double Light(const cv::Scalar &bgr) {
  return (bgr[0] + bgr[1] + bgr[2]) / 3;
}

// The recorded picture in the middle of a run of a plain green picture.
cv::Mat LiveSnapshotOf(const std::vector<std::string> &more) {
  const Workplace workplace;
  std::vector<std::string> arguments = {"--quiet",   "--input", kGreen,       "--size", "320x180",
                                        "--seconds", "2",       "--snapshot", "s.png"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const ProgramResult result = RunProgram(workplace, arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return cv::imread((workplace / "s.png").string());
}

// The same on the clip's own clock, where the run takes no longer than its work.
cv::Mat SnapshotOf(std::vector<std::string> more) {
  more.push_back("--every-frame");
  return LiveSnapshotOf(more);
}

double CornerLight(const cv::Mat &picture, bool right, bool bottom) {
  const int width = picture.cols / 3, height = picture.rows / 3;
  return Light(
      cv::mean(picture(cv::Rect(right ? picture.cols - width : 0, bottom ? picture.rows - height : 0, width, height))));
}

TEST(RunPicture, ColorComesThroughUnchangedByANeutralEngine) {
  EXPECT_LT(Distance(MiddleColor(SnapshotOf({})), kGreenBgr), 4);
}

struct Pixels {
  const char *name, *format, *matrix, *tag;
};

// Lossless pictures of the green.
void MakeGreen(const Workplace &workplace, const Pixels &pixels) {
  const std::string conversion =
      std::string("format=gbrp,scale=out_color_matrix=") + pixels.matrix + ":out_range=tv,format=" + pixels.format;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0x20C040:s=64x48:r=30:d=0.1", "-vf", conversion, "-c:v",
           "ffv1", "-colorspace", pixels.tag, (workplace / "in.mkv").string()});
}

cv::Scalar ColorPlayed(const Workplace &workplace, const std::vector<std::string> &more) {
  std::vector<std::string> arguments = {"--quiet", "--input", "in.mkv", "--every-frame", "--snapshot", "s.png"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const ProgramResult result = RunProgram(workplace, arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return MiddleColor(cv::imread((workplace / "s.png").string()));
}

class RunColors : public testing::TestWithParam<Pixels> {};

TEST_P(RunColors, OfAFileComeThroughWhateverItsPixelsAre) {
  const Workplace workplace;
  MakeGreen(workplace, GetParam());
  EXPECT_LT(Distance(ColorPlayed(workplace, {"--no-beauty"}), kGreenBgr), 4);
}

INSTANTIATE_TEST_SUITE_P(All, RunColors,
                         testing::Values(Pixels{"Rgb", "bgr0", "bt709", "unknown"},
                                         Pixels{"TenBits", "yuv420p10le", "bt709", "bt709"},
                                         Pixels{"SmallAndUntold", "yuv420p", "bt601", "unknown"},
                                         Pixels{"SmallAndTold", "yuv420p", "bt709", "bt709"}),
                         [](const auto &info) { return std::string(info.param.name); });

// A grey of 203 candela a square metre, the white of a page.
TEST(RunPicture, HdrIsShownInTheRangeOfTheCanvas) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=0x949494:s=64x48:r=30:d=0.1", "-pix_fmt", "yuv420p10le",
           "-c:v", "ffv1", "-colorspace", "bt2020nc", "-color_primaries", "bt2020", "-color_trc", "smpte2084",
           (workplace / "in.mkv").string()});
  for (const std::vector<std::string> &filters : std::vector<std::vector<std::string>>{{}, {"--no-beauty"}}) {
    const double light = Light(ColorPlayed(workplace, filters));
    EXPECT_GT(light, 150);
    EXPECT_LT(light, 250);
  }
}

// libobs holds a picture of more than eight bits in linear light.
TEST(RunPicture, TenBitsComeThroughEveryFilter) {
  const Workplace workplace;
  MakeGreen(workplace, {"", "yuv420p10le", "bt709", "bt709"});
  for (const std::vector<std::string> &filters :
       std::vector<std::vector<std::string>>{{},
                                             {"--no-beauty", "--draw-landmarks"},
                                             {"--no-beauty", "--green-screen", R"({"keyColor":[0.1,0.1,0.9]})"}}) {
    EXPECT_LT(Distance(ColorPlayed(workplace, filters), kGreenBgr), 4) << (filters.empty() ? "" : filters[1]);
  }
}

TEST(RunPicture, BrightnessReachesTheEngine) {
  EXPECT_GT(Light(MiddleColor(SnapshotOf({"--beauty", "brightness=0.8"}))), Light(kGreenBgr) + 10);
}

TEST(RunPicture, BrightnessReachesTheEngineOfALiveRun) {
  EXPECT_GT(Light(MiddleColor(LiveSnapshotOf({"--beauty", "brightness=0.8"}))), Light(kGreenBgr) + 10);
}

TEST(RunPicture, CommandsAtOnceWorkAsQueuedOnesDo) {
  EXPECT_GT(Light(MiddleColor(SnapshotOf({"--beauty", "brightness=0.8", "--async-commands", "off"}))),
            Light(kGreenBgr) + 10);
}

TEST(RunPicture, WithoutEngineThePictureStaysPlain) {
  EXPECT_LT(Distance(MiddleColor(SnapshotOf({"--beauty", "brightness=0.8", "--no-engine"})), kGreenBgr), 4);
}

TEST(RunPicture, RotationSettingTurnsWhatTheEngineCallsUp) {
  const cv::Mat upright = SnapshotOf({"--beauty", "relight=1"});
  EXPECT_GT(CornerLight(upright, false, false), CornerLight(upright, true, true) + 10);
  const cv::Mat turned =
      SnapshotOf({"--beauty", "relight=1", "--settings", R"({"sceneitem_orientation_info":{"rot_deg":180}})"});
  EXPECT_GT(CornerLight(turned, true, true), CornerLight(turned, false, false) + 10);
}

TEST(RunPicture, FlipSettingsMirrorWhatTheEngineCallsLeftAndUp) {
  const cv::Mat mirrored =
      SnapshotOf({"--beauty", "relight=1", "--settings", R"({"sceneitem_orientation_info":{"hor_flip":true}})"});
  EXPECT_GT(CornerLight(mirrored, true, false), CornerLight(mirrored, false, true) + 10);
  const cv::Mat flipped =
      SnapshotOf({"--beauty", "relight=1", "--settings", R"({"sceneitem_orientation_info":{"ver_flip":true}})"});
  EXPECT_GT(CornerLight(flipped, false, true), CornerLight(flipped, true, false) + 10);
}

TEST(RunPicture, NoGreenMattingSettingKeepsTheGreenBackdrop) {
  EXPECT_GT(Distance(MiddleColor(SnapshotOf({"--stage", "green-matting=on"})), kGreenBgr), 60)
      << "matting replaces the green";
  EXPECT_LT(Distance(MiddleColor(SnapshotOf({"--gl-context", "off", "--stage", "green-matting=on", "--settings",
                                             R"({"no_green_matting":true})"})),
                     kGreenBgr),
            4);
}

TEST(RunPicture, InteropRequestMakesANewEngineThatIsGivenTheSnapshot) {
  const Workplace workplace;
  const ProgramResult result =
      RunProgram(workplace, {"--input", kGreen, "--size", "320x180", "--seconds", "2", "--every-frame", "--beauty",
                             "brightness=0.8", "--gl-context", "off", "--settings",
                             R"({"lx_enable_nvdx_interop":"open"})", "--snapshot", "s.png", "--verbose"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("LumivexProcessor recreate because of LX AB change"), std::string::npos);
  EXPECT_GT(Light(MiddleColor(cv::imread((workplace / "s.png").string()))), Light(kGreenBgr) + 10);
}

// Frames stay on the GPU there, so the request to leave it is the one that differs from what is.
TEST(RunPicture, FramesThatStayOnTheGpuAreRecordedLikeThoseInMemory) {
  const std::vector<std::string> brighter = {"--beauty", "brightness=0.8"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.end(), brighter.begin(), brighter.end());
    return MiddleColor(SnapshotOf(more));
  };
  const cv::Scalar memory = with({"--gl-context", "off"});
  for (const char *request : {"open", "close"}) {
    const std::string settings = std::string(R"({"lx_enable_nvdx_interop":")") + request + R"("})";
    EXPECT_LT(Distance(with({"--gl-context", "on", "--settings", settings}), memory), 3) << request;
  }
}

TEST(RunPicture, RecordingWithoutEngineShowsThePlainPicture) {
  const Workplace workplace;
  const ProgramResult result =
      RunProgram(workplace, {"--input", kGreen, "--size", "320x180", "--seconds", "2", "--beauty", "brightness=0.8",
                             "--no-engine", "--output", "out.mp4", "--compare", "c.png", "--report", "r.json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("no effect engine"), std::string::npos) << result.err;
  EXPECT_LT(Distance(MiddleColor(VideoFrame(workplace, "out.mp4", 0.3)), kGreenBgr), 6);
  EXPECT_LT(Distance(MiddleColor(VideoFrame(workplace, "out.mp4", -1)), kGreenBgr), 6);
  const nlohmann::json report = ReadReport(workplace / "r.json");
  EXPECT_EQ(report["engine"]["state"], "missing");
  EXPECT_EQ(report["frames"]["repeated"], 0);
  EXPECT_EQ(report["delay"]["frames"]["max"], 0.0);
}

TEST(RunPicture, RecordingShowsThePlainPictureOnceTheEngineHasGone) {
  const Workplace workplace;
  const ProgramResult result =
      RunProgram(workplace, {"--input", kGreen, "--size", "320x180", "--seconds", "2.5", "--beauty", "brightness=0.8",
                             "--engine-stop-after", "1", "--output", "out.mp4", "--report", "r.json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_GT(Light(MiddleColor(VideoFrame(workplace, "out.mp4", 0.5))), Light(kGreenBgr) + 10);
  EXPECT_LT(Distance(MiddleColor(VideoFrame(workplace, "out.mp4", -1)), kGreenBgr), 6);
  EXPECT_EQ(ReadReport(workplace / "r.json")["engine"]["state"], "missing");
}

TEST(RunPicture, SlowEngineDelaysDropsAndRepeatsFrames) {
  const Workplace workplace;
  RunningProgram program(
      workplace, {"--input", kGreen, "--size", "320x180", "--loop", "--engine-delay", "200", "--report", "r.json"});
  ASSERT_TRUE(program.WaitForLine(", delay ")) << program.errors();  // a followed frame has come back
  ASSERT_TRUE(program.WaitForRepeats(40)) << program.errors();
  program.Signal(SIGINT);
  ASSERT_EQ(program.Finish().exit_code, 130) << program.errors();
  const nlohmann::json report = ReadReport(workplace / "r.json");
  EXPECT_GT(report["frames"]["repeated"].get<int>(), 0);
  EXPECT_GT(report["frames"]["dropped"].get<int>(), 0);
  EXPECT_GE(report["delay"]["ms"]["mean"].get<double>(), 200);
  EXPECT_GE(report["engine"]["frame_ms"]["mean"].get<double>(), 200);
}

}  // namespace
}  // namespace vanta_test
