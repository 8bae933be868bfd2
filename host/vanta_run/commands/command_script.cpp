#include "commands/command_script.h"

#include <vanta_base/json_text.h>
#include <algorithm>
#include <sstream>

#include "common/failure.h"
#include "common/text_file.h"

namespace vanta_run {
namespace {

constexpr size_t kLongestScript = size_t{16} << 20;  // bytes
constexpr size_t kMaxComplaints = 20;
constexpr char kRemedy[] = "give a file of commands as vanta-run --help-commands tells";

std::string Seconds(double value) {
  return vanta::WriteJson(Json(value));
}

}  // namespace

std::string ComplainOfLine(const std::string &place, size_t number, const std::string &reason) {
  return place + ":" + std::to_string(number) + ": " + reason + "; see vanta-run --help-commands";
}

std::vector<ScriptLine> ReadScript(const std::string &path) {
  std::istringstream file(ReadTextFile(path, kLongestScript, kRemedy));
  std::vector<ScriptLine> script;
  std::vector<std::string> complaints;
  double last = 0;
  std::string text;
  for (size_t number = 1; std::getline(file, text); ++number) {
    const auto complain = [&](const std::string &reason) {
      complaints.push_back(ComplainOfLine(path, number, reason));
    };
    std::optional<double> at;
    try {
      std::optional<Command> command = ReadCommand(text, at);
      if (command) script.push_back({number, at.value_or(last), std::move(*command)});
    } catch (const BadCommand &reason) {
      complain(reason.what());
    }
    if (at && *at < last) complain("its time " + Seconds(*at) + " goes back, behind " + Seconds(last));
    last = std::max(last, at.value_or(last));
  }
  if (complaints.size() > kMaxComplaints) {
    const size_t more = complaints.size() - kMaxComplaints;
    complaints.resize(kMaxComplaints);
    complaints.push_back(path + ": " + std::to_string(more) + " more bad lines; correct these first");
  }
  if (!complaints.empty()) throw Failure(kExitUsage, complaints);
  return script;
}

}  // namespace vanta_run
