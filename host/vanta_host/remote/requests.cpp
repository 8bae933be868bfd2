#include "remote/requests.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include <util/platform.h>
#include <obs.hpp>

#include "controls/beauty_controls.h"
#include "controls/face_watch.h"
#include "controls/filter_status.h"
#include "controls/green_screen_keys.h"
#include "controls/key_picker.h"
#include "controls/look_file.h"
#include "module/module_control.h"
#include "module/module_files.h"
#include "module/statistics_reader.h"
#include "remote/call_control.h"
#include "remote/config_check.h"
#include "vanta_base/json_text.h"
#include "vanta_base/utf8_text.h"
#include "vanta_filter/module/filter_ids.h"
#include "vanta_host.h"
#include "vanta_operations/operations.h"

namespace vanta_host {
namespace {

using vanta::kBeautyFilterId;
using vanta::kGreenScreenFilterId;
using vanta::kLandmarkFilterId;
using vanta_operations::Json;

constexpr double kLongestWatch = 3600;  // seconds
constexpr size_t kLongestReason = 200;  // bytes
constexpr char kNoBeautyFilter[] = "no source has a Face Beauty filter";

// Some reasons name what was sent, which may be of any length.
void Refuse(obs_data_t *response, const std::string &why) {
  std::string told(vanta::Utf8Beginning(why, kLongestReason));
  if (told.size() < why.size()) told += "…";
  obs_data_set_string(response, "error", told.c_str());
}

// Empty, and said why, where the request has no such text.
std::optional<std::string> TakeText(obs_data_t *request, const char *name, obs_data_t *response) {
  obs_data_item_t *item = obs_data_item_byname(request, name);
  const bool text = item && obs_data_item_gettype(item) == OBS_DATA_STRING;
  const bool missing = !item;
  obs_data_item_release(&item);
  if (text) return obs_data_get_string(request, name);
  Refuse(response, std::string("'") + name + (missing ? "' is missing" : "' is no text"));
  return std::nullopt;
}

// ---- Status ----

bool IsOurs(const char *id) {
  return std::strcmp(id, kBeautyFilterId) == 0 || std::strcmp(id, kGreenScreenFilterId) == 0 ||
         std::strcmp(id, kLandmarkFilterId) == 0;
}

FilterStatus StatusOf(obs_source_t *filter, const char *id) {
  if (std::strcmp(id, kGreenScreenFilterId) == 0) return GreenScreenStatus(filter);
  return std::strcmp(id, kLandmarkFilterId) == 0 ? LandmarkStatus(filter) : BeautyStatus(ConditionOf(filter));
}

void TellFilter(obs_source_t *source, obs_source_t *filter, void *param) {
  const char *id = obs_source_get_unversioned_id(filter);
  if (!id || !IsOurs(id)) return;
  const FilterStatus status = StatusOf(filter, id);
  const OBSDataAutoRelease entry = obs_data_create();
  obs_data_set_string(entry, "source", obs_source_get_name(source));
  obs_data_set_string(entry, "filter", obs_source_get_name(filter));
  obs_data_set_string(entry, "kind", id);
  obs_data_set_bool(entry, "enabled", obs_source_enabled(filter));
  obs_data_set_string(entry, "state", status.state.c_str());
  obs_data_set_string(entry, "text", status.text.c_str());
  if (std::strcmp(id, kLandmarkFilterId) == 0) obs_data_set_int(entry, "faces", FacesOf(filter).count);
  obs_data_array_push_back(static_cast<obs_data_array_t *>(param), entry);
}

bool TellFilters(void *param, obs_source_t *source) {
  obs_source_enum_filters(source, TellFilter, param);
  return true;
}

void GetStatus(obs_data_t *, obs_data_t *response) {
  obs_data_set_string(response, "engine", vanta_host_engine_state_name(vanta_host_get_engine_state()));
  obs_data_set_int(response, "faces", CountFaces());
  const OBSDataArrayAutoRelease filters = obs_data_array_create();
  obs_enum_sources(TellFilters, filters);
  obs_enum_scenes(TellFilters, filters);
  obs_data_set_array(response, "filters", filters);
  TellStatistics(response);
}

// ---- Beauty ----

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g", value);
  return text;
}

// The part of the face whose colour, or its strength, has that name in requests; kMakeupPartCount for none.
size_t FindColorName(const std::string &name, const char *MakeupPart::*which) {
  const auto found = std::find_if(MakeupParts().begin(), MakeupParts().end(),
                                  [&](const MakeupPart &part) { return name == part.*which; });
  return static_cast<size_t>(found - MakeupParts().begin());
}

bool IsLookValue(const std::string &name) {
  constexpr std::array kOthers = {"lookup", "lookup_intensity", "makeup", "makeup_intensity", "effect"};
  return FindBeautyValue(name) < kValueCount || std::find(kOthers.begin(), kOthers.end(), name) != kOthers.end() ||
         FindColorName(name, &MakeupPart::color_name) < kMakeupPartCount ||
         FindColorName(name, &MakeupPart::strength_name) < kMakeupPartCount;
}

// Empty takes the look's away. One that the present look names already may have gone from the disk.
std::optional<std::string> TakeResource(const std::string &name, ResourceKind kind, const char *given,
                                        std::string &chosen) {
  const std::string wanted = given ? given : "";
  if (!wanted.empty() && wanted != chosen && ModuleFolders().Find(kind, wanted).empty())
    return "'" + name + "' is '" + wanted + "', and there is no such file or folder";
  chosen = wanted;
  return std::nullopt;
}

std::optional<std::string> TakeColor(const std::string &name, const char *given, MakeupColor &color) {
  const std::string digits = ColorDigits(given ? given : "");
  if (digits.empty() && given && *given) return "'" + name + "' is no color of six hexadecimal digits";
  color.rgb = digits;
  return std::nullopt;
}

// Names and numbers of `request` that are values of the look; an error names the first one that is wrong.
std::optional<std::string> TakeValue(obs_data_item_t *item, BeautyLook &look) {
  const std::string name = obs_data_item_get_name(item);
  const bool number = obs_data_item_gettype(item) == OBS_DATA_NUMBER;
  const bool text = obs_data_item_gettype(item) == OBS_DATA_STRING;
  std::optional<std::string> wrong;
  const auto percent = [&](int minimum, int maximum) {
    const double value = obs_data_item_numtype(item) == OBS_DATA_NUM_INT ? double(obs_data_item_get_int(item))
                                                                         : obs_data_item_get_double(item);
    if (!(value * 100 >= minimum && value * 100 <= maximum))
      wrong = "'" + name + "' is " + Number(value) + "; it goes from " + Number(minimum / 100.0) + " to 1";
    return static_cast<int>(std::lround(std::clamp(std::isfinite(value) ? value : 0, -1.0, 1.0) * 100));
  };
  const size_t index = FindBeautyValue(name);
  const size_t color = FindColorName(name, &MakeupPart::color_name);
  const size_t strength = FindColorName(name, &MakeupPart::strength_name);
  if (index < kValueCount && number) {
    look.percent[index] = percent(BeautyValues()[index].minimum, BeautyValues()[index].maximum);
  } else if (name == "lookup_intensity" && number) {
    look.lookup_strength = percent(0, 100);
  } else if (name == "makeup_intensity" && number) {
    look.makeup_strength = percent(0, 100);
  } else if (strength < kMakeupPartCount && number) {
    look.colors[strength].strength = percent(0, 100);
  } else if (color < kMakeupPartCount && text) {
    return TakeColor(name, obs_data_item_get_string(item), look.colors[color]);
  } else if (name == "lookup" && text) {
    return TakeResource(name, ResourceKind::kLookup, obs_data_item_get_string(item), look.lookup);
  } else if (name == "makeup" && text) {
    return TakeResource(name, ResourceKind::kMakeup, obs_data_item_get_string(item), look.makeup);
  } else if (name == "effect" && text) {
    return TakeResource(name, ResourceKind::kEffect, obs_data_item_get_string(item), look.effect);
  } else {
    return IsLookValue(name) ? "'" + name + "' is of the wrong type" : "'" + name + "' is no value of a look";
  }
  return wrong;
}

void GetBeauty(obs_data_t *, obs_data_t *response) {
  TellLook(response);
}

void Show(const BeautyLook &look, obs_data_t *response) {
  if (!Controls().Edit([&look](BeautyLook &present) { present = look; })) return Refuse(response, kNoBeautyFilter);
  TellLook(response);
}

// All or nothing.
void SetBeauty(obs_data_t *request, obs_data_t *response) {
  BeautyLook look = Controls().Look();
  for (obs_data_item_t *item = obs_data_first(request); item; obs_data_item_next(&item)) {
    if (const std::optional<std::string> wrong = TakeValue(item, look)) {
      obs_data_item_release(&item);
      return Refuse(response, *wrong);
    }
  }
  Show(look, response);
}

void ApplyPreset(obs_data_t *request, obs_data_t *response) {
  const std::optional<std::string> name = TakeText(request, "preset", response);
  if (!name) return;
  const std::optional<BeautyLook> look = ReadLookFile(ModuleFolders().Find(ResourceKind::kPreset, *name));
  if (!look) return Refuse(response, "there is no preset '" + *name + "'");
  Show(*look, response);
}

void ResetBeauty(obs_data_t *, obs_data_t *response) {
  Show(BeautyLook(), response);
}

void GetPresets(obs_data_t *, obs_data_t *response) {
  const OBSDataArrayAutoRelease list = obs_data_array_create();
  for (const std::string &name : ModuleFolders().List(ResourceKind::kPreset)) {
    const OBSDataAutoRelease entry = obs_data_create();
    obs_data_set_string(entry, "preset", name.c_str());
    obs_data_array_push_back(list, entry);
  }
  obs_data_set_array(response, "presets", list);
}

// ---- Green screen ----

// Null, and said why, where the request names no such filter.
OBSSourceAutoRelease GreenScreenFilter(obs_data_t *request, obs_data_t *response) {
  const std::optional<std::string> source_name = TakeText(request, "source", response);
  if (!source_name) return nullptr;
  const std::optional<std::string> name = TakeText(request, "filter", response);
  if (!name) return nullptr;
  const OBSSourceAutoRelease source = obs_get_source_by_name(source_name->c_str());
  OBSSourceAutoRelease filter = source ? obs_source_get_filter_by_name(source, name->c_str()) : nullptr;
  if (!source)
    Refuse(response, "there is no source '" + *source_name + "'");
  else if (!filter)
    Refuse(response, "the source '" + *source_name + "' has no filter '" + *name + "'");
  else if (std::strcmp(obs_source_get_unversioned_id(filter), kGreenScreenFilterId) != 0)
    Refuse(response, "the filter '" + *name + "' is no green screen");
  else
    return filter;
  return nullptr;
}

void TellKey(obs_source_t *filter, obs_data_t *response) {
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  obs_data_set_string(response, "config", CompleteConfig(settings).c_str());
}

void GetKey(obs_data_t *request, obs_data_t *response) {
  const OBSSourceAutoRelease filter = GreenScreenFilter(request, response);
  if (filter) TellKey(filter, response);
}

// On a copy first: the filter takes the text on the graphics thread, a little later.
void SetKey(obs_data_t *request, obs_data_t *response) {
  const OBSSourceAutoRelease filter = GreenScreenFilter(request, response);
  if (!filter) return;
  const std::string config = obs_data_get_string(request, "config");
  if (const std::optional<std::string> fault = FindConfigFault(config)) return Refuse(response, *fault);
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  const OBSDataAutoRelease patched = obs_data_create();
  SetKeyDefaults(patched);
  obs_data_apply(patched, settings);
  TakeConfig(patched, config);
  obs_source_update(filter, patched);
  obs_data_set_string(response, "config", CompleteConfig(patched).c_str());
}

void PickKey(obs_data_t *request, obs_data_t *response) {
  const OBSSourceAutoRelease filter = GreenScreenFilter(request, response);
  if (!filter) return;
  const std::optional<std::array<double, 3>> color = PickKeyColor(filter);
  if (!color) return Refuse(response, "no green or blue backing was found in the picture");
  const OBSDataAutoRelease patch = obs_data_create();
  SetKeyColor(patch, *color);
  obs_source_update(filter, patch);
  TellKey(filter, response);
}

// ---- Control object ----

class CallTarget final : public vanta_operations::OperationTarget {
 public:
  explicit CallTarget(ILumivex &control) : control_(control) {}
  ILumivex &Control() override { return control_; }
  // Beauty filters are found by the name of the filter, as the operation wants them, or of a source that has one.
  obs_source_t *TakeSource(const std::string &name) override {
    Wanted wanted{name.c_str(), nullptr};
    obs_enum_sources(LookForFilter, &wanted);
    if (!wanted.found) obs_enum_scenes(LookForFilter, &wanted);
    return wanted.found;
  }

 private:
  struct Wanted {
    const char *name;
    obs_source_t *found;
  };
  static bool LookForFilter(void *param, obs_source_t *source) {
    auto *wanted = static_cast<Wanted *>(param);
    const bool whole = std::strcmp(obs_source_get_name(source), wanted->name) == 0;
    std::pair<Wanted *, bool> search(wanted, whole);
    obs_source_enum_filters(
        source,
        [](obs_source_t *, obs_source_t *filter, void *data) {
          const auto [wanted_filter, any] = *static_cast<std::pair<Wanted *, bool> *>(data);
          if (wanted_filter->found || std::strcmp(obs_source_get_unversioned_id(filter), kBeautyFilterId) != 0) return;
          if (any || std::strcmp(obs_source_get_name(filter), wanted_filter->name) == 0)
            wanted_filter->found = obs_source_get_ref(filter);
        },
        &search);
    return !wanted->found;
  }

  CallControl control_;
};

// The arguments stand beside "call", or all of them in the text "arguments": the websocket drops lists of texts and of
// numbers from requests.
Json ArgumentsOf(obs_data_t *request) {
  const char *text = obs_data_has_user_value(request, "arguments") ? obs_data_get_string(request, "arguments")
                                                                   : obs_data_get_json(request);
  Json arguments = vanta::ReadJson(text ? text : "");
  if (!arguments.is_object()) throw vanta_operations::BadCommand("'arguments' is no text that holds a JSON object");
  if (!obs_data_has_user_value(request, "arguments")) arguments.erase("call");
  return arguments;
}

void TellResult(const Json &result, obs_data_t *response) {
  if (result.is_null()) return;
  const Json named = {{"result", result}};
  const OBSDataAutoRelease data = obs_data_create_from_json(vanta::WriteJson(named).c_str());
  obs_data_apply(response, data);
}

void Call(obs_data_t *request, obs_data_t *response) {
  const std::optional<std::string> name = TakeText(request, "call", response);
  if (!name) return;
  const vanta_operations::Operation *operation = vanta_operations::FindOperation(*name);
  if (!operation) return Refuse(response, "no operation is called '" + *name + "'");
  ILumivex *control = FindControl();
  if (!control || !Controls().HasFilters()) return Refuse(response, kNoBeautyFilter);
  CallTarget target(*control);
  try {
    TellResult(operation->read(ArgumentsOf(request))(target), response);
    obs_data_set_string(response, "call", name->c_str());
  } catch (const vanta_operations::BadCommand &reason) {
    Refuse(response, reason.what());
  }
}

// ---- Events ----

std::atomic<uint64_t> statistics_until_ns{0};

void WatchStatistics(obs_data_t *request, obs_data_t *response) {
  obs_data_item_t *item = obs_data_item_byname(request, "seconds");
  const bool number = item && obs_data_item_gettype(item) == OBS_DATA_NUMBER;
  obs_data_item_release(&item);
  const double seconds = number ? obs_data_get_double(request, "seconds") : -1;
  if (!(seconds >= 0 && seconds <= kLongestWatch))
    return Refuse(response, "'seconds' is no number from 0 to " + Number(kLongestWatch));
  statistics_until_ns = os_gettime_ns() + static_cast<uint64_t>(seconds * 1e9);
  obs_data_set_double(response, "seconds", seconds);
}

constexpr NamedRequest kRequests[] = {{"GetStatus", GetStatus},
                                      {"GetBeauty", GetBeauty},
                                      {"SetBeauty", SetBeauty},
                                      {"GetPresets", GetPresets},
                                      {"ApplyPreset", ApplyPreset},
                                      {"ResetBeauty", ResetBeauty},
                                      {"PickKeyColor", PickKey},
                                      {"GetKey", GetKey},
                                      {"SetKey", SetKey},
                                      {"Call", Call},
                                      {"WatchStatistics", WatchStatistics},
                                      {nullptr, nullptr}};

}  // namespace

const NamedRequest *Requests() {
  return kRequests;
}

bool StatisticsAreWatched(uint64_t now_ns) {
  return now_ns < statistics_until_ns;
}

void TellStatistics(obs_data_t *response) {
  const OBSDataArrayAutoRelease list = obs_data_array_create();
  for (const StatisticsSample &sample : ReadStatistics()) {
    const OBSDataAutoRelease entry = obs_data_create();
    obs_data_set_string(entry, "name", sample.name.c_str());
    obs_data_set_double(entry, "arrived", static_cast<double>(sample.arrived_fps));
    obs_data_set_double(entry, "processed", static_cast<double>(sample.render_fps));
    obs_data_set_double(entry, "milliseconds", static_cast<double>(sample.filter_avg));
    obs_data_set_int(entry, "repeated", sample.empty_dequeue_count);
    obs_data_set_int(entry, "dropped", sample.drop_count + sample.enqueue_fail_count);
    obs_data_array_push_back(list, entry);
  }
  obs_data_set_array(response, "statistics", list);
}

void TellLook(obs_data_t *response) {
  const BeautyLook look = Controls().Look();
  for (size_t i = 0; i < kValueCount; ++i)
    obs_data_set_double(response, BeautyValues()[i].name, look.percent[i] / 100.0);
  obs_data_set_string(response, "lookup", look.lookup.c_str());
  obs_data_set_double(response, "lookup_intensity", look.lookup_strength / 100.0);
  obs_data_set_string(response, "makeup", look.makeup.c_str());
  obs_data_set_double(response, "makeup_intensity", look.makeup_strength / 100.0);
  obs_data_set_string(response, "effect", look.effect.c_str());
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    obs_data_set_string(response, MakeupParts()[i].color_name, look.colors[i].rgb.c_str());
    obs_data_set_double(response, MakeupParts()[i].strength_name, look.colors[i].strength / 100.0);
  }
}

}  // namespace vanta_host
