#include "controls/filter_status.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <util/platform.h>

#include "controls/beauty_controls.h"
#include "controls/face_watch.h"
#include "controls/key_picker.h"
#include "module/module_files.h"
#include "module/statistics_reader.h"

namespace vanta_host {
namespace {

constexpr float kTooSlow = 0.9f;  // of the frames that arrive

FilterStatus Say(const char *state, obs_text_info_type level) {
  return {state, Text(std::string("Status.") + state), level};
}

// Where the open vision runner looks for what finds faces. It comes with the module where no package has it.
bool HasCascades() {
  const char *named = std::getenv("TESSERA_CASCADES");
  const std::string unpacked = ModuleFile("cascades");
  std::string folder = unpacked.empty() ? "/usr/share/opencv4/haarcascades" : unpacked;
  if (named && *named) folder = named;
  return os_file_exists((folder + "/haarcascade_frontalface_alt2.xml").c_str());
}

bool IsTooSlow(const StatisticsSample &sample) {
  return sample.arrived_fps >= 1 && sample.render_fps < kTooSlow * sample.arrived_fps;
}

std::string Milliseconds(const std::vector<StatisticsSample> &samples) {
  float slowest = 0;
  for (const StatisticsSample &sample : samples) slowest = std::max(slowest, sample.filter_avg);
  char text[32];
  std::snprintf(text, sizeof(text), "%.1f", static_cast<double>(slowest));
  return text;
}

}  // namespace

FilterStatus BeautyStatus(const BeautyCondition &condition) {
  if (condition.has_source && !condition.camera_frames) return Say("NoCameraFrames", OBS_TEXT_INFO_WARNING);
  if (condition.engine == VANTA_ENGINE_MISSING) return Say("NoEngine", OBS_TEXT_INFO_ERROR);
  if (condition.needs_faces && !condition.cascades) return Say("NoCascades", OBS_TEXT_INFO_WARNING);
  if (condition.idle) return Say("Off", OBS_TEXT_INFO_NORMAL);
  if (std::any_of(condition.statistics.begin(), condition.statistics.end(), IsTooSlow))
    return Say("TooSlow", OBS_TEXT_INFO_WARNING);
  if (condition.engine == VANTA_ENGINE_UNKNOWN) return Say("Waiting", OBS_TEXT_INFO_NORMAL);
  if (condition.statistics.empty()) return Say("Running", OBS_TEXT_INFO_NORMAL);
  FilterStatus status = Say("RunningWithTime", OBS_TEXT_INFO_NORMAL);
  status.text = Filled(status.text, Milliseconds(condition.statistics));
  return status;
}

BeautyCondition ConditionOf(obs_source_t *beauty_filter) {
  BeautyCondition condition;
  condition.engine = vanta_host_get_engine_state();
  if (obs_source_t *parent = beauty_filter ? obs_filter_get_parent(beauty_filter) : nullptr) {
    condition.has_source = true;
    condition.camera_frames = (obs_source_get_output_flags(parent) & OBS_SOURCE_ASYNC_VIDEO) == OBS_SOURCE_ASYNC_VIDEO;
  }
  condition.idle = Controls().IsIdle();
  condition.needs_faces = Controls().Look().NeedsFaces();
  condition.cascades = HasCascades();
  condition.statistics = ReadStatistics();
  return condition;
}

FilterStatus GreenScreenStatus(obs_source_t *filter) {
  return ShowsUnkeyed(filter) ? Say("Unkeyed", OBS_TEXT_INFO_WARNING) : Say("Keyed", OBS_TEXT_INFO_NORMAL);
}

FilterStatus LandmarkStatus(obs_source_t *filter) {
  if (!HasCascades()) return Say("NoCascades", OBS_TEXT_INFO_WARNING);
  const FoundFaces faces = FacesOf(filter);
  FilterStatus status = Say(faces.tellers > 1 ? "FacesTogether" : "Faces", OBS_TEXT_INFO_NORMAL);
  status.state += std::to_string(faces.count);
  status.text = Filled(status.text, std::to_string(faces.count));
  return status;
}

}  // namespace vanta_host
