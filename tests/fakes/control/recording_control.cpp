#include "fakes/control/recording_control.h"

#include <cstdio>

namespace vanta_test {

std::string RecordingControl::Text(float number) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g", static_cast<double>(number));
  return text;
}

std::string RecordingControl::Text(const LXMakeupInfo &layer) {
  return "(" + Text(layer.resourceDir) + " " + Text(layer.key) + " " + Text(layer.word) + " " + Text(layer.intensity) +
         ")";
}

void RecordingControl::SetModelPathDic(const std::map<std::string, std::string> &path_dic) {
  Note("SetModelPathDic", path_dic);
}

void RecordingControl::SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) {
  std::string line = "SetMakeupInfo";
  for (const LXMakeupInfo &layer : layers) line += " " + Text(layer);
  calls.push_back(line);
}

void RecordingControl::SetMagicCustomImage(const std::vector<std::string> &paths) {
  std::string line = "SetMagicCustomImage";
  for (const std::string &path : paths) line += " " + Text(path);
  calls.push_back(line);
}

// Only what the snapshot holds, in the order of the record.
void RecordingControl::SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) {
  std::string line = "SetEngineSnapshot";
  const auto add = [&line](const char *name, const std::string &text) { line += std::string(" ") + name + text; };
  if (!snapshot.effect_enabled.empty()) add("effect_enabled", Text(snapshot.effect_enabled));
  if (!snapshot.body_slimming.empty()) add("body_slimming", Text(snapshot.body_slimming));
  if (!snapshot.deform.empty()) add("deform", Text(snapshot.deform));
  if (!snapshot.beauty.empty()) add("beauty", Text(snapshot.beauty));
  for (const LXMakeupInfo &layer : snapshot.makeup) add("makeup", Text(layer));
  if (snapshot.lookup) add("lookup", Text(snapshot.lookup->path) + Text(snapshot.lookup->intensity));
  if (snapshot.group) add("group", Text(snapshot.group->path) + Text(snapshot.group->is_group));
  if (!snapshot.model_root_path.empty()) add("model_root_path", Text(snapshot.model_root_path));
  if (!snapshot.basic_adjust.empty()) add("basic_adjust", Text(snapshot.basic_adjust));
  add("words", Text(snapshot.words[0]) + Text(snapshot.words[1]) + Text(snapshot.words[2]));
  if (snapshot.tessera_params) add("tessera_params", Text(*snapshot.tessera_params));
  if (snapshot.magic_path) add("magic_path", Text(*snapshot.magic_path));
  if (snapshot.boom_game_data) add("boom_game_data", Text(*snapshot.boom_game_data));
  calls.push_back(line);
}

std::vector<StatisticsSample> RecordingControl::GetBeautyStatistics() {
  Note("GetBeautyStatistics");
  StatisticsSample sample;
  sample.name = "camera_7";
  sample.arrived_fps = 30;
  return {sample};
}

FacelessJumpInfo RecordingControl::GetFacelessJumpInfo() {
  Note("GetFacelessJumpInfo");
  return jumps.empty() ? FacelessJumpInfo{} : jumps.back();
}

}  // namespace vanta_test
