#include "remote/requests.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>

#include <obs.hpp>

#include "controls/beauty_controls.h"
#include "controls/face_watch.h"
#include "controls/filter_status.h"
#include "controls/green_screen_keys.h"
#include "controls/key_picker.h"
#include "controls/look_file.h"
#include "controls/module_files.h"
#include "controls/statistics_reader.h"
#include "vanta_host.h"

namespace vanta_host {
namespace {

constexpr char kGreenScreen[] = "LX_green_screen_filter";

void Refuse(obs_data_t *response, const std::string &why) {
  obs_data_set_string(response, "error", why.c_str());
}

// ---- Status ----

bool IsOurs(const char *id) {
  return std::strcmp(id, "face_beauty_filter_v2") == 0 || std::strcmp(id, kGreenScreen) == 0 ||
         std::strcmp(id, "tessera_landmark_filter") == 0;
}

FilterStatus StatusOf(obs_source_t *filter, const char *id) {
  if (std::strcmp(id, kGreenScreen) == 0) return GreenScreenStatus(filter);
  return std::strcmp(id, "tessera_landmark_filter") == 0 ? LandmarkStatus(filter) : BeautyStatus(ConditionOf(filter));
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
  obs_data_array_push_back(static_cast<obs_data_array_t *>(param), entry);
}

bool TellFilters(void *param, obs_source_t *source) {
  obs_source_enum_filters(source, TellFilter, param);
  return true;
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

void GetStatus(obs_data_t *, obs_data_t *response) {
  obs_data_set_string(response, "engine", EngineStateName());
  obs_data_set_int(response, "faces", LastFaces().count);
  const OBSDataArrayAutoRelease filters = obs_data_array_create();
  obs_enum_sources(TellFilters, filters);
  obs_enum_scenes(TellFilters, filters);
  obs_data_set_array(response, "filters", filters);
  TellStatistics(response);
}

// ---- Beauty ----

// Names and numbers of `request` that are values of the look; an error names the first one that is wrong.
std::optional<std::string> TakeValue(obs_data_item_t *item, BeautyLook &look) {
  const std::string name = obs_data_item_get_name(item);
  const bool number = obs_data_item_gettype(item) == OBS_DATA_NUMBER;
  const bool text = obs_data_item_gettype(item) == OBS_DATA_STRING;
  const auto percent = [&](int minimum, int maximum) {
    const double value = obs_data_item_numtype(item) == OBS_DATA_NUM_INT ? double(obs_data_item_get_int(item))
                                                                         : obs_data_item_get_double(item);
    return std::isfinite(value)
               ? static_cast<int>(std::lround(std::clamp(value * 100, double(minimum), double(maximum))))
               : 0;
  };
  const size_t index = FindBeautyValue(name);
  if (index < kValueCount && number) {
    look.percent[index] = percent(BeautyValues()[index].minimum, BeautyValues()[index].maximum);
  } else if (name == "lookup_intensity" && number) {
    look.lookup_strength = percent(0, 100);
  } else if (name == "makeup_intensity" && number) {
    look.makeup_strength = percent(0, 100);
  } else if (name == "lookup" && text) {
    look.lookup = obs_data_item_get_string(item);
  } else if (name == "makeup" && text) {
    look.makeup = obs_data_item_get_string(item);
  } else if (name == "effect" && text) {
    look.effect = obs_data_item_get_string(item);
  } else {
    return "'" + name + "' is no value of a look, or of the wrong type";
  }
  return std::nullopt;
}

void GetBeauty(obs_data_t *, obs_data_t *response) {
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
  Controls().SetLook(look);
  TellLook(response);
}

void ApplyPreset(obs_data_t *request, obs_data_t *response) {
  const std::string name = obs_data_get_string(request, "preset");
  const std::optional<BeautyLook> look = ReadLookFile(ModuleFolders().Find(ResourceKind::kPreset, name));
  if (!look) return Refuse(response, "there is no preset '" + name + "'");
  Controls().SetLook(*look);
  TellLook(response);
}

void ResetBeauty(obs_data_t *, obs_data_t *response) {
  Controls().SetLook(BeautyLook());
  TellLook(response);
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
  const OBSSourceAutoRelease source = obs_get_source_by_name(obs_data_get_string(request, "source"));
  OBSSourceAutoRelease filter =
      source ? obs_source_get_filter_by_name(source, obs_data_get_string(request, "filter")) : nullptr;
  if (filter && std::strcmp(obs_source_get_unversioned_id(filter), kGreenScreen) == 0) return filter;
  Refuse(response, "'source' and 'filter' name no green screen filter");
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
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  const OBSDataAutoRelease patched = obs_data_create();
  SetKeyDefaults(patched);
  obs_data_apply(patched, settings);
  obs_data_set_string(patched, kConfigSetting, obs_data_get_string(request, "config"));
  if (!MergeConfig(patched)) return Refuse(response, "'config' is no text that holds a JSON object");
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

constexpr NamedRequest kRequests[] = {{"GetStatus", GetStatus},     {"GetBeauty", GetBeauty},
                                      {"SetBeauty", SetBeauty},     {"GetPresets", GetPresets},
                                      {"ApplyPreset", ApplyPreset}, {"ResetBeauty", ResetBeauty},
                                      {"PickKeyColor", PickKey},    {"GetKey", GetKey},
                                      {"SetKey", SetKey},           {nullptr, nullptr}};

}  // namespace

const NamedRequest *Requests() {
  return kRequests;
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
}

const char *EngineStateName() {
  switch (vanta_host_get_engine_state()) {
    case VANTA_ENGINE_RUNNING:
      return "running";
    case VANTA_ENGINE_MISSING:
      return "missing";
    case VANTA_ENGINE_UNKNOWN:
      break;
  }
  return "unknown";
}

}  // namespace vanta_host
