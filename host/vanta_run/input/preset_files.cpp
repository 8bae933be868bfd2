#include "input/preset_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "common/failure.h"

namespace fs = std::filesystem;

namespace vanta_run {
namespace {

constexpr size_t kMostFiles = 256;                    // that the engine reads of one group
constexpr uintmax_t kMostBytes = uintmax_t{1} << 20;  // that the engine reads of one file
constexpr char kPresets[] = "faceless_builtin/presets";

bool IsName(const std::string &text) {
  return text.find('/') == std::string::npos && fs::path(text).extension() != ".json";
}

nlohmann::json ReadJson(const fs::path &path) {
  std::error_code ignored;
  // A pipe would be waited for, and a file without an end read.
  if (!fs::is_regular_file(path, ignored) || fs::file_size(path, ignored) > kMostBytes) return {};
  std::ifstream file(path);
  return nlohmann::json::parse(file, nullptr, false);
}

// Empty: it is a preset or a group.
std::string FaultOf(const fs::path &path) {
  std::error_code ignored;
  if (!fs::exists(path, ignored)) return std::strerror(ENOENT);
  if (!fs::is_regular_file(path, ignored)) return "is no regular file";
  if (fs::file_size(path, ignored) > kMostBytes) return "is longer than 1 MiB";
  const nlohmann::json json = ReadJson(path);
  const bool known = json.is_object() && (json.contains("beauty") || json.contains("presets"));
  return known ? "" : "is no preset: it has neither \"beauty\" nor \"presets\"";
}

std::string Names(const fs::path &presets) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const fs::directory_entry &entry : fs::directory_iterator(presets, ignored)) {
    names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  std::string text;
  for (const std::string &name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

std::vector<std::string> PresetFiles(const std::string &group, const std::string &data) {
  const auto named = [&data](const std::string &name) { return fs::path(data) / kPresets / (name + ".json"); };
  std::error_code ignored;
  std::vector<fs::path> left;
  if (fs::exists(group, ignored) || !IsName(group)) {
    left.push_back(group);
  } else if (!data.empty()) {
    left.push_back(named(group));
  }
  std::vector<std::string> files;
  while (!left.empty() && files.size() < kMostFiles) {
    fs::path path = left.back();
    left.pop_back();
    if (fs::is_directory(path, ignored)) path /= "group.json";
    path = path.lexically_normal();  // groups that name each other come round to the same text
    if (std::find(files.begin(), files.end(), path.string()) != files.end()) continue;
    files.push_back(path.string());
    const nlohmann::json json = ReadJson(path);
    const auto members = json.find("presets");
    if (members == json.end() || !members->is_array()) continue;
    for (const auto &member : *members) {
      if (left.size() == kMostFiles) break;  // more than the engine takes
      if (!member.is_string()) continue;
      const auto name = member.get<std::string>();
      if (!IsName(name)) {
        left.push_back(path.parent_path() / name);
      } else if (!data.empty()) {
        left.push_back(named(name));
      }
    }
  }
  return files;
}

void RequirePreset(const std::string &group, const std::string &data) {
  const fs::path presets = fs::path(data) / kPresets;
  std::error_code ignored;
  const bool has_names = fs::is_directory(presets, ignored);  // another engine may keep them elsewhere
  for (const std::string &file : PresetFiles(group, has_names ? data : "")) {
    const std::string fault = FaultOf(file);
    if (fault.empty()) continue;
    throw Failure(kExitInput, file, fault,
                  "give a preset's file" + (has_names ? ", or one of the names " + Names(presets) : std::string()));
  }
}

}  // namespace vanta_run
