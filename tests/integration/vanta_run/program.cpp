#include "program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <opencv2/imgcodecs.hpp>

namespace fs = std::filesystem;

namespace vanta_test {
namespace {

[[noreturn]] void Become(const fs::path &folder, const std::vector<std::string> &command, const ProgramSetting &setting,
                         int in, int out, int err) {
  setpgid(0, 0);
  dup2(setting.typed ? in : open("/dev/null", O_RDONLY), STDIN_FILENO);
  dup2(setting.output ? open(setting.output->c_str(), O_WRONLY) : out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  if (chdir(folder.c_str()) != 0) _exit(126);
  for (const auto &[name, value] : setting.environment) {
    if (value) {
      setenv(name.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name.c_str());
    }
  }
  if (setting.largest_file) {
    const rlimit limit{*setting.largest_file, *setting.largest_file};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  std::vector<char *> arguments;
  for (const std::string &argument : command) arguments.push_back(const_cast<char *>(argument.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

int ExitCode(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

Workplace::Workplace() {
  std::string name = (fs::temp_directory_path() / "vanta_run_test_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = name;
}

Workplace::~Workplace() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::vector<std::string> Workplace::Files() const {
  std::vector<std::string> names;
  for (const fs::directory_entry &entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

RunningProgram::RunningProgram(const Workplace &workplace, const std::vector<std::string> &arguments,
                               const ProgramSetting &setting) {
  std::vector<std::string> command = {VANTA_TEST_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
    throw std::runtime_error("no pipes");
  process_ = fork();
  if (process_ == 0) Become(workplace.folder(), command, setting, in[0], out[1], err[1]);
  close(in[0]);
  close(out[1]);
  close(err[1]);
  in_ = in[1];
  out_ = out[0];
  err_ = err[0];
}

RunningProgram::~RunningProgram() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  EndTyping();
  if (out_ >= 0) close(out_);
  if (err_ >= 0) close(err_);
}

bool RunningProgram::ReadMore() {
  pollfd ends[2] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  if (out_ < 0 && err_ < 0) return false;
  poll(ends, 2, -1);
  const auto take = [](pollfd &end, int &file, std::string &text) {
    if (end.revents == 0) return;
    char piece[4096];
    const ssize_t count = read(file, piece, sizeof(piece));
    if (count > 0) {
      text.append(piece, static_cast<size_t>(count));
    } else {
      close(file);
      file = -1;
    }
  };
  take(ends[0], out_, result_.out);
  take(ends[1], err_, result_.err);
  return true;
}

bool RunningProgram::WaitFor(const std::string &text, const std::string &part, size_t times) {
  size_t found = 0, from = 0;
  for (;;) {
    for (size_t at = 0; found < times && (at = text.find(part, from)) != std::string::npos; ++found)
      from = at + part.size();
    if (found == times) return true;
    if (!ReadMore()) return false;
  }
}

bool RunningProgram::WaitForLine(const std::string &part, size_t times) {
  return WaitFor(result_.err, part, times);
}

bool RunningProgram::WaitForOutput(const std::string &part, size_t times) {
  return WaitFor(result_.out, part, times);
}

bool RunningProgram::WaitForRepeats(unsigned long frames) {
  for (;;) {
    const std::string lines = result_.err.substr(0, result_.err.rfind('\n') + 1);
    const size_t at = lines.rfind("frames in ");
    unsigned long in = 0, out = 0;
    if (at != std::string::npos && std::sscanf(lines.c_str() + at, "frames in %lu, out %lu", &in, &out) == 2 &&
        in >= out + frames)
      return true;
    if (!ReadMore()) return false;
  }
}

void RunningProgram::Type(const std::string &text) const {
  EXPECT_EQ(write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void RunningProgram::EndTyping() {
  if (in_ >= 0) close(in_);
  in_ = -1;
}

void RunningProgram::Signal(int number) const {
  kill(process_, number);
}

void RunningProgram::SignalTwice(int first, int second) const {
  StopProcess(process_);
  kill(process_, first);
  kill(process_, second);
  kill(process_, SIGCONT);
}

ProgramResult RunningProgram::Finish() {
  while (ReadMore()) {
  }
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  result_.exit_code = ExitCode(status);
  return result_;
}

ProgramResult RunProgram(const Workplace &workplace, const std::vector<std::string> &arguments,
                         const ProgramSetting &setting) {
  return RunningProgram(workplace, arguments, setting).Finish();
}

void StopProcess(pid_t process) {
  kill(process, SIGSTOP);
  for (;;) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string id, command, state;
    if (!(file >> id >> command >> state) || state == "T" || state == "Z") return;
    std::this_thread::yield();
  }
}

pid_t ChildNamed(const std::string &name, pid_t parent) {
  for (const fs::directory_entry &entry : fs::directory_iterator("/proc")) {
    std::ifstream file(entry.path() / "stat");
    std::string id, command, state;
    pid_t its_parent = 0;
    if (file >> id >> command >> state >> its_parent && its_parent == parent && command == "(" + name + ")") {
      return std::atoi(id.c_str());
    }
  }
  return 0;
}

std::string RunTool(const std::vector<std::string> &command) {
  int out[2];
  if (pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t process = fork();
  if (process == 0) Become("/", command, {}, -1, out[1], STDERR_FILENO);
  close(out[1]);
  std::string text;
  char piece[4096];
  for (ssize_t count = 0; (count = read(out[0], piece, sizeof(piece))) > 0;)
    text.append(piece, static_cast<size_t>(count));
  close(out[0]);
  int status = 0;
  waitpid(process, &status, 0);
  EXPECT_EQ(ExitCode(status), 0) << command[0];
  return text;
}

nlohmann::json ReadReport(const fs::path &path) {
  std::ifstream file(path);
  return nlohmann::json::parse(file);
}

cv::Scalar MiddleColor(const cv::Mat &picture) {
  return cv::mean(picture(cv::Rect(picture.cols / 4, picture.rows / 4, picture.cols / 2, picture.rows / 2)));
}

cv::Mat VideoFrame(const Workplace &workplace, const std::string &name, double seconds) {
  const std::string video = (workplace / name).string(), picture = (workplace / "frame_of_video.png").string();
  std::vector<std::string> command = {"ffmpeg", "-v", "error", "-nostdin", "-y"};
  if (seconds < 0) {
    // Every frame from the last second on is written over the one before.
    command.insert(command.end(), {"-sseof", "-1", "-i", video, "-update", "1", picture});
  } else {
    command.insert(command.end(), {"-ss", std::to_string(seconds), "-i", video, "-frames:v", "1", picture});
  }
  RunTool(command);
  cv::Mat frame = cv::imread(picture);
  fs::remove(picture);
  return frame;
}

}  // namespace vanta_test
