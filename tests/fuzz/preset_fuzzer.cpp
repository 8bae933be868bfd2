// A preset from anywhere: as the engine reads it, alone and as a member of groups that name it and themselves, and as a
// look of the pages. What is read is within its ranges; a look that is written and read again is the same.
#include <util/base.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "controls/beauty_values.h"
#include "controls/look_file.h"
#include "lumivex/lumivex_values.h"
#include "require.h"
#include "settings/preset.h"

namespace {

namespace fs = std::filesystem;

void Write(const fs::path &path, const void *data, size_t size) {
  std::ofstream(path, std::ios::binary).write(static_cast<const char *>(data), static_cast<std::streamsize>(size));
}

// presets/made.json is what is tried.
std::string MakeRoot() {
  std::string root = (fs::temp_directory_path() / "preset_fuzzer_XXXXXX").string();
  if (!mkdtemp(root.data())) std::abort();
  fs::create_directories(root + "/presets");
  fs::create_directories(root + "/groups/all");
  const std::string group = R"({"format":1,"presets":["made","../../presets/made.json"]})";
  Write(root + "/groups/all/group.json", group.data(), group.size());
  return root;
}

void RequirePreset(const lumivex::PresetFile &read) {
  Require(read.values.has_value() == read.reason.empty(), "neither good nor bad");
  Require(!read.file.empty(), "a preset without a file");
  if (!read.values) return;
  for (const auto &info : lumivex::kBeautyTypes) {
    const float value = (*read.values)[static_cast<size_t>(info.type)];
    Require(value >= info.minimum && value <= info.maximum, "a value out of its range");
  }
}

void RequireLook(const std::string &root) {
  const auto look = vanta_host::ReadLookFile(root + "/presets/made.json");
  if (!look) return;
  for (size_t i = 0; i < vanta_host::kValueCount; ++i) {
    const vanta_host::BeautyValue &value = vanta_host::BeautyValues()[i];
    Require(look->percent[i] >= value.minimum && look->percent[i] <= value.maximum, "a per cent out of its range");
  }
  for (const int strength : {look->lookup_strength, look->makeup_strength})
    Require(strength >= 0 && strength <= 100, "a strength out of its range");
  Require(vanta_host::WriteLookFile(root + "/again.json", *look), "a look that cannot be written");
  const auto again = vanta_host::ReadLookFile(root + "/again.json");
  Require(again.has_value(), "a look that cannot be read again");
  // Strengths of what is not chosen are not written.
  vanta_host::BeautyLook expected = *look;
  if (expected.lookup.empty()) expected.lookup_strength = again->lookup_strength;
  if (expected.makeup.empty()) expected.makeup_strength = again->makeup_strength;
  for (size_t i = 0; i < expected.colors.size(); ++i)
    if (expected.colors[i].rgb.empty()) expected.colors[i].strength = again->colors[i].strength;
  Require(expected == *again, "a look that changes when it is written and read");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const std::string root = MakeRoot();
  Write(root + "/presets/made.json", data, size);
  RequirePreset(lumivex::ReadPreset(root, "made", false));
  RequirePreset(lumivex::ReadPreset(root, "all", true));
  RequireLook(root);
  return 0;
}
