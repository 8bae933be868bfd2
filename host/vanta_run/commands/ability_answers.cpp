#include "commands/ability_answers.h"

#include <sstream>

#include <vanta_base/json_text.h>
#include <nlohmann/json.hpp>

#include "common/failure.h"
#include "common/text_file.h"

namespace vanta_run {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kLongestFile = size_t{16} << 20;  // bytes
constexpr char kRemedy[] = R"(write {"method": "getPkId", "answer": {"pkId": "7"}} for instance)";

AbilityAnswer ReadLine(const std::string &subject, const std::string &line) {
  const Json json = vanta::ReadJson(line);
  if (!json.is_object()) throw Failure(kExitUsage, subject, "is no JSON object", kRemedy);
  for (const auto &[key, value] : json.items()) {
    if (key != "method" && key != "answer") throw Failure(kExitUsage, subject, "has no use for '" + key + "'", kRemedy);
  }
  if (!json.contains("method") || !json["method"].is_string()) {
    throw Failure(kExitUsage, subject, "names no method", kRemedy);
  }
  if (!json.contains("answer")) throw Failure(kExitUsage, subject, "holds no answer", kRemedy);
  return {json["method"].get<std::string>(), vanta::WriteJson(json["answer"])};
}

}  // namespace

std::vector<AbilityAnswer> ReadAbilityAnswers(const std::string &path) {
  std::istringstream file(ReadTextFile(path, kLongestFile, "give a file with a JSON object a line"));
  std::vector<AbilityAnswer> answers;
  std::string line;
  for (size_t number = 1; std::getline(file, line); ++number) {
    const size_t start = line.find_first_not_of(" \t\r");
    if (start == std::string::npos || line[start] == '#') continue;
    answers.push_back(ReadLine(path + ":" + std::to_string(number), line));
  }
  return answers;
}

std::optional<std::string> FindAnswer(const std::vector<AbilityAnswer> &answers, const AbilityCall &call) {
  if (call.operation != "PostGameData") return std::nullopt;
  for (const AbilityAnswer &answer : answers) {
    if (answer.method != call.method) continue;
    Json json = vanta::ReadJsonOrThrow(answer.text);
    const Json request = vanta::ReadJson(call.raw);
    if (json.is_object() && request.is_object() && request.contains("seqId") && !json.contains("seqId")) {
      json["seqId"] = request["seqId"];
    }
    return vanta::WriteJson(json);
  }
  return std::nullopt;
}

}  // namespace vanta_run
