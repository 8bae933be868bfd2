#include "session/beauty_control.h"

#include <lumivex/lumivex_control.h>
#include <lumivex/lumivex_values.h>

#include <cstring>
#include <filesystem>

#include "commands/settings_update.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

// Cut to the record's length, terminator included.
void CopyPath(char (&target)[kEnginePathSize], const std::string &text) {
  std::strncpy(target, text.c_str(), kEnginePathSize - 1);
  target[kEnginePathSize - 1] = '\0';
}

LXLookupInfo LookupInfo(const LookupOption &option) {
  LXLookupInfo info{};
  CopyPath(info.path, std::filesystem::absolute(option.path).string());
  info.intensity = option.intensity;
  info.dimension = 0;  // the file says
  info.type = lumivex::kLookupByFileName;
  return info;
}

LXGroupConfig GroupConfig(const std::string &group) {
  std::error_code ignored;
  LXGroupConfig config{};
  CopyPath(config.path, std::filesystem::exists(group, ignored) ? std::filesystem::absolute(group).string() : group);
  return config;
}

std::vector<LXMakeupInfo> MakeupLayers(const std::vector<MakeupOption> &options) {
  std::vector<LXMakeupInfo> layers;
  for (const MakeupOption &option : options) {
    LXMakeupInfo layer{};
    CopyPath(layer.resourceDir, option.folder);
    CopyPath(layer.key, option.key.empty() ? std::filesystem::path(option.folder).filename().string() : option.key);
    layer.intensity = option.intensity;
    layers.push_back(layer);
  }
  return layers;
}

}  // namespace

ILumivex *BeautyControl::Faceless() {
  return static_cast<ILumivex *>(vanta_host_get_faceless());
}

void BeautyControl::SetUpHost() const {
  for (const auto &[which, on] : options_.switches) vanta_host_set_switch(which, on);
  lumivex_set_available(options_.engine);
  lumivex_set_delay_ms(static_cast<int>(options_.engine_delay_ms));
  if (options_.InStep()) AskForTheSameEachTime();
}

// Nothing may depend on how fast the machine is: what the engine would do beside the frames, it does with them. What
// the engine takes as a parameter is in Snapshot.
void BeautyControl::AskForTheSameEachTime() const {
  lumivex_set_frames_await_loads(true);
}

FacelessEngineSnapshot BeautyControl::Snapshot() const {
  FacelessEngineSnapshot snapshot;
  // Faces are looked for in the very frame, on the thread that works on it.
  if (options_.InStep()) snapshot.tessera_params = R"({"sync_detect":"1"})";
  for (const auto &[type, on] : options_.stages) snapshot.effect_enabled[type] = on;
  for (const auto &[type, intensity] : options_.beauty) snapshot.beauty[type] = intensity;
  for (const auto &[mode, intensity] : options_.deform) snapshot.deform[mode] = intensity;
  for (const auto &[type, intensity] : options_.slim) snapshot.body_slimming[type] = intensity;
  if (options_.lookup) snapshot.lookup = LookupInfo(*options_.lookup);
  if (!options_.group.empty()) snapshot.group = GroupConfig(options_.group);
  snapshot.makeup = MakeupLayers(options_.makeup);
  return snapshot;
}

void BeautyControl::SendSnapshot() const {
  if (ILumivex *faceless = Faceless()) faceless->SetEngineSnapshot(Snapshot());
}

void BeautyControl::SendCommands() const {
  ILumivex *faceless = Faceless();
  if (faceless == nullptr) return;
  faceless->BeginBatchCommand();
  if (!options_.group.empty()) faceless->SetBeautyGroupPath(GroupConfig(options_.group));
  for (const auto &[type, on] : options_.stages) faceless->SetEffectEnabledWithEffectType(type, on);
  if (options_.lookup) faceless->SetLookupInfo(LookupInfo(*options_.lookup));
  for (const auto &[type, intensity] : options_.beauty) faceless->SetBeautyIntensityWithType(type, intensity);
  for (const auto &[mode, intensity] : options_.deform) faceless->SetDeformIntensityWithMode(mode, intensity);
  for (const auto &[type, intensity] : options_.slim) faceless->SetBodySlimmingIntensityWithType(type, intensity);
  if (!options_.makeup.empty()) faceless->SetMakeupInfo(MakeupLayers(options_.makeup));
  faceless->EndBatchCommand();
}

void BeautyControl::StartEffect(const std::string &event) const {
  ILumivex *faceless = Faceless();
  if (faceless == nullptr || options_.effect.empty()) return;
  FacelessEngineSnapshot snapshot = Snapshot();
  snapshot.magic_path = options_.effect;
  faceless->SetEngineSnapshot(snapshot);
  faceless->SetMagicEffectWithEvent(options_.effect, kMainEffectSlot, true, event);
}

void BeautyControl::StopEngine(obs_source_t *filter) const {
  lumivex_set_available(false);
  const bool shared = vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE);
  UpdateFilter(filter, {shared ? R"({"lx_enable_nvdx_interop":"close"})" : R"({"lx_enable_nvdx_interop":"open"})"},
               nullptr);
}

std::vector<StatisticsSample> BeautyControl::Statistics() const {
  ILumivex *faceless = Faceless();
  return faceless != nullptr ? faceless->GetBeautyStatistics() : std::vector<StatisticsSample>{};
}

}  // namespace vanta_run
