#include "cli/engine_values.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>

#include <opencv2/imgcodecs.hpp>

#include <lumivex/lumivex_values.h>

#include "common/failure.h"
#include "common/option_values.h"
#include "vanta_operations/stages.h"

namespace vanta_run {
namespace {

namespace fs = std::filesystem;

void RequireFolder(const char *option, const std::string &path, const char *remedy) {
  std::error_code ignored;
  if (path.empty()) throw Failure(kExitUsage, option, "bad value ''", remedy);
  if (!fs::exists(path, ignored)) throw Failure(kExitInput, path, "no such folder", remedy);
  if (!fs::is_directory(path, ignored)) throw Failure(kExitInput, path, "is no folder", remedy);
}

// Without the separator at the end that shells add.
std::string Absolute(const std::string &path) {
  fs::path whole = fs::absolute(path).lexically_normal();
  if (!whole.has_filename()) whole = whole.parent_path();
  return whole.string();
}

// Splits "PATH=INTENSITY". A name may hold "=" itself: what exists under the whole text is taken as it stands.
float SplitIntensity(const char *option, std::string &path) {
  std::error_code ignored;
  const size_t equals = path.rfind('=');
  if (equals == std::string::npos || fs::exists(path, ignored)) return 1.0f;
  const auto number = ParseNumber(path.substr(equals + 1));
  if (!number || *number < 0 || *number > 1) {
    throw Failure(kExitUsage, option, "bad value '" + path + "'", "give the intensity as a number from 0 to 1");
  }
  path.resize(equals);
  return static_cast<float>(*number);
}

// One name of a list of intensities.
struct Intensity {
  int type;
  std::string_view name;
  float minimum, maximum;
  std::string_view what;
};

std::string Range(const Intensity &intensity) {
  char text[48];
  std::snprintf(text, sizeof(text), "%g to %g", static_cast<double>(intensity.minimum),
                static_cast<double>(intensity.maximum));
  return text;
}

std::vector<Intensity> BeautyIntensities() {
  std::vector<Intensity> all;
  for (const auto &info : lumivex::kBeautyTypes)
    all.push_back({info.type, info.name, info.minimum, info.maximum, info.what});
  return all;
}

std::vector<Intensity> DeformIntensities() {
  std::vector<Intensity> all;
  for (const auto &info : lumivex::kDeformModes)
    all.push_back({info.mode, info.name, info.minimum, info.maximum, info.what});
  return all;
}

std::vector<Intensity> SlimIntensities() {
  std::vector<Intensity> all;
  for (size_t i = 0; i < lumivex::kSlimTypeCount; ++i) {
    all.push_back({static_cast<int>(i), lumivex::kSlimNames[i], 0, 1, ""});
  }
  return all;
}

std::vector<OptionItem> ItemsOf(const std::vector<Intensity> &known) {
  std::vector<OptionItem> items;
  for (const Intensity &one : known) {
    items.push_back({std::string(one.name), Range(one) + (one.what.empty() ? "" : ": " + std::string(one.what))});
  }
  return items;
}

// NAME=NUMBER, with commas between, as pairs of type and number.
std::vector<std::pair<int, float>> ReadIntensities(const char *option, const std::string &value,
                                                   const std::vector<Intensity> &known) {
  const auto pairs = ParsePairs(value);
  if (!pairs) {
    throw Failure(kExitUsage, option, "bad value '" + value + "'", "write NAME=NUMBER, with commas between");
  }
  std::string names;
  for (const Intensity &one : known) names += (names.empty() ? "" : ", ") + std::string(one.name);
  std::vector<std::pair<int, float>> read;
  for (const auto &[name, text] : *pairs) {
    const auto same = [&name = name](const Intensity &one) { return one.name == name; };
    const auto found = std::find_if(known.begin(), known.end(), same);
    if (found == known.end()) {
      throw Failure(kExitUsage, option, "no intensity is called '" + name + "'", "known are " + names);
    }
    const auto number = ParseNumber(text);
    if (!number || *number < static_cast<double>(found->minimum) || *number > static_cast<double>(found->maximum)) {
      throw Failure(kExitUsage, option, "bad value '" + text + "' for " + name, "give a number from " + Range(*found));
    }
    read.emplace_back(found->type, static_cast<float>(*number));
  }
  return read;
}

}  // namespace

void ReadBeauty(const std::string &value, Options &options) {
  for (const auto &[type, number] : ReadIntensities("--beauty", value, BeautyIntensities())) {
    options.beauty.emplace_back(static_cast<LXBeautyType>(type), number);
  }
}

void ReadDeform(const std::string &value, Options &options) {
  for (const auto &pair : ReadIntensities("--deform", value, DeformIntensities())) options.deform.push_back(pair);
}

void ReadSlim(const std::string &value, Options &options) {
  for (const auto &[type, number] : ReadIntensities("--slim", value, SlimIntensities())) {
    options.slim.emplace_back(static_cast<LXBodySlimmingType>(type), number);
  }
}

void ReadStages(const std::string &value, Options &options) {
  constexpr char kRemedy[] = "write NAME=on or NAME=off, with commas between";
  const auto pairs = ParsePairs(value);
  if (!pairs) throw Failure(kExitUsage, "--stage", "bad value '" + value + "'", kRemedy);
  for (const auto &[name, text] : *pairs) {
    const auto type = vanta_operations::FindEffectType(name);
    const auto on = ParseOnOff(text);
    if (!type) {
      std::string names;
      for (const vanta_operations::StageInfo &stage : vanta_operations::kStages)
        names += (names.empty() ? "" : ", ") + std::string(stage.name);
      throw Failure(kExitUsage, "--stage", "no stage is called '" + name + "'", "known are " + names);
    }
    if (!on) throw Failure(kExitUsage, "--stage", "bad value '" + value + "'", kRemedy);
    options.stages.emplace_back(*type, *on);
  }
}

// What is none the engine would tell of in the log alone, and go on without.
bool IsLookupTable(const fs::path &path) {
  constexpr size_t kHead = size_t{1} << 16;  // bytes, in which a table gives its size
  std::string ending = path.extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending != ".cube") return cv::haveImageReader(path.string());
  std::ifstream file(path, std::ios::binary);
  std::string head(kHead, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  return head.find("LUT_3D_SIZE") != std::string::npos;
}

LookupOption ReadLookup(const std::string &value) {
  LookupOption lookup{value, 1.0f};
  lookup.intensity = SplitIntensity("--lookup", lookup.path);
  constexpr char kRemedy[] = "give a .cube file or a square PNG";
  std::error_code ignored;
  if (!fs::is_regular_file(lookup.path, ignored)) {
    throw Failure(kExitUsage, "--lookup", "no file '" + lookup.path + "'", kRemedy);
  }
  if (!IsLookupTable(lookup.path)) throw Failure(kExitInput, lookup.path, "is no colour table", kRemedy);
  return lookup;
}

std::string ReadEffectFolder(const std::string &value) {
  constexpr char kRemedy[] = "give the folder of an effect, as docs/effects.md describes it";
  RequireFolder("--effect", value, kRemedy);
  std::error_code ignored;
  if (!fs::is_regular_file(fs::path(value) / "effect.json", ignored)) {
    throw Failure(kExitInput, value, "holds no effect.json", kRemedy);
  }
  return Absolute(value);
}

MakeupOption ReadMakeup(const std::string &value) {
  MakeupOption makeup{value, 1.0f, {}};
  makeup.intensity = SplitIntensity("--makeup", makeup.folder);
  RequireFolder("--makeup", makeup.folder, "give the folder of a makeup layer, as docs/effects.md describes it");
  makeup.folder = Absolute(makeup.folder);
  return makeup;
}

MakeupOption ReadMakeupColor(const std::string &value) {
  constexpr char kOption[] = "--makeup-color";
  const auto fail = [&](const std::string &remedy) {
    return Failure(kExitUsage, kOption, "bad value '" + value + "'", remedy);
  };
  const size_t equals = value.find('=');
  if (equals == std::string::npos) throw fail("write PART=RRGGBB, as in lips=b03040");
  const std::string part = value.substr(0, equals);
  const std::vector<OptionItem> parts = MakeupPartItems();
  if (std::none_of(parts.begin(), parts.end(), [&](const OptionItem &item) { return item.name == part; })) {
    std::string names;
    for (const OptionItem &item : parts) names += (names.empty() ? "" : ", ") + item.name;
    throw Failure(kExitUsage, kOption, "no part of a face is called '" + part + "'", "known are " + names);
  }
  const size_t comma = value.find(',', equals);
  const std::string color = value.substr(equals + 1, comma == std::string::npos ? comma : comma - equals - 1);
  if (!ParseColor(color)) throw fail("write the colour as six hexadecimal digits, RRGGBB");
  MakeupOption makeup{std::string(lumivex::kMakeupColorPrefix) + color, 1.0f, part};
  if (comma == std::string::npos) return makeup;
  const auto number = ParseNumber(value.substr(comma + 1));
  if (!number || *number < 0 || *number > 1) throw fail("give the intensity as a number from 0 to 1");
  makeup.intensity = static_cast<float>(*number);
  return makeup;
}

std::vector<OptionItem> BeautyItems() {
  return ItemsOf(BeautyIntensities());
}

std::vector<OptionItem> DeformItems() {
  return ItemsOf(DeformIntensities());
}

std::vector<OptionItem> SlimItems() {
  return ItemsOf(SlimIntensities());
}

std::vector<OptionItem> StageItems() {
  std::vector<OptionItem> items;
  for (const vanta_operations::StageInfo &stage : vanta_operations::kStages)
    items.push_back({std::string(stage.name), std::string(stage.what)});
  return items;
}

std::vector<OptionItem> MakeupPartItems() {
  std::vector<OptionItem> items;
  for (const auto &part : lumivex::kMakeupParts) items.push_back({std::string(part.name), std::string(part.what)});
  return items;
}

std::vector<std::string> WordsOf(const std::vector<OptionItem> &items) {
  std::vector<std::string> words;
  for (const OptionItem &item : items) words.push_back(item.name + "=");
  return words;
}

}  // namespace vanta_run
