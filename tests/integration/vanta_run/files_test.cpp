// The files that a run leaves: whole under their names, or not there.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <opencv2/imgcodecs.hpp>

#include "program.h"

namespace vanta_test {
namespace {

using Names = std::vector<std::string>;

std::string Probe(const Workplace &workplace, const std::string &name, const std::string &entries) {
  return RunTool({"ffprobe", "-v", "error", "-select_streams", "v", "-count_frames", "-show_entries", entries, "-of",
                  "csv=p=0", (workplace / name).string()});
}

// A face-coloured square with the fine unevenness of skin, on grey.
void WriteSkinPicture(const std::filesystem::path &path) {
  cv::Mat picture(360, 640, CV_8UC3, cv::Scalar(90, 90, 90));
  cv::Mat face = picture(cv::Rect(160, 60, 240, 240));
  cv::Mat noise(face.size(), CV_16SC1);
  cv::theRNG().state = 7;
  cv::randn(noise, 0, 6);
  for (int y = 0; y < face.rows; ++y) {
    for (int x = 0; x < face.cols; ++x) {
      const int step = noise.at<int16_t>(y, x);
      face.at<cv::Vec3b>(y, x) = {cv::saturate_cast<uint8_t>(130 + step), cv::saturate_cast<uint8_t>(160 + step),
                                  cv::saturate_cast<uint8_t>(205 + step)};
    }
  }
  cv::imwrite(path.string(), picture);
}

double Unevenness(const cv::Mat &picture, const cv::Rect &part) {
  cv::Scalar mean, deviation;
  cv::meanStdDev(picture(part), mean, deviation);
  return deviation[1];
}

TEST(RunFiles, PictureRunWritesEveryFileWhole) {
  const Workplace workplace;
  WriteSkinPicture(workplace / "skin.png");
  const ProgramResult result = RunProgram(
      workplace, {"--input", "skin.png", "--seconds", "2", "--beauty", "smooth=1", "--output", "out.mp4", "--snapshot",
                  "snap.png", "--compare", "pair.png", "--report", "report.json", "--log", "log.txt"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"log.txt", "out.mp4", "pair.png", "report.json", "skin.png", "snap.png"}));

  EXPECT_EQ(Probe(workplace, "out.mp4", "stream=codec_name,width,height").rfind("h264,640,360", 0), 0u);

  // Left the frame that went in, right the same frame smoothed, both below their labels.
  const cv::Mat pair = cv::imread((workplace / "pair.png").string());
  const cv::Mat skin = cv::imread((workplace / "skin.png").string());
  ASSERT_GT(pair.cols, 2 * skin.cols);
  const int strip = pair.rows - skin.rows;
  ASSERT_GT(strip, 0);
  const cv::Mat before = pair(cv::Rect(0, strip, skin.cols, skin.rows));
  const cv::Mat after = pair(cv::Rect(pair.cols - skin.cols, strip, skin.cols, skin.rows));
  const cv::Rect face(200, 100, 160, 160);
  EXPECT_NEAR(Unevenness(before, face), Unevenness(skin, face), 1.0);
  EXPECT_LT(Unevenness(after, face), 0.7 * Unevenness(before, face));

  const nlohmann::json report = ReadReport(workplace / "report.json");
  EXPECT_EQ(report["engine"]["state"], "running");
  EXPECT_EQ(report["engine"]["last_applied"]["beauty"]["smooth"], 1.0);
  EXPECT_GT(report["frames"]["in"], 0);
  EXPECT_EQ(report["frames"]["in"].get<int>(),
            report["frames"]["out"].get<int>() + report["frames"]["repeated"].get<int>());
  EXPECT_GE(report["delay"]["frames"]["mean"].get<double>(), 1.0);
  EXPECT_GE(report["cost_us"]["filter_video"]["count"].get<int>(), report["frames"]["out"].get<int>());
  EXPECT_TRUE(report["switches"]["async-commands"].get<bool>());
  EXPECT_FALSE(report["reports"].empty());
}

TEST(RunFiles, ReportGoesToStandardOutputForADash) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(workplace, {"--quiet", "--input", "color:203040", "--size", "64x64",
                                                      "--frames", "10", "--report", "-", "--frame-flip", "off"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const nlohmann::json report = nlohmann::json::parse(result.out);
  EXPECT_GE(report["frames"]["in"].get<int>(), 10);
  EXPECT_FALSE(report["switches"]["frame-flip"].get<bool>());
  EXPECT_EQ(result.err, "");
}

TEST(RunFiles, LibobsFreesAllItsMemory) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(
      workplace, {"--input", "color:203040", "--seconds", "1", "--output", "o.mkv", "--compare", "c.png", "--verbose"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("Number of memory leaks: 0\n"), std::string::npos) << result.err;
}

TEST(RunFiles, VideoEndsWithItsFile) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=320x180:r=25:d=1.2", "-pix_fmt", "yuv420p",
           (workplace / "in.mkv").string()});
  const ProgramResult result =
      RunProgram(workplace, {"--input", "in.mkv", "--output", "out.mkv", "--report", "r.json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const nlohmann::json report = ReadReport(workplace / "r.json");
  EXPECT_EQ(report["run"]["ended_by"], "end of input");
  EXPECT_EQ(report["canvas"]["fps"], 25.0);
  EXPECT_EQ(report["input"]["width"], 320);
  EXPECT_EQ(Probe(workplace, "out.mkv", "stream=width,height").rfind("320,180", 0), 0u);
}

TEST(RunFiles, FormatIsToldByTheEndingInCapitalsToo) {
  const Workplace workplace;
  const ProgramResult result = RunProgram(
      workplace, {"--quiet", "--input", "color:203040", "--size", "64x64", "--frames", "5", "--output", "OUT.MP4"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(Probe(workplace, "OUT.MP4", "format=format_name").find("mov,mp4"), std::string::npos);
}

// Four colours in its corners, and a note in the file by how much it is to be turned.
void MakeTurnedClip(const Workplace &workplace, const std::string &degrees, const std::string &format) {
  RunTool({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
           "color=red:s=48x32:r=30:d=0.1[a];color=lime:s=48x32:r=30:d=0.1[b];color=blue:s=48x32:r=30:d=0.1[c];"
           "color=white:s=48x32:r=30:d=0.1[d];[a][b][c][d]xstack=inputs=4:layout=0_0|w0_0|0_h0|w0_h0",
           "-pix_fmt", format, "-crf", "5", (workplace / "flat.mp4").string()});
  RunTool({"ffmpeg", "-v", "error", "-nostdin", "-y", "-i", (workplace / "flat.mp4").string(), "-c", "copy",
           "-metadata:s:v", "rotate=" + degrees, (workplace / "in.mp4").string()});
}

// The note itself, the part of a matrix that turns and mirrors: a b c d.
void SetMatrix(const std::filesystem::path &path, const std::array<double, 4> &parts) {
  std::ifstream read(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(read)), std::istreambuf_iterator<char>());
  read.close();
  const auto number = [](double value) {
    const auto bits = static_cast<uint32_t>(static_cast<int32_t>(std::lround(value * 65536)));
    std::string text;
    for (const int shift : {24, 16, 8, 0}) text += static_cast<char>(bits >> shift & 255);
    return text;
  };
  const std::string zero = number(0), plain = number(1) + zero + zero + zero + number(1);
  const size_t at = bytes.find(plain, bytes.find("tkhd"));
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, plain.size(), number(parts[0]) + number(parts[1]) + zero + number(parts[2]) + number(parts[3]));
  std::ofstream(path, std::ios::binary) << bytes;
}

void ExpectWhatPlayersShow(const Workplace &workplace) {
  RunTool({"ffmpeg", "-v", "error", "-y", "-i", (workplace / "in.mp4").string(), "-frames:v", "1",
           (workplace / "player.png").string()});
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "in.mp4", "--every-frame", "--no-beauty", "--snapshot", "ours.png"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const cv::Mat expected = cv::imread((workplace / "player.png").string());
  const cv::Mat picture = cv::imread((workplace / "ours.png").string());
  ASSERT_EQ(picture.size(), expected.size());
  EXPECT_LT(cv::norm(picture, expected, cv::NORM_L1) / static_cast<double>(picture.total()), 120)
      << "the mean difference of a pixel";
}

// A damaged file may say any rate; a tick of libobs cannot be shorter than a nanosecond.
TEST(RunFiles, VideoOfAnImpossibleRateIsPlayed) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-pix_fmt", "yuv420p",
           (workplace / "in.mp4").string()});
  std::fstream file(workplace / "in.mp4", std::ios::in | std::ios::out | std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const size_t times = bytes.find("mdhd"), frames = bytes.find("stts");
  ASSERT_NE(times, std::string::npos);
  ASSERT_NE(frames, std::string::npos);
  file.seekp(static_cast<std::streamoff>(times) + 16).write("\x7f\xff\xff\xff", 4);  // units a second
  file.seekp(static_cast<std::streamoff>(frames) + 16).write("\0\0\0\1", 4);         // units a frame
  file.close();
  const ProgramResult result =
      RunProgram(workplace, {"--input", "in.mp4", "--every-frame", "--no-beauty", "--report", "r.json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(ReadReport(workplace / "r.json")["canvas"]["fps"], 60.0);
}

struct Turned {
  const char *degrees, *format;
};

class RunTurned : public testing::TestWithParam<Turned> {};

TEST_P(RunTurned, VideoIsUprightAsPlayersShowIt) {
  const Workplace workplace;
  MakeTurnedClip(workplace, GetParam().degrees, GetParam().format);
  ExpectWhatPlayersShow(workplace);
}

INSTANTIATE_TEST_SUITE_P(All, RunTurned,
                         testing::Values(Turned{"90", "yuv420p"}, Turned{"180", "yuv422p"}, Turned{"270", "yuv420p"},
                                         Turned{"270", "yuv422p10le"}),
                         [](const auto &info) {
                           return std::string("By") + info.param.degrees + "Of" + info.param.format;
                         });

TEST(RunFiles, MirroredVideoIsShownAsPlayersShowIt) {
  const Workplace workplace;
  MakeTurnedClip(workplace, "0", "yuv420p");
  SetMatrix(workplace / "in.mp4", {-1, 0, 0, 1});
  ExpectWhatPlayersShow(workplace);
  MakeTurnedClip(workplace, "0", "yuv420p");
  SetMatrix(workplace / "in.mp4", {0, 1, 1, 0});
  ExpectWhatPlayersShow(workplace);
}

TEST(RunFiles, VideoThatIsNoQuarterTurnAwayIsToldWithTheRemedy) {
  const Workplace workplace;
  MakeTurnedClip(workplace, "0", "yuv420p");
  SetMatrix(workplace / "in.mp4", {0.866, 0.5, -0.5, 0.866});
  const ProgramResult result = RunProgram(workplace, {"--input", "in.mp4", "--every-frame", "--no-beauty"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.err.find("in.mp4: is to be turned by 30"), std::string::npos) << result.err;
}

// Rows and columns of the snapshot that are lit in the middle.
cv::Size Lit(const cv::Mat &picture) {
  cv::Mat grey;
  cv::extractChannel(picture, grey, 1);
  return {cv::countNonZero(grey.row(grey.rows / 2) > 128), cv::countNonZero(grey.col(grey.cols / 2) > 128)};
}

TEST(RunFiles, PixelsThatAreNotSquareAreShownInTheirShape) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=white:s=64x48:r=30:d=0.1,setsar=2", "-pix_fmt",
           "yuv420p", (workplace / "in.mp4").string()});
  const std::vector<std::string> plain = {"--quiet",     "--input",    "in.mp4", "--every-frame",
                                          "--no-beauty", "--snapshot", "s.png"};
  ASSERT_EQ(RunProgram(workplace, plain).exit_code, 0);
  EXPECT_EQ(cv::imread((workplace / "s.png").string()).size(), cv::Size(128, 48));
  std::vector<std::string> sized = plain;
  sized.insert(sized.end(), {"--size", "64x64"});
  ASSERT_EQ(RunProgram(workplace, sized).exit_code, 0);
  const cv::Size lit = Lit(cv::imread((workplace / "s.png").string()));
  EXPECT_EQ(lit.width, 64);
  EXPECT_NEAR(lit.height, 24, 1);
}

TEST(RunFiles, PicturesThatFollowTheFirstOneArePlayed) {
  const Workplace workplace;
  for (const auto &[codec, name] : {std::pair{"apng", "in.png"}, {"mjpeg", "in.mjpeg"}}) {
    RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=64x48:r=10:d=0.5", "-c:v", codec, "-f", codec,
             (workplace / name).string()});
    const ProgramResult result =
        RunProgram(workplace, {"--quiet", "--input", name, "--every-frame", "--no-beauty", "--report", "r.json"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(ReadReport(workplace / "r.json")["frames"]["in"], 5) << name;
  }
}

// libobs starts its muxer through a shell.
TEST(RunFiles, RecordingStandsUnderItsNameWhateverAShellMakesOfThat) {
  const Workplace workplace;
  const std::string folder = "a \"b\" `c` $HOME \\";
  std::filesystem::create_directory(workplace / folder);
  for (const std::string &name : {std::string("`d` $1 \"e\" \\ %d.mp4"), std::string("at 10:30.mp4"),
                                  std::string("f:g.mp4"), folder + "/out.mp4"}) {
    const ProgramResult result = RunProgram(workplace, {"--quiet", "--input", "color:203040", "--size", "64x64",
                                                        "--frames", "3", "--no-beauty", "--output", name});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(Probe(workplace, "./" + name, "stream=nb_read_frames").substr(0, 1), "3") << name;
  }
  EXPECT_EQ(workplace.Files().size(), 4u);
}

TEST(RunFiles, SizeOptionFitsAVideoIntoItsCanvas) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=c=white:s=320x180:r=25:d=1", "-pix_fmt", "yuv420p",
           (workplace / "in.mkv").string()});
  const ProgramResult result = RunProgram(workplace, {"--input", "in.mkv", "--size", "200x200", "--loop", "--seconds",
                                                      "1.5", "--every-frame", "--snapshot", "s.png"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const cv::Mat picture = cv::imread((workplace / "s.png").string());
  ASSERT_EQ(picture.size(), cv::Size(200, 200));
  EXPECT_LT(cv::mean(picture.rowRange(0, 30))[0], 10) << "above the picture all is black";
  EXPECT_GT(MiddleColor(picture)[0], 200);
}

TEST(RunFiles, CtrlCLeavesAPlayableFile) {
  const Workplace workplace;
  RunningProgram program(workplace,
                         {"--input", "color:203040", "--loop", "--live", "--output", "out.mp4", "--report", "r.json"});
  ASSERT_TRUE(program.WaitForLine("frames in", 2)) << "no progress line of the third second";
  program.Signal(SIGINT);
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 130) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"out.mp4", "r.json"}));
  const std::string frames = Probe(workplace, "out.mp4", "stream=nb_read_frames");
  EXPECT_GE(std::atoi(frames.c_str()), 5) << frames;
  EXPECT_EQ(ReadReport(workplace / "r.json")["run"]["ended_by"], "interrupt");
}

TEST(RunFiles, FullDiskIsAnOutputErrorAndLeavesNoFile) {
  const Workplace workplace;
  // Noise, so that the recording outgrows the limit soon.
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=320x180:r=30:d=1,noise=alls=80:allf=t", "-pix_fmt",
           "yuv420p", (workplace / "in.mkv").string()});
  const ProgramResult result = RunProgram(
      workplace, {"--quiet", "--input", "in.mkv", "--loop", "--seconds", "20", "--output", "out.mp4"}, {{}, 65536});
  EXPECT_EQ(result.exit_code, 6) << result.err;
  EXPECT_NE(result.err.find("vanta-run: out.mp4: "), std::string::npos) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"in.mkv"}));
}

TEST(RunFiles, ExistingFileStaysWhenTheRunFails) {
  const Workplace workplace;
  cv::imwrite((workplace / "s.png").string(), cv::Mat(4, 4, CV_8UC3, cv::Scalar(1, 2, 3)));
  RunProgram(workplace, {"--input", "color:203040", "--snapshot", "s.png"},
             {{{"DISPLAY", std::nullopt}, {"PATH", "/nowhere"}}, {}});
  EXPECT_EQ(cv::imread((workplace / "s.png").string()).size(), cv::Size(4, 4));
}

// At once: nothing is finished any more, and nothing unfinished is left.
TEST(RunFiles, SecondSignalEndsTheRunWithoutItsFiles) {
  const Workplace workplace;
  RunningProgram program(workplace,
                         {"--input", "color:203040", "--loop", "--live", "--output", "out.mp4", "--report", "r.json"});
  ASSERT_TRUE(program.WaitForLine("frames in", 2)) << "no progress line of the third second";
  program.SignalTwice(SIGINT, SIGTERM);
  EXPECT_EQ(program.Finish().exit_code, 130);
  EXPECT_EQ(workplace.Files(), Names{});
}

TEST(RunFiles, RecordingThatFailsLeavesTheOtherFiles) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=320x180:r=30:d=1,noise=alls=80:allf=t", "-pix_fmt",
           "yuv420p", (workplace / "in.mkv").string()});
  const ProgramResult result = RunProgram(workplace,
                                          {"--quiet", "--input", "in.mkv", "--size", "96x64", "--loop", "--seconds",
                                           "60", "--output", "out.mp4", "--snapshot", "s.png", "--report", "r.json"},
                                          {{}, 65536});
  EXPECT_EQ(result.exit_code, 6) << result.err;
  EXPECT_NE(result.err.find("vanta-run: out.mp4: "), std::string::npos) << result.err;
  EXPECT_EQ(workplace.Files(), (Names{"in.mkv", "r.json", "s.png"}));
  EXPECT_EQ(ReadReport(workplace / "r.json")["failed"].size(), 1u);
}

TEST(RunFiles, PictureThatFailsLeavesPlotAndReport) {
  const Workplace workplace;
  // What jumps over the filter never comes back from it.
  std::ofstream(workplace / "s.jsonl") << R"({"at":0,"call":"SetFacelessJumpInfo","need_jump":true,"jump_type":7})";
  const ProgramResult result =
      RunProgram(workplace, {"--quiet", "--input", "color:203040", "--size", "64x64", "--seconds", "1", "--compare",
                             "c.png", "--commands", "s.jsonl", "--plot", "p.png", "--report", "r.json"});
  EXPECT_EQ(result.exit_code, 6) << result.err;
  EXPECT_EQ(result.err,
            "vanta-run: c.png: no marked frame came back from the filter; run longer, or with a lower "
            "--engine-delay\n");
  EXPECT_EQ(workplace.Files(), (Names{"p.png", "r.json", "s.jsonl"}));
  EXPECT_EQ(ReadReport(workplace / "r.json")["failed"].size(), 1u);
}

TEST(RunFiles, ReportThatFindsNoRoomOnStandardOutputIsAnOutputError) {
  const Workplace workplace;
  ProgramSetting setting;
  setting.output = "/dev/full";
  const ProgramResult result = RunProgram(workplace,
                                          {"--quiet", "--input", "color:203040", "--size", "64x64", "--frames", "5",
                                           "--snapshot", "s.png", "--report", "-"},
                                          setting);
  EXPECT_EQ(result.exit_code, 6);
  EXPECT_NE(result.err.find("standard output: No space left on device; "), std::string::npos) << result.err;
  EXPECT_EQ(workplace.Files(), Names{"s.png"});
}

TEST(RunFiles, VirtualDisplayIsAnnouncedAndGoneAtTheEnd) {
  const Workplace workplace;
  RunningProgram program(workplace, {"--input", "color:203040", "--size", "64x64", "--loop"},
                         {{{"DISPLAY", std::nullopt}}, {}});
  ASSERT_TRUE(program.WaitForLine("started a virtual one, :")) << program.errors();
  const pid_t server = ChildNamed("Xvfb", program.process());
  ASSERT_GT(server, 0);
  ASSERT_TRUE(program.WaitForLine("frames in")) << program.errors();
  program.Signal(SIGINT);
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 130) << result.err;
  EXPECT_EQ(kill(server, 0), -1) << "the server outlives the program";
}

TEST(RunFiles, DisplayThatGoesIsToldAndTheRunGoesOn) {
  const Workplace workplace;
  RunningProgram program(
      workplace, {"--input", "color:203040", "--size", "64x64", "--live", "--interactive", "--output", "out.mp4"},
      {{{"DISPLAY", std::nullopt}}, {}, true});
  ASSERT_TRUE(program.WaitForLine("started a virtual one, :")) << program.errors();
  const pid_t server = ChildNamed("Xvfb", program.process());
  ASSERT_GT(server, 0);
  program.Type("first\n");
  ASSERT_TRUE(program.WaitForLine("standard input:1: ")) << program.errors();
  kill(server, SIGKILL);
  ASSERT_TRUE(program.WaitForLine("the display has gone; the run goes on without it")) << program.errors();
  program.Type("second\n");
  ASSERT_TRUE(program.WaitForLine("standard input:2: ")) << program.errors();
  program.Type("quit\n");
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_GT(std::atoi(Probe(workplace, "out.mp4", "stream=nb_read_frames").c_str()), 0);
}

}  // namespace
}  // namespace vanta_test
