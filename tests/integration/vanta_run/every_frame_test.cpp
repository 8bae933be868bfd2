// Recordings hold every frame of the input once, in order, with the sound in step, on any machine.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "program.h"

namespace vanta_test {
namespace {

using Numbers = std::vector<int>;

constexpr double kBeepSeconds = 0.5;  // the clips beep once

// Threads that do nothing but keep the processors from everybody else.
class BusyMachine {
 public:
  explicit BusyMachine(size_t loops) {
    for (size_t i = 0; i < loops; ++i)
      threads_.emplace_back([this] {
        while (!end_) {
        }
      });
  }
  ~BusyMachine() {
    end_ = true;
    for (std::thread &thread : threads_) thread.join();
  }
  BusyMachine(const BusyMachine &) = delete;
  BusyMachine &operator=(const BusyMachine &) = delete;

 private:
  std::atomic<bool> end_{false};
  std::vector<std::thread> threads_;
};

// 320x180. Eight cells across the upper half, black or white, are the digits of the frame's number, the lowest first.
std::string NumberedFrames(const std::string &rate, const std::string &seconds) {
  return "color=black:s=320x180:r=" + rate + ":d=" + seconds +
         ",format=yuv420p,geq=lum='if(gt(Y,90),120,30+180*mod(floor(N/pow(2,floor(X/40))),2))':cb=128:cr=128";
}

void MakeClip(const Workplace &workplace, const std::string &name, const std::string &picture,
              const std::string &seconds, const std::vector<std::string> &more = {}) {
  std::vector<std::string> command = {
      "ffmpeg",
      "-v",
      "error",
      "-nostdin",
      "-y",
      "-f",
      "lavfi",
      "-i",
      picture,
      "-f",
      "lavfi",
      "-i",
      "aevalsrc=if(between(t\\,0.5\\,0.55)\\,0.8*sin(2*PI*1000*t)\\,0):s=48000:d=" + seconds};
  command.insert(command.end(), more.begin(), more.end());
  command.insert(command.end(), {"-c:v", "libx264", "-preset", "ultrafast", "-crf", "10", "-c:a", "aac", "-shortest",
                                 (workplace / name).string()});
  RunTool(command);
}

Numbers ReadNumbers(const Workplace &workplace, const std::string &name) {
  constexpr size_t kWidth = 16, kHeight = 6;
  const std::string pixels =
      RunTool({"ffmpeg", "-v", "error", "-nostdin", "-i", (workplace / name).string(), "-fps_mode", "passthrough",
               "-vf", "scale=16:6:flags=area", "-pix_fmt", "gray", "-f", "rawvideo", "-"});
  Numbers numbers;
  for (size_t frame = 0; frame + kWidth * kHeight <= pixels.size(); frame += kWidth * kHeight) {
    int number = 0;
    for (size_t digit = 0; digit < 8; ++digit) {
      const size_t cell = frame + kWidth + digit * 2;
      const int light = static_cast<uint8_t>(pixels[cell]) + static_cast<uint8_t>(pixels[cell + 1]);
      if (light > 240) number |= 1 << digit;
    }
    numbers.push_back(number);
  }
  return numbers;
}

// Without what is shown again because no new frame was due.
Numbers WithoutRepeats(const Numbers &numbers) {
  Numbers once;
  for (const int number : numbers) {
    if (once.empty() || once.back() != number) once.push_back(number);
  }
  return once;
}

Numbers UpTo(int count) {
  Numbers numbers;
  for (int i = 0; i < count; ++i) numbers.push_back(i);
  return numbers;
}

// Seconds into the recording; negative when there is none.
double BeepIn(const Workplace &workplace, const std::string &name) {
  const std::string bytes = RunTool({"ffmpeg", "-v", "error", "-nostdin", "-i", (workplace / name).string(), "-vn",
                                     "-af", "aresample=48000:async=1:first_pts=0", "-ac", "1", "-f", "s16le", "-"});
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto sample = static_cast<int16_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
    if (std::abs(sample) > 4000) return static_cast<double>(i / 2) / 48000;
  }
  return -1;
}

// Seconds that a stream ("v" or "a") lasts, by what the file says of it.
double LengthOf(const Workplace &workplace, const std::string &name, const std::string &stream) {
  return std::stod(RunTool({"ffprobe", "-v", "error", "-select_streams", stream, "-show_entries", "stream=duration",
                            "-of", "csv=p=0", (workplace / name).string()}));
}

std::string StreamHashes(const Workplace &workplace, const std::string &name) {
  return RunTool({"ffmpeg", "-v", "error", "-nostdin", "-i", (workplace / name).string(), "-map", "0", "-c", "copy",
                  "-f", "streamhash", "-hash", "md5", "-"});
}

nlohmann::json Record(const Workplace &workplace, const std::string &clip, const std::string &recording,
                      std::vector<std::string> more = {}) {
  std::vector<std::string> arguments = {"--quiet", "--input", clip, "--output", recording, "--report", "report.json"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const ProgramResult result = RunProgram(workplace, arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  if (result.exit_code != 0) return {};
  return ReadReport(workplace / "report.json");
}

struct Clip {
  const char *name;
  const char *rate;
  const char *seconds;
  int frames;
};

class EveryFrame : public testing::TestWithParam<Clip> {};

TEST_P(EveryFrame, IsRecordedOnceInOrderWithTheSoundInStepAndTheSameToTheBitOnABusyMachine) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", NumberedFrames(GetParam().rate, GetParam().seconds), GetParam().seconds);
  ASSERT_EQ(ReadNumbers(workplace, "clip.mp4"), UpTo(GetParam().frames));

  const nlohmann::json report = Record(workplace, "clip.mp4", "idle.mp4");
  EXPECT_EQ(ReadNumbers(workplace, "idle.mp4"), UpTo(GetParam().frames));
  EXPECT_NEAR(BeepIn(workplace, "idle.mp4"), kBeepSeconds, 0.005);
  EXPECT_NEAR(LengthOf(workplace, "idle.mp4", "a"), LengthOf(workplace, "idle.mp4", "v"), 0.005);
  EXPECT_EQ(report["run"]["clock"], "own");
  EXPECT_EQ(report["recording"]["frames"], GetParam().frames);
  EXPECT_EQ(report["frames"]["in"], GetParam().frames);
  EXPECT_EQ(report["frames"]["out"], GetParam().frames);
  EXPECT_EQ(report["frames"]["repeated"], 0);
  EXPECT_EQ(report["canvas"]["lagged"], 0);
  EXPECT_EQ(report["delay"]["frames"]["max"], 1.0);
  EXPECT_FALSE(report["delay"].contains("ms"));

  const BusyMachine busy(4);
  Record(workplace, "clip.mp4", "busy.mp4");
  EXPECT_EQ(StreamHashes(workplace, "busy.mp4"), StreamHashes(workplace, "idle.mp4"));
}

INSTANTIATE_TEST_SUITE_P(All, EveryFrame,
                         testing::Values(Clip{"Ten", "10", "1", 10}, Clip{"TwentyNine97", "30000/1001", "1.001", 30},
                                         Clip{"Sixty", "60", "0.9", 54}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(EveryFrameOf, AVariableRateIsRecordedInOrder) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mkv", NumberedFrames("60", "1") + ",select='lt(mod(n\\,7)\\,3)'", "1",
           {"-fps_mode", "vfr"});
  const Numbers frames = ReadNumbers(workplace, "clip.mkv");
  ASSERT_GT(frames.size(), 20u);
  const nlohmann::json report = Record(workplace, "clip.mkv", "out.mkv");
  EXPECT_EQ(WithoutRepeats(ReadNumbers(workplace, "out.mkv")), frames);
  EXPECT_EQ(report["frames"]["in"], frames.size());
}

// The mean says nothing of the first two pictures, which the sound is set by.
TEST(EveryFrameOf, AVariableRateThatBeginsQuicklyKeepsItsSoundInStep) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", NumberedFrames("30", "2.5") + ",select='lt(t\\,0.2)+gt(t\\,2.2)'", "2.5",
           {"-fps_mode", "vfr"});
  const Numbers frames = ReadNumbers(workplace, "clip.mp4");
  Record(workplace, "clip.mp4", "out.mp4");
  EXPECT_EQ(WithoutRepeats(ReadNumbers(workplace, "out.mp4")), frames);
  EXPECT_NEAR(BeepIn(workplace, "out.mp4"), kBeepSeconds, 0.005);
}

// Slides and recorded screens: sound goes on meanwhile. Where it does not, the time passes all the same.
TEST(EveryFrameOf, APictureStandsForSecondsUntilTheNextOne) {
  const Workplace workplace;
  for (const std::vector<std::string> &sound : {std::vector<std::string>{}, std::vector<std::string>{"-an"}}) {
    std::vector<std::string> more = sound;
    more.insert(more.end(), {"-fps_mode", "vfr", "-y"});
    MakeClip(workplace, "clip.mkv", NumberedFrames("10", "5") + ",select='lt(t\\,0.25)+gt(t\\,4.75)'", "5", more);
    Record(workplace, "clip.mkv", "out.mkv", {"--no-beauty"});
    const Numbers numbers = ReadNumbers(workplace, "out.mkv");
    ASSERT_EQ(numbers.size(), 50u);
    EXPECT_EQ(WithoutRepeats(numbers), (Numbers{0, 1, 2, 48, 49}));
    EXPECT_EQ(std::count(numbers.begin(), numbers.end(), 2), 46);
  }
}

// Of each the first picture is decoded before its time, or the last one only once nothing follows.
TEST(EveryFrameOf, AnMpegStreamIsRecordedFromItsFirstPictureToItsLast) {
  for (const auto &[codec, name] : {std::pair{"libx264", "clip.ts"},
                                    {"mpeg2video", "clip.ts"},
                                    {"mpeg2video", "clip.mpg"},
                                    {"mpeg4", "clip.avi"},
                                    {"mpeg4", "clip.mp4"},
                                    {"libx264", "clip.flv"}}) {
    SCOPED_TRACE(std::string(codec) + " in " + name);
    const Workplace workplace;
    RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", NumberedFrames("25", "1.2"), "-c:v", codec, "-q:v", "2",
             "-g", "12", (workplace / name).string()});
    Record(workplace, name, "out.mkv", {"--no-beauty"});
    EXPECT_EQ(WithoutRepeats(ReadNumbers(workplace, "out.mkv")), UpTo(30));  // times of .mpg are estimates
  }
}

// AVI counts in frames: a second is less than one, and no picture can stand between two.
TEST(EveryFrameOf, AFileThatCountsInLongerStepsThanASecondIsPlayedToItsEnd) {
  const Workplace workplace;
  RunTool({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=64x48:r=1/2:d=8", "-c:v", "mpeg4",
           (workplace / "clip.avi").string()});
  const ProgramResult result = RunProgram(
      workplace, {"--quiet", "--input", "clip.avi", "--every-frame", "--no-beauty", "--report", "report.json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const nlohmann::json report = ReadReport(workplace / "report.json");
  EXPECT_EQ(report["run"]["ended_by"], "end of input");
  EXPECT_EQ(report["frames"]["in"], 4);
}

TEST(EveryFrameOf, ARunWithoutTheBeautyFilterIsRecordedToo) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", NumberedFrames("30", "1"), "1");
  Record(workplace, "clip.mp4", "out.mp4", {"--no-beauty"});
  EXPECT_EQ(ReadNumbers(workplace, "out.mp4"), UpTo(30));
  EXPECT_NEAR(BeepIn(workplace, "out.mp4"), kBeepSeconds, 0.005);
}

TEST(EveryFrameOf, ALoopComesRoundWithoutAGap) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", NumberedFrames("30", "0.5"), "0.5");
  Record(workplace, "clip.mp4", "out.mp4", {"--loop", "--frames", "40"});
  Numbers expected;
  for (int i = 0; i < 40; ++i) expected.push_back(i % 15);
  EXPECT_EQ(ReadNumbers(workplace, "out.mp4"), expected);
}

TEST(EveryFrameOf, ALimitedRunEndsWithItsLastFrame) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", NumberedFrames("30", "1"), "1");
  Record(workplace, "clip.mp4", "frames.mp4", {"--frames", "7"});
  EXPECT_EQ(ReadNumbers(workplace, "frames.mp4"), UpTo(7));
  Record(workplace, "clip.mp4", "seconds.mp4", {"--seconds", "0.5"});
  EXPECT_EQ(ReadNumbers(workplace, "seconds.mp4"), UpTo(15));
}

TEST(EveryFrameOf, ATruncatedFileIsRecordedAsFarAsItGoes) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mkv", NumberedFrames("30", "1"), "1");
  std::filesystem::resize_file(workplace / "clip.mkv", std::filesystem::file_size(workplace / "clip.mkv") * 2 / 3);
  Record(workplace, "clip.mkv", "out.mkv");
  const Numbers frames = ReadNumbers(workplace, "out.mkv");
  EXPECT_GT(frames.size(), 5u);
  EXPECT_EQ(frames, UpTo(static_cast<int>(frames.size())));
}

// Its sound begins before its picture, and the index that leads back to the start is missing.
TEST(EveryFrameOf, ACutOffFileWhoseSoundComesFirstIsRecordedAsFarAsItGoes) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", "testsrc2=s=320x180:r=30:d=1,format=yuv420p", "1");
  RunTool({"ffmpeg", "-v", "error", "-nostdin", "-i", (workplace / "clip.mp4").string(), "-c", "copy",
           (workplace / "clip.mkv").string()});
  std::filesystem::resize_file(workplace / "clip.mkv", std::filesystem::file_size(workplace / "clip.mkv") / 2);
  const size_t frames = ReadNumbers(workplace, "clip.mkv").size();
  ASSERT_GT(frames, 5u);
  Record(workplace, "clip.mkv", "out.mkv");
  EXPECT_EQ(ReadNumbers(workplace, "out.mkv").size(), frames);
}

TEST(EveryFrameOf, AFileWhoseSoundHoldsNothingIsRecorded) {
  const Workplace workplace;
  RunTool({"ffmpeg",
           "-v",
           "error",
           "-nostdin",
           "-f",
           "lavfi",
           "-i",
           NumberedFrames("30", "2"),
           "-itsoffset",
           "1.5",
           "-f",
           "lavfi",
           "-i",
           "sine=d=0.5",
           "-c:v",
           "libx264",
           "-preset",
           "ultrafast",
           "-crf",
           "10",
           "-c:a",
           "aac",
           (workplace / "clip.mkv").string()});
  std::filesystem::resize_file(workplace / "clip.mkv", std::filesystem::file_size(workplace / "clip.mkv") / 2);
  Record(workplace, "clip.mkv", "out.mkv");
  const Numbers frames = ReadNumbers(workplace, "out.mkv");
  EXPECT_GT(frames.size(), 5u);
  EXPECT_EQ(frames, UpTo(static_cast<int>(frames.size())));
}

TEST(EveryFrameOf, ACommandShowsWithTheFrameOfItsTime) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", "color=gray:s=320x180:r=30:d=1", "1");
  std::ofstream(workplace / "script.jsonl")
      << R"({"at": 0.5, "call": "SetBeautyIntensityWithType", "type": "brightness", "intensity": 0.9})"
      << "\n";
  Record(workplace, "clip.mp4", "out.mp4", {"--commands", "script.jsonl"});
  const std::string pixels = RunTool({"ffmpeg", "-v", "error", "-nostdin", "-i", (workplace / "out.mp4").string(),
                                      "-vf", "scale=1:1:flags=area", "-pix_fmt", "gray", "-f", "rawvideo", "-"});
  ASSERT_EQ(pixels.size(), 30u);
  const auto light = [&pixels](size_t frame) { return static_cast<int>(static_cast<uint8_t>(pixels[frame])); };
  EXPECT_NEAR(light(14), light(0), 2);
  EXPECT_GT(light(15), light(0) + 10);
}

// A picture is looked at in every second tick, 66 ms apart at the least, and its faces are there in the same one.
TEST(EveryFrameOf, FacesComeAtFixedTimesOfTheClip) {
  const Workplace workplace;
  MakeClip(workplace, "clip.mp4", NumberedFrames("30", "1"), "1");
  Record(workplace, "clip.mp4", "out.mp4", {"--no-beauty", "--landmarks", "faces.jsonl"});
  std::vector<double> times;
  std::ifstream file(workplace / "faces.jsonl");
  for (std::string line; std::getline(file, line);) times.push_back(nlohmann::json::parse(line)["seconds"]);
  ASSERT_GE(times.size(), 14u);
  for (size_t i = 0; i < times.size(); ++i)
    EXPECT_NEAR(times[i], times[0] + 2.0 / 30 * static_cast<double>(i), 0.0011) << i;
}

TEST(EveryFrameOf, AnInterruptedRunIsAWholeFile) {
  const Workplace workplace;
  RunningProgram program(workplace, {"--input", "color:203040", "--size", "64x64", "--loop", "--output", "out.mp4"});
  ASSERT_TRUE(program.WaitForLine("frames in"));
  program.Signal(SIGINT);
  const ProgramResult result = program.Finish();
  EXPECT_EQ(result.exit_code, 130) << result.err;
  EXPECT_FALSE(ReadNumbers(workplace, "out.mp4").empty());
}

TEST(OwnClock, RefusesWhatOnlyALiveRunCanDo) {
  for (const auto &option : std::vector<std::vector<std::string>>{
           {"--engine-delay", "5"}, {"--interactive"}, {"--monitor"}, {"--plot", "p.png"}}) {
    std::vector<std::string> arguments = {"--input", "color:203040", "--output", "o.mp4"};
    arguments.insert(arguments.end(), option.begin(), option.end());
    const ProgramResult result = RunProgram(Workplace(), arguments);
    EXPECT_EQ(result.exit_code, 2) << option[0];
    EXPECT_NE(result.err.find(option[0] + ": is for live runs only; give --live too"), std::string::npos) << result.err;
  }
}

TEST(OwnClock, IsNotTheOneOfALiveRun) {
  const Workplace workplace;
  RunProgram(workplace, {"--quiet", "--input", "color:203040", "--size", "64x64", "--seconds", "0.5", "--live",
                         "--output", "o.mp4", "--report", "live.json"});
  EXPECT_EQ(ReadReport(workplace / "live.json")["run"]["clock"], "live");
  EXPECT_TRUE(ReadReport(workplace / "live.json")["delay"].contains("ms"));
  RunProgram(workplace, {"--quiet", "--input", "color:203040", "--size", "64x64", "--seconds", "0.5", "--every-frame",
                         "--report", "own.json"});
  EXPECT_EQ(ReadReport(workplace / "own.json")["run"]["clock"], "own");
}

}  // namespace
}  // namespace vanta_test
