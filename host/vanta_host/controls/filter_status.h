// What a filter's page says of how it fares, and what to do about it.
#pragma once

#include <string>
#include <vector>

#include <obs.h>

#include "controls/beauty_look.h"
#include "vanta_filter/stats/statistics_sample.h"
#include "vanta_host.h"

namespace vanta_host {

struct FilterStatus {
  std::string state;  // a page is shown anew when it changes
  std::string text;
  obs_text_info_type level = OBS_TEXT_INFO_NORMAL;
};

// What a beauty filter's status is made from.
struct BeautyCondition {
  vanta_host_engine_state engine = VANTA_ENGINE_UNKNOWN;
  bool has_source = false;     // the filter stands on one
  bool camera_frames = false;  // of a kind that gives frames
  bool idle = false;           // the look is off
  bool needs_faces = false;
  bool cascades = false;  // faces can be found on this machine
  std::vector<StatisticsSample> statistics;
};

// The gravest trouble comes first.
FilterStatus BeautyStatus(const BeautyCondition &condition);
BeautyCondition ConditionOf(obs_source_t *beauty_filter);

FilterStatus GreenScreenStatus(obs_source_t *filter);
FilterStatus LandmarkStatus(obs_source_t *filter);

}  // namespace vanta_host
