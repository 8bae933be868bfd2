// Finds an X display, or starts a virtual one for the length of a run.
#pragma once

#include <sys/types.h>

#include <string>

struct _XDisplay;

namespace vanta_run {

// Owns: the connection, and the server where it started one. The connection must outlive libobs's graphics.
// Threads: [control].
class VirtualDisplay {
 public:
  // Throws Failure(kExitDisplay).
  VirtualDisplay();
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay &) = delete;
  VirtualDisplay &operator=(const VirtualDisplay &) = delete;

  _XDisplay *connection() const { return connection_; }
  const std::string &name() const { return name_; }
  bool started_one() const { return server_ > 0; }

 private:
  void StartServer();
  void StopServer();
  bool ExitedAsMissing();

  _XDisplay *connection_ = nullptr;
  std::string name_;   // ":0"
  pid_t server_ = -1;  // -1: none of ours
};

}  // namespace vanta_run
