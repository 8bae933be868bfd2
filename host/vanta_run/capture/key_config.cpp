#include "capture/key_config.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <vanta_base/json_text.h>
#include <nlohmann/json.hpp>

#include "common/failure.h"

namespace vanta_run {
namespace {

constexpr size_t kLongestConfig = size_t{1} << 20;  // bytes
constexpr char kOption[] = "--green-screen";
constexpr char kFileRemedy[] = "give a file with a JSON object, or the object itself";
constexpr char kTextRemedy[] = "write a JSON object, {\"keyColor\":[0.2,0.68,0.28]} for instance";

std::string FileText(const std::string &path) {
  std::error_code ignored;
  if (path.empty()) throw Failure(kExitUsage, kOption, "bad value ''", kFileRemedy);
  if (std::filesystem::is_directory(path, ignored)) throw Failure(kExitInput, path, "is a folder", kFileRemedy);
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Failure(kExitInput, path, std::strerror(errno), kFileRemedy);
  std::string text(kLongestConfig + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<size_t>(file.gcount()));
  if (text.size() > kLongestConfig) throw Failure(kExitInput, path, "is longer than 1 MiB", kFileRemedy);
  if (file.bad()) throw Failure(kExitInput, path, std::strerror(errno), kFileRemedy);
  return text;
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
