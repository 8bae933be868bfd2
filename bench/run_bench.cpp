// What libobs and the filters cost: vanta-run records a clip, ffmpeg decodes and encodes the same one with the same
// x264 settings. Figures without a bar, in processor time of the whole programs with all that they start.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ratio.h"

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

constexpr int kTurns = 3;

// Owns: a folder with a clip of 3 s of 720p, 30 frames a second, with sound.
class Clip {
 public:
  Clip();
  ~Clip() { fs::remove_all(folder_); }
  Clip(const Clip &) = delete;
  Clip &operator=(const Clip &) = delete;

  std::string In(const std::string &name) const { return (folder_ / name).string(); }

 private:
  fs::path folder_;
};

// Runs the program to its end. Its processor time in milliseconds, with that of its children; ends this program when it
// fails, as there is nothing to compare then.
double RunForMilliseconds(const Words &words) {
  std::vector<char *> arguments;
  for (const std::string &word : words) arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (process < 0 || wait4(process, &status, 0, &usage) < 0 || status != 0) {
    std::fprintf(stderr, "'%s' failed; is it installed?\n", words[0].c_str());
    std::exit(2);
  }
  const auto milliseconds = [](const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

Clip::Clip() {
  std::string pattern = (fs::temp_directory_path() / "vanta_run_bench_XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) std::exit(2);
  folder_ = pattern;
  RunForMilliseconds({"ffmpeg", "-v",      "error",       "-nostdin",
                      "-f",     "lavfi",   "-i",          "testsrc2=s=1280x720:r=30:d=3",
                      "-f",     "lavfi",   "-i",          "sine=f=440:r=48000:d=3",
                      "-c:v",   "libx264", "-preset",     "veryfast",
                      "-crf",   "16",      "-pix_fmt",    "yuv420p",
                      "-c:a",   "aac",     In("clip.mp4")});
}

// The settings of vanta-run's recorder.
Words PlainCommand(const Clip &clip) {
  const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1u, 16u);
  return {"ffmpeg",
          "-v",
          "error",
          "-nostdin",
          "-y",
          "-i",
          clip.In("clip.mp4"),
          "-c:v",
          "libx264",
          "-preset",
          "veryfast",
          "-crf",
          "20",
          "-profile:v",
          "high",
          "-bf",
          "0",
          "-g",
          "60",
          "-threads",
          std::to_string(threads),
          "-c:a",
          "aac",
          "-b:a",
          "160k",
          clip.In("plain.mp4")};
}

Words RunCommand(const Clip &clip, const Words &more) {
  Words words = {VANTA_BENCH_RUN, "--quiet", "--input", clip.In("clip.mp4"), "--output", clip.In("run.mp4")};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

vanta_bench::Row Measure(const Clip &clip, const std::string &name, const Words &more) {
  vanta_bench::Turns turns;
  for (int i = 0; i < kTurns; ++i) {
    const double ours = RunForMilliseconds(RunCommand(clip, more));
    turns.Add(ours, RunForMilliseconds(PlainCommand(clip)));
  }
  const vanta_bench::Row row = turns.Result(name, vanta_bench::kNoBar);
  vanta_bench::PrintRow(row);
  return row;
}

}  // namespace

int main(int argc, char **argv) {
  const Clip clip;
  std::vector<vanta_bench::Row> rows;
  rows.push_back(Measure(clip, "clip recorded without filters / ffmpeg", {"--no-beauty"}));
  rows.push_back(Measure(clip, "clip with smooth and whiten / ffmpeg", {"--beauty", "smooth=0.5,whiten=0.4"}));
  rows.push_back(Measure(clip, "clip with all three filters / ffmpeg",
                         {"--beauty", "smooth=0.5,whiten=0.4", "--green-screen", "{}", "--draw-landmarks"}));
  return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
}
