#include "plot/gnuplot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "common/failure.h"

extern char **environ;

namespace vanta_run {
namespace {

constexpr char kRemedy[] = "see whether gnuplot works by itself, and whether there is space left";

// Writes all of `text`, or up to an error: what reads it may have ended.
void WriteAll(int file, const std::string &text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = write(file, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    done += static_cast<size_t>(count);
  }
}

}  // namespace

void RequireGnuplot() {
  const char *path = std::getenv("PATH");
  std::istringstream folders(path != nullptr ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    const std::string program = (folder.empty() ? "." : folder) + "/gnuplot";
    std::error_code ignored;
    if (access(program.c_str(), X_OK) == 0 && std::filesystem::is_regular_file(program, ignored)) return;
  }
  throw Failure(kExitModule, "--plot", "gnuplot is not installed", "install the package gnuplot-nox");
}

void DrawPlot(const std::string &script, PendingFile &file) {
  const auto fail = [&file](const std::string &reason) {
    throw Failure(kExitOutput, file.final_path(), reason, kRemedy);
  };
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail(std::strerror(errno));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, file.path().c_str(), O_WRONLY | O_TRUNC, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  char name[] = "gnuplot";
  char *arguments[] = {name, nullptr};
  pid_t process = -1;
  const int error = posix_spawnp(&process, name, &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[0]);
  if (error == 0) WriteAll(ends[1], script);
  close(ends[1]);
  if (error != 0) fail(std::strerror(error));
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  std::error_code ignored;
  if (status != 0 || std::filesystem::file_size(file.path(), ignored) == 0) {
    const std::string reason = file.GuessedReason();
    fail(reason.empty() ? "gnuplot could not draw it" : reason);
  }
}

}  // namespace vanta_run
