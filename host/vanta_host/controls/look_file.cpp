#include "controls/look_file.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include <util/bmem.h>
#include <util/platform.h>
#include <obs.hpp>

#include "vanta_base/utf8_path.h"

namespace vanta_host {
namespace {

constexpr int kFormat = 1;
constexpr uintmax_t kMostBytes = uintmax_t{1} << 20;
constexpr char kColors[] = "makeup_colors";

const char *ObjectName(ValueKind kind) {
  switch (kind) {
    case ValueKind::kBeauty:
      return "beauty";
    case ValueKind::kDeform:
      return "deform";
    case ValueKind::kBody:
      return "body";
  }
  return "";
}

int Percent(double intensity, int minimum, int maximum) {
  if (!std::isfinite(intensity)) return 0;
  return static_cast<int>(std::lround(std::clamp(intensity * 100, double(minimum), double(maximum))));
}

int StrengthIn(obs_data_t *data, const char *name, int otherwise) {
  return obs_data_has_user_value(data, name) ? Percent(obs_data_get_double(data, name), 0, 100) : otherwise;
}

void ReadColors(obs_data_t *data, BeautyLook &look) {
  const OBSDataAutoRelease parts = obs_data_get_obj(data, kColors);
  for (size_t i = 0; parts && i < kMakeupPartCount; ++i) {
    const OBSDataAutoRelease part = obs_data_get_obj(parts, MakeupParts()[i].name);
    MakeupColor &color = look.colors[i];
    if (part) color = {ColorDigits(obs_data_get_string(part, "color")), StrengthIn(part, "intensity", color.strength)};
  }
}

void WriteColors(const BeautyLook &look, obs_data_t *data) {
  const OBSDataAutoRelease parts = obs_data_create();
  bool any = false;
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    if (look.colors[i].rgb.empty()) continue;
    any = true;
    const OBSDataAutoRelease part = obs_data_create();
    obs_data_set_string(part, "color", look.colors[i].rgb.c_str());
    obs_data_set_double(part, "intensity", look.colors[i].strength / 100.0);
    obs_data_set_obj(parts, MakeupParts()[i].name, part);
  }
  if (any) obs_data_set_obj(data, kColors, parts);
}

}  // namespace

std::optional<BeautyLook> ReadLookFile(const std::string &path) {
  // libobs would wait for a pipe's other end, and read a file of any length into memory.
  const std::filesystem::path file = vanta::PathFromUtf8(path);
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error) || std::filesystem::file_size(file, error) > kMostBytes)
    return std::nullopt;
  const OBSDataAutoRelease data = obs_data_create_from_json_file(path.c_str());
  if (!data || obs_data_get_int(data, "format") != kFormat || !obs_data_has_user_value(data, "beauty"))
    return std::nullopt;
  BeautyLook look = PlainLook();
  for (size_t i = 0; i < kValueCount; ++i) {
    const BeautyValue &value = BeautyValues()[i];
    const OBSDataAutoRelease object = obs_data_get_obj(data, ObjectName(value.kind));
    if (object) look.percent[i] = Percent(obs_data_get_double(object, value.name), value.minimum, value.maximum);
  }
  look.lookup = obs_data_get_string(data, "lookup");
  look.lookup_strength = StrengthIn(data, "lookup_intensity", look.lookup_strength);
  look.makeup = obs_data_get_string(data, "makeup");
  look.makeup_strength = StrengthIn(data, "makeup_intensity", look.makeup_strength);
  look.effect = obs_data_get_string(data, "effect");
  ReadColors(data, look);
  return look;
}

bool WriteLookFile(const std::string &path, const BeautyLook &look) {
  const OBSDataAutoRelease data = obs_data_create();
  obs_data_set_int(data, "format", kFormat);
  for (const ValueKind kind : {ValueKind::kBeauty, ValueKind::kDeform, ValueKind::kBody}) {
    const OBSDataAutoRelease object = obs_data_create();
    for (size_t i = 0; i < kValueCount; ++i) {
      if (BeautyValues()[i].kind == kind && look.percent[i] != 0)
        obs_data_set_double(object, BeautyValues()[i].name, look.percent[i] / 100.0);
    }
    obs_data_set_obj(data, ObjectName(kind), object);
  }
  if (!look.lookup.empty()) {
    obs_data_set_string(data, "lookup", look.lookup.c_str());
    obs_data_set_double(data, "lookup_intensity", look.lookup_strength / 100.0);
  }
  if (!look.makeup.empty()) {
    obs_data_set_string(data, "makeup", look.makeup.c_str());
    obs_data_set_double(data, "makeup_intensity", look.makeup_strength / 100.0);
  }
  if (!look.effect.empty()) obs_data_set_string(data, "effect", look.effect.c_str());
  WriteColors(look, data);
  os_mkdirs(vanta::Utf8FromPath(vanta::PathFromUtf8(path).parent_path()).c_str());
  return obs_data_save_json_safe(data, path.c_str(), "new", nullptr);
}

}  // namespace vanta_host
