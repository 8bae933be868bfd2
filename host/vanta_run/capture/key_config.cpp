#include "capture/key_config.h"

#include <vanta_base/json_text.h>
#include <nlohmann/json.hpp>

#include "common/failure.h"
#include "common/text_file.h"

namespace vanta_run {
namespace {

constexpr size_t kLongestConfig = size_t{1} << 20;  // bytes
constexpr char kOption[] = "--green-screen";
constexpr char kFileRemedy[] = "give a file with a JSON object, or the object itself";
constexpr char kTextRemedy[] = "write a JSON object, {\"keyColor\":[0.2,0.68,0.28]} for instance";

std::string FileText(const std::string &path) {
  if (path.empty()) throw Failure(kExitUsage, kOption, "bad value ''", kFileRemedy);
  return ReadTextFile(path, kLongestConfig, kFileRemedy);
}

// Where the parser stopped; what it read there may be no text.
std::string Reason(const nlohmann::json::parse_error &error) {
  const std::string text = error.what();
  const size_t start = text.find("] ");
  const size_t end = text.find(':');
  const bool known = start != std::string::npos && end != std::string::npos && start < end;
  return known ? "no JSON, " + text.substr(start + 2, end - start - 2) : "no JSON";
}

void RequireObject(const std::string &subject, const std::string &text) {
  try {
    if (!vanta::ReadJsonOrThrow(text).is_object()) {
      throw Failure(kExitUsage, subject, "holds JSON, but no object", kTextRemedy);
    }
  } catch (const nlohmann::json::parse_error &error) {
    throw Failure(kExitUsage, subject, Reason(error), kTextRemedy);
  } catch (const nlohmann::json::out_of_range &) {
    throw Failure(kExitUsage, subject, "holds a number that is too large", kTextRemedy);
  }
}

}  // namespace

bool IsKeyConfigText(const std::string &value) {
  return !value.empty() && value.front() == '{';
}

std::string ReadKeyConfig(const std::string &value) {
  const bool inline_text = IsKeyConfigText(value);
  std::string text = inline_text ? value : FileText(value);
  RequireObject(inline_text ? kOption : value, text);
  return text;
}

}  // namespace vanta_run
