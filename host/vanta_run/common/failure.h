// What ends a run early: one line for the user and the exit code that tells scripts the kind of failure.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace vanta_run {

enum ExitCode : int {
  kExitOk = 0,
  kExitInternal = 1,      // something that none of the others names
  kExitUsage = 2,         // unknown option, bad value, bad command line
  kExitInput = 3,         // unreadable, no video in it, or no picture came out of it
  kExitDisplay = 4,       // no display and no way to get one, or no OpenGL on it
  kExitModule = 5,        // the filter, a stock plug-in of libobs, gnuplot or a virtual camera is missing
  kExitOutput = 6,        // a file could not be written whole
  kExitBusy = 7,          // the monitor's ports are taken
  kExitRefused = 8,       // the engine refused a file that was asked for; what was written is whole, without it
  kExitInterrupted = 130  // Ctrl-C or SIGTERM; what was written until then is whole
};

class Failure : public std::runtime_error {
 public:
  // The line reads "SUBJECT: REASON; REMEDY".
  Failure(ExitCode code, const std::string &subject, const std::string &reason, const std::string &remedy)
      : std::runtime_error(Printable(subject + ": " + reason + "; " + remedy)), code_(code) {}
  // Several such lines at once.
  Failure(ExitCode code, const std::vector<std::string> &lines) : std::runtime_error(Joined(lines)), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  static std::string Joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += (text.empty() ? "" : "\nvanta-run: ") + Printable(line);
    return text;
  }
  // Names in a line may come from a file; a terminal would obey a control character.
  static std::string Printable(std::string line) {
    for (char &letter : line) {
      if (static_cast<unsigned char>(letter) < ' ' || letter == '\x7f') letter = '?';
    }
    return line;
  }

  ExitCode code_;
};

}  // namespace vanta_run
