#include "module/resource_folders.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "vanta_base/utf8_path.h"
#include "vanta_base/utf8_text.h"

namespace vanta_host {
namespace {

namespace fs = std::filesystem;
using vanta::PathFromUtf8;
using vanta::Utf8FromPath;

constexpr size_t kLongestName = 80;  // bytes

const char *FolderName(ResourceKind kind) {
  switch (kind) {
    case ResourceKind::kPreset:
      return "presets";
    case ResourceKind::kLookup:
      return "lookups";
    case ResourceKind::kMakeup:
      return "makeup";
    case ResourceKind::kEffect:
      return "effects";
  }
  return "";
}

// The name under which the entry is listed; empty: it is none of that kind.
std::string NameOf(ResourceKind kind, const fs::directory_entry &entry) {
  std::error_code ignored;
  const fs::path &path = entry.path();
  const std::string ending = Utf8FromPath(path.extension());
  switch (kind) {
    case ResourceKind::kPreset:
      return entry.is_regular_file(ignored) && ending == ".json" ? Utf8FromPath(path.stem()) : std::string();
    case ResourceKind::kLookup: {
      const bool table = ending == ".cube" || ending == ".png";
      return entry.is_regular_file(ignored) && table ? Utf8FromPath(path.filename()) : std::string();
    }
    case ResourceKind::kMakeup:
      return fs::is_regular_file(path / "makeup.json", ignored) ? Utf8FromPath(path.filename()) : std::string();
    case ResourceKind::kEffect:
      return fs::is_regular_file(path / "effect.json", ignored) ? Utf8FromPath(path.filename()) : std::string();
  }
  return {};
}

void AddNames(const std::string &root, ResourceKind kind, std::set<std::string> &names) {
  if (root.empty()) return;
  std::error_code error;
  for (fs::directory_iterator entry(PathFromUtf8(root) / FolderName(kind), error), end; !error && entry != end;
       entry.increment(error)) {
    std::string name = NameOf(kind, *entry);
    if (!name.empty()) names.insert(std::move(name));
  }
}

bool IsName(const std::string &name) {
  return !name.empty() && FileName(name) == name;
}

}  // namespace

ResourceFolders::ResourceFolders(std::string plugin, std::string user)
    : plugin_(std::move(plugin)), user_(std::move(user)) {}

std::vector<std::string> ResourceFolders::List(ResourceKind kind) const {
  std::set<std::string> names;
  AddNames(plugin_, kind, names);
  AddNames(user_, kind, names);
  return {names.begin(), names.end()};
}

std::vector<std::string> ResourceFolders::ListUserPresets() const {
  std::set<std::string> names;
  AddNames(user_, ResourceKind::kPreset, names);
  return {names.begin(), names.end()};
}

std::string ResourceFolders::Find(ResourceKind kind, const std::string &name) const {
  if (!IsName(name)) return {};
  for (const std::string *root : {&user_, &plugin_}) {
    if (root->empty()) continue;
    fs::path path = PathFromUtf8(*root) / FolderName(kind) / PathFromUtf8(name);
    if (kind == ResourceKind::kPreset) path += ".json";
    std::error_code ignored;
    if (fs::exists(path, ignored)) return Utf8FromPath(path);
  }
  return {};
}

std::string ResourceFolders::UserPresetPath(const std::string &name) const {
  if (!IsName(name) || user_.empty()) return {};
  return Utf8FromPath(PathFromUtf8(user_) / FolderName(ResourceKind::kPreset) / PathFromUtf8(name + ".json"));
}

std::string FileName(const std::string &typed) {
  std::string name;
  for (const char c : typed) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f || c == '/' || c == '\\') continue;
    name += c;
  }
  const size_t first = name.find_first_not_of(" .");
  if (first == std::string::npos) return {};
  name.erase(0, first);
  name.resize(vanta::Utf8Beginning(name, kLongestName).size());
  name.erase(name.find_last_not_of(' ') + 1);
  return name;
}

}  // namespace vanta_host
