#include "cli/batch.h"

#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "cli/output_names.h"
#include "common/failure.h"

namespace vanta_run {
namespace {

void Say(const std::string &line) {
  std::fprintf(stderr, "vanta-run: %s\n", line.c_str());
}

// A file has its name only once it is whole.
bool IsDone(const Options &run) {
  const std::vector<NamedFile> files = Results(run);
  return !files.empty() && std::all_of(files.begin(), files.end(), [](const NamedFile &file) {
    std::error_code error;
    return std::filesystem::is_regular_file(file.path, error) && std::filesystem::file_size(file.path, error) > 0 &&
           !error;
  });
}

// The command line of one run.
std::vector<std::string> ArgumentsFor(const std::vector<GivenOption> &given, const std::string &input, size_t number) {
  std::vector<std::string> arguments = {"vanta-run", "--input=" + input};  // which may begin with a dash
  for (const GivenOption &one : given) {
    if (one.row->name == "input" || one.row->name == "resume") continue;
    for (const std::string &value : one.values) {
      std::string argument = "--" + one.row->name;
      if (!one.row->value.empty()) argument += "=" + (one.row->writes ? NamedFor(value, input, number) : value);
      arguments.push_back(argument);
    }
  }
  return arguments;
}

// In the child: becomes the run. Signals are its parent's to pass on: a terminal's Ctrl-C would reach it twice.
[[noreturn]] void Become(char *const *arguments) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execv("/proc/self/exe", arguments);
  _exit(kExitInternal);
}

// The exit code; a run that a signal ended counts as unforeseen.
int RunOne(const std::string &input, const std::vector<std::string> &words, Interrupt &interrupt) {
  std::vector<char *> arguments;
  for (const std::string &word : words) arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) Become(arguments.data());
  if (process < 0) throw Failure(kExitInternal, "vanta-run", "no process for this input", "end other programs first");
  interrupt.PassTo(process);
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  interrupt.PassTo(0);
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  Say(input + ": its run was ended by signal " + std::to_string(WTERMSIG(status)));
  return kExitInternal;
}

// What the next input would meet as well.
bool ConcernsAll(int code) {
  return code == kExitUsage || code == kExitDisplay || code == kExitModule;
}

}  // namespace

int RunBatch(const CommandLine &line, const std::vector<GivenOption> &given, Interrupt &interrupt) {
  const size_t all = line.runs.size();
  size_t done = 0, passed = 0;
  int code = kExitOk;
  std::vector<std::string> failed;
  for (size_t i = 0; i < all && interrupt.count() == 0; ++i) {
    const Options &run = line.runs[i];
    const std::string head = "[" + std::to_string(i + 1) + "/" + std::to_string(all) + "] " + run.input;
    if (line.resume && IsDone(run)) {
      if (!run.quiet) Say(head + ": is there already");
      ++passed;
      continue;
    }
    if (!run.quiet) Say(head);
    const int result = RunOne(run.input, ArgumentsFor(given, run.input, i + 1), interrupt);
    if (result == kExitOk) {
      ++done;
      continue;
    }
    failed.push_back(run.input + ": exit status " + std::to_string(result));
    if (code == kExitOk) code = result;
    if (ConcernsAll(result)) break;
  }
  if (interrupt.count() > 0) code = kExitInterrupted;
  if (!line.options.quiet) {
    Say(std::to_string(all) + " inputs: " + std::to_string(done) + " done, " + std::to_string(passed) +
        " there already, " + std::to_string(failed.size()) + " failed, " +
        std::to_string(all - done - passed - failed.size()) + " not begun");
  }
  for (const std::string &text : failed) Say("failed: " + text);
  return code;
}

}  // namespace vanta_run
