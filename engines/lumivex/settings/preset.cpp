#include "settings/preset.h"

#include <vanta_base/json_text.h>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "files/json_members.h"
#include "platform/regular_file.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

constexpr int kPresetFormat = 1;
constexpr int kDeepestGroup = 4;  // groups within groups
constexpr int kMostFiles = 256;   // of one group and all that it names
constexpr uintmax_t kMostBytes = uintmax_t{1} << 20;

bool IsBareName(const std::string &text) {
  return text.find_first_of("/\\") == std::string::npos && vanta::PathFromUtf8(text).extension() != ".json";
}

fs::path PresetPath(const fs::path &root, const std::string &name) {
  return root / "presets" / vanta::PathFromUtf8(name + ".json");
}

fs::path Locate(const fs::path &root, const std::string &text, bool is_group) {
  fs::path path = vanta::PathFromUtf8(text);
  if (IsBareName(text)) path = is_group ? root / "groups" / path : PresetPath(root, text);
  std::error_code error;
  return fs::is_directory(path, error) ? path / "group.json" : path;
}

// Owns: the values gathered so far. Threads: one.
class PresetReader {
 public:
  explicit PresetReader(fs::path root) : root_(std::move(root)) {}

  // Adds what the file sets to what earlier ones have set.
  bool Read(const fs::path &file, int depth) {
    file_ = vanta::Utf8FromPath(file);
    if (++files_ > kMostFiles) return Fail("it leads to more than 256 files");
    const auto [fault, bytes] = ReadRegularFile(file, kMostBytes);
    if (fault == FileFault::kTooLong) return Fail("it is longer than 1 MiB");
    if (fault != FileFault::kNone) return Fail("it cannot be read");
    const Json json = vanta::ReadJson(std::string(bytes.begin(), bytes.end()));
    if (!json.is_object()) return Fail("it is no JSON object");
    JsonMembers members(json, "the preset");
    members.Format(kPresetFormat);
    const Json *presets = members.List("presets", kMostBytes);
    const Json *beauty = members.Object("beauty");
    if (!presets && !beauty) members.Fail("beauty", "is missing, and \"presets\" too");
    if (!members.Good()) return Fail(members.Reason());
    return presets ? ReadMembers(file, *presets, depth) : TakeValues(*beauty);
  }

  BeautyValues values = {};

  PresetFile Result(bool good) const {
    return good ? PresetFile{values, file_, {}} : PresetFile{std::nullopt, file_, reason_};
  }

 private:
  bool Fail(std::string reason) {
    reason_ = std::move(reason);
    return false;
  }

  bool ReadMembers(const fs::path &file, const Json &presets, int depth) {
    if (depth == kDeepestGroup) return Fail("groups stand too deep in one another");
    for (const Json &member : presets) {
      if (!member.is_string()) return Fail("its \"presets\" holds more than names");
      const auto name = member.get<std::string>();
      const fs::path path = IsBareName(name) ? PresetPath(root_, name) : file.parent_path() / vanta::PathFromUtf8(name);
      if (!Read(path, depth + 1)) return false;
      file_ = vanta::Utf8FromPath(file);
    }
    return true;
  }

  bool TakeValues(const Json &beauty) {
    for (const auto &[name, value] : beauty.items()) {
      const BeautyTypeInfo *info = FindBeautyType(name);
      if (!info) return Fail("\"" + name + "\" is no beauty type");
      if (!value.is_number()) return Fail("\"" + name + "\" is no number");
      SetBeauty(values, info->type, value.get<float>());
    }
    return true;
  }

  const fs::path root_;
  int files_ = 0;  // read so far
  std::string file_;
  std::string reason_;
};

}  // namespace

PresetFile ReadPreset(const std::string &root, const std::string &text, bool is_group) {
  PresetReader reader{vanta::PathFromUtf8(root)};
  const bool good = reader.Read(Locate(vanta::PathFromUtf8(root), text, is_group), 0);
  return reader.Result(good);
}

}  // namespace lumivex
