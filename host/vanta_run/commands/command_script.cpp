#include "commands/command_script.h"

#include <vanta_base/json_text.h>
#include <algorithm>
#include <sstream>

#include "common/failure.h"
#include "common/text_file.h"

namespace vanta_run {
namespace {

constexpr size_t kMaxComplaints = 20;
constexpr size_t kMaxCounted = 10000;  // of those beyond; each bad line costs the parser more time than a good one
constexpr size_t kLongestScript = size_t{64} << 20;  // bytes
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
  size_t more = 0;
  double last = 0;
  std::string text;
  for (size_t number = 1; more <= kMaxCounted && std::getline(file, text); ++number) {
    const auto complain = [&](const std::string &reason) {
      if (complaints.size() < kMaxComplaints) {
        complaints.push_back(ComplainOfLine(path, number, reason));
      } else {
        ++more;
      }
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
  if (more > 0) {
    const std::string count = more > kMaxCounted ? "over " + std::to_string(kMaxCounted) : std::to_string(more);
    complaints.push_back(path + ": " + count + " more bad lines; correct these first");
  }
  if (!complaints.empty()) throw Failure(kExitUsage, complaints);
  return script;
}

}  // namespace vanta_run
