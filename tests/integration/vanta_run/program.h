// Starts vanta-run as a user does and looks at what it leaves behind.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>

namespace vanta_test {

struct ProgramResult {
  int exit_code = -1;  // 128 + signal where a signal ended it
  std::string out, err;
};

struct ProgramSetting {
  std::map<std::string, std::optional<std::string>> environment;  // empty value: unset
  std::optional<unsigned long> largest_file;                      // bytes, for the program and what it starts
  bool typed = false;                                             // standard input is what Type() writes
  std::optional<std::string> output = std::nullopt;               // where standard output goes instead
};

// A folder of its own for one test, in which the program runs.
class Workplace {
 public:
  Workplace();
  ~Workplace();
  Workplace(const Workplace &) = delete;
  Workplace &operator=(const Workplace &) = delete;

  std::filesystem::path operator/(const std::string &name) const { return folder_ / name; }
  const std::filesystem::path &folder() const { return folder_; }
  // Names of all files in it, hidden ones too.
  std::vector<std::string> Files() const;

 private:
  std::filesystem::path folder_;
};

// A program under way. What it says can be waited for.
class RunningProgram {
 public:
  RunningProgram(const Workplace &workplace, const std::vector<std::string> &arguments,
                 const ProgramSetting &setting = {});
  ~RunningProgram();
  RunningProgram(const RunningProgram &) = delete;
  RunningProgram &operator=(const RunningProgram &) = delete;

  // Until this has come on standard error so often; false when the program ended before.
  bool WaitForLine(const std::string &part, size_t times = 1);
  // The same for standard output.
  bool WaitForOutput(const std::string &part, size_t times = 1);
  // Until a line of its progress tells of so many frames that have not come out of the filter.
  bool WaitForRepeats(unsigned long frames);
  // Onto its standard input.
  void Type(const std::string &text) const;
  void EndTyping();
  // To it alone.
  void Signal(int number) const;
  // Both, before it can do anything about the first.
  void SignalTwice(int first, int second) const;
  pid_t process() const { return process_; }
  // What it has written so far, to standard error and to standard output.
  const std::string &errors() const { return result_.err; }
  const std::string &output() const { return result_.out; }
  ProgramResult Finish();

 private:
  bool ReadMore();
  bool WaitFor(const std::string &text, const std::string &part, size_t times);

  pid_t process_ = -1;
  int in_ = -1, out_ = -1, err_ = -1;
  ProgramResult result_;
};

ProgramResult RunProgram(const Workplace &workplace, const std::vector<std::string> &arguments,
                         const ProgramSetting &setting = {});
// Until no thread of it runs any more. Its child has to be waited for all the same, once it goes on.
void StopProcess(pid_t process);
// The process of that name that `parent` has started; 0 when there is none.
pid_t ChildNamed(const std::string &name, pid_t parent);
// Another program of the machine, by its name; its standard output.
std::string RunTool(const std::vector<std::string> &command);

nlohmann::json ReadReport(const std::filesystem::path &path);
// Mean of the middle of a picture, in BGR.
cv::Scalar MiddleColor(const cv::Mat &picture);
// One frame of a recording: the first after `seconds`; the last one where `seconds` is negative.
cv::Mat VideoFrame(const Workplace &workplace, const std::string &name, double seconds);

}  // namespace vanta_test
