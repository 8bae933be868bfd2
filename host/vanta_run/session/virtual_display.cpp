#include "session/virtual_display.h"

#include <X11/Xlib.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "common/failure.h"
#include "session/display_loss.h"

namespace vanta_run {
namespace {

constexpr int kServerStartMs = 20000;
constexpr int kNotInstalled = 127;  // exit status, as a shell has it

[[noreturn]] void NoDisplay(const std::string &reason) {
  throw Failure(kExitDisplay, "display", reason, "install the package xvfb, or set DISPLAY to an X server");
}

// In the child: becomes the server, which writes the number that it found free into `report`.
[[noreturn]] void BecomeServer(int report) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  setpgid(0, 0);  // a Ctrl-C on the terminal is the program's, not the server's
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
  std::signal(SIGXFSZ, SIG_DFL);
  const int nothing = open("/dev/null", O_RDWR);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
  const int kept = dup(report);  // without the close-on-exec mark
  const std::string number = std::to_string(kept);
  execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset",
         static_cast<char *>(nullptr));
  _exit(kNotInstalled);
}

// Reads up to the end of the line, the pipe's end or the time limit.
std::string ReadLine(int from, int timeout_ms) {
  std::string line;
  pollfd waiting{from, POLLIN, 0};
  char letter = 0;
  while (poll(&waiting, 1, timeout_ms) > 0 && read(from, &letter, 1) == 1 && letter != '\n') line += letter;
  return line;
}

}  // namespace

VirtualDisplay::VirtualDisplay() {
  XInitThreads();
  OutliveDisplays();
  const char *given = std::getenv("DISPLAY");
  if (given != nullptr && *given != '\0') connection_ = XOpenDisplay(nullptr);
  if (connection_ != nullptr) {
    name_ = given;
    return;
  }
  StartServer();
  setenv("DISPLAY", name_.c_str(), 1);
  // A virtual display has no graphics hardware: say so at once and Mesa does not go looking for it.
  setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
  connection_ = XOpenDisplay(nullptr);
  if (connection_ == nullptr) {
    StopServer();
    NoDisplay("the virtual display " + name_ + " takes no connections");
  }
}

VirtualDisplay::~VirtualDisplay() {
  if (connection_ != nullptr) XCloseDisplay(connection_);
  StopServer();
}

void VirtualDisplay::StartServer() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) NoDisplay("none is set, and no pipe to start one with");
  server_ = fork();
  if (server_ == 0) BecomeServer(ends[1]);
  close(ends[1]);
  const std::string number = server_ > 0 ? ReadLine(ends[0], kServerStartMs) : "";
  close(ends[0]);
  if (!number.empty()) {
    name_ = ":" + number;
    return;
  }
  const bool missing = ExitedAsMissing();
  StopServer();
  NoDisplay(missing ? "none is set, and Xvfb is not installed" : "none is set, and Xvfb does not start");
}

// The child that finds no such program ends a moment after its pipe has closed.
bool VirtualDisplay::ExitedAsMissing() {
  for (int i = 0; server_ > 0 && i < 100; ++i) {
    int status = 0;
    if (waitpid(server_, &status, WNOHANG) == server_) {
      server_ = -1;
      return WIFEXITED(status) && WEXITSTATUS(status) == kNotInstalled;
    }
    usleep(10000);
  }
  return false;
}

void VirtualDisplay::StopServer() {
  if (server_ <= 0) return;
  kill(server_, SIGTERM);
  waitpid(server_, nullptr, 0);
  server_ = -1;
}

}  // namespace vanta_run
