#include "magic/effect_folder.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "platform/regular_file.h"
#include "vanta_base/utf8_path.h"
#include "vanta_base/utf8_text.h"

namespace lumivex {
namespace {

namespace fs = std::filesystem;

constexpr char kEffectFile[] = "effect.json";
constexpr uintmax_t kMostFileBytes = kMaxEffectTextBytes;
constexpr size_t kMaxFolderEntries = 4096;  // that are looked at

// Of a text that is too long, something that is too long as well.
bool ReadText(const fs::path &file, std::string &text) {
  const auto [fault, bytes] = ReadRegularFile(file, kMostFileBytes);
  if (fault == FileFault::kTooLong) {
    text.assign(kMaxEffectTextBytes + 1, ' ');
    return true;
  }
  text.assign(bytes.begin(), bytes.end());
  return fault == FileFault::kNone;
}

// Where the name leads, symbolic links followed; empty when that is outside the
// folder.
fs::path Inside(const fs::path &folder, const std::string &name) {
  const fs::path relative = vanta::PathFromUtf8(name);
  if (relative.has_root_path() || name.find('\\') != std::string::npos || name.find('\0') != std::string::npos)
    return {};
  std::error_code error;
  const fs::path root = fs::canonical(folder, error);
  if (error) return {};
  const fs::path whole = fs::weakly_canonical(root / relative, error);
  if (error) return {};
  const auto [end, ignored] = std::mismatch(root.begin(), root.end(), whole.begin(), whole.end());
  return end == root.end() ? whole : fs::path();
}

bool IsPictureName(const fs::path &file) {
  const std::string extension = vanta::Utf8FromPath(file.extension());
  return extension == ".png" || extension == ".PNG" || extension == ".jpg" || extension == ".jpeg";
}

// Sorted; empty where there are none or too many.
std::vector<fs::path> PictureNames(const fs::path &folder) {
  std::vector<fs::path> names;
  std::error_code error;
  size_t seen = 0;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (++seen > kMaxFolderEntries) return {};
    if (IsPictureName(entry->path())) names.push_back(entry->path());
  }
  if (names.size() > kMaxPicturesInLayer) return {};
  std::sort(names.begin(), names.end());
  return names;
}

// `root`: where links in a folder of pictures must not lead out of; empty:
// anywhere.
Loaded<Pictures> LoadPictureFolder(const fs::path &path, const fs::path &root, PixelBudget &budget,
                                   const std::atomic<bool> &cancelled) {
  std::error_code error;
  const std::vector<fs::path> names = PictureNames(path);
  if (names.empty())
    return {nullptr, vanta::Utf8FromPath(path), "it is a folder without pictures or with more than 256",
            "give 1 to 256 PNG files"};
  auto pictures = std::make_shared<Pictures>();
  for (const fs::path &name : names) {
    if (cancelled.load(std::memory_order_relaxed)) return {};
    const std::u8string inner = root.empty() ? std::u8string() : fs::relative(name, root, error).generic_u8string();
    if (!root.empty() && Inside(root, {inner.begin(), inner.end()}).empty())
      return {nullptr, vanta::Utf8FromPath(name), "it leads out of the effect's folder",
              "put the picture into the folder"};
    PictureFile file = ReadPicture(name, budget);
    if (!file.picture) return {nullptr, vanta::Utf8FromPath(name), std::move(file.reason), std::move(file.remedy)};
    pictures->list.push_back(std::move(file.picture));
  }
  return {std::move(pictures), {}, {}, {}};
}

Loaded<Pictures> LoadFrom(const fs::path &path, const fs::path &root, PixelBudget &budget,
                          const std::atomic<bool> &cancelled) {
  std::error_code error;
  if (fs::is_directory(path, error)) return LoadPictureFolder(path, root, budget, cancelled);
  PicturesFile file = ReadPictures(path, budget, cancelled);
  if (file.pictures.Empty())
    return {nullptr, vanta::Utf8FromPath(path), std::move(file.reason), std::move(file.remedy)};
  return {std::make_shared<Pictures>(std::move(file.pictures)), {}, {}, {}};
}

}  // namespace

Loaded<Pictures> LoadPictures(const std::string &path, PixelBudget &budget, const std::atomic<bool> &cancelled) {
  return LoadFrom(vanta::PathFromUtf8(path), {}, budget, cancelled);
}

PicturePointer DrawLayerText(const std::string &text, const LayerPlan &layer) {
  std::string line(vanta::Utf8Beginning(text, kMaxTextLength));
  std::replace_if(
      line.begin(), line.end(), [](char c) { return static_cast<uint8_t>(c) < ' ' || c == '\x7F'; }, '?');
  return DrawText(line, layer.color);
}

Loaded<Effect> LoadEffect(const std::string &folder, const std::atomic<bool> &cancelled) {
  const fs::path json = vanta::PathFromUtf8(folder) / kEffectFile;
  std::string text;
  if (!ReadText(json, text))
    return {nullptr, vanta::Utf8FromPath(json), "it cannot be read",
            "give the path of a folder that holds an effect.json"};
  EffectText parsed = ParseEffect(text);
  if (!parsed.plan)
    return {nullptr, vanta::Utf8FromPath(json), std::move(parsed.reason), "see docs/effects.md for the format"};

  auto effect = std::make_shared<Effect>();
  effect->plan = std::move(*parsed.plan);
  PixelBudget budget;
  std::error_code error;
  const fs::path root = fs::canonical(vanta::PathFromUtf8(folder), error);
  std::map<fs::path, Pictures> known;  // layers may share their pictures
  for (const LayerPlan &layer : effect->plan.layers) {
    Pictures &pictures = effect->pictures.emplace_back();
    effect->texts.push_back(layer.source == LayerSource::kText ? DrawLayerText(layer.text, layer) : nullptr);
    if (layer.source != LayerSource::kFile) continue;
    const fs::path file = Inside(root, layer.file);
    if (file.empty())
      return {nullptr, layer.file, "it leads out of the effect's folder", "name a file inside the folder"};
    if (const auto same = known.find(file); same != known.end()) {
      pictures = same->second;
      continue;
    }
    Loaded<Pictures> loaded = LoadFrom(file, root, budget, cancelled);
    if (!loaded.content) return {nullptr, std::move(loaded.file), std::move(loaded.reason), std::move(loaded.remedy)};
    pictures = known[file] = *loaded.content;
  }
  return {std::move(effect), {}, {}, {}};
}

}  // namespace lumivex
