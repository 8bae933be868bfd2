// What the engine says back, as far as this version's engine speaks: texts, the body slimming state, and the signals
// that greet and clear an effect.
#include <callback/calldata.h>
#include <callback/signal.h>
#include <util/base.h>

#include "engine/ability_handler.h"
#include "engine/engine_text_log.h"
#include "engine/lumivex_render.h"

namespace vanta {

void LumivexRender::SendMagicFlags(bool beautify, bool deform, bool makeup, bool filter, bool body) {
  calldata_t data;
  calldata_init(&data);
  calldata_set_bool(&data, "disable_beautify", beautify);
  calldata_set_bool(&data, "disable_deform", deform);
  calldata_set_bool(&data, "disable_makeup", makeup);
  calldata_set_bool(&data, "disable_filter", filter);
  calldata_set_bool(&data, "disable_body", body);
  signal_handler_signal(obs_get_signal_handler(), "zt_magic_callback", &data);
  calldata_free(&data);
}

void LumivexRender::ClearMagicDisableFlags() {
  SendMagicFlags(false, false, false, false, false);
  magic_main_path_.clear();
}

void LumivexRender::MagicFaceCallBack(const std::string &desc, bool success) {
  LogEngineText("setEffectDescriptionCallback", desc);
  blog(LOG_INFO, "[beauty] event_name= %s desc=%s success=%d", event_name_.c_str(), desc.c_str(), success);
  if (!success) blog(LOG_ERROR, "[beauty] %s CallBack failed ", "LumivexRender::MagicFaceCallBack");
}

void LumivexRender::GameDataCallback(const LX::BoomGameData &data) {
  LogEngineText("GameDataCallback", data.json);
}

void LumivexRender::BodySlimmingStatusCallback(LXBodySlimmingStatus status) {
  blog(LOG_INFO, "[beauty] %s LXBodySlimmingStatus =%d ", "LumivexRender::BodySlimmingStatusCallback",
       static_cast<int>(status));
  calldata_t data;
  calldata_init(&data);
  calldata_set_int(&data, "status", status);
  signal_handler_signal(obs_get_signal_handler(), "body_slimming_status", &data);
  calldata_free(&data);
}

// Landmarks are not parsed in this version, so no face is counted.
void LumivexRender::TesseraCpuDataCallback(const CpuData &) {}

ILiveEffectJsonAbilityHandler *LumivexRender::FindAbilityHandler() {
  OBSData settings;
  {
    MutexLock lock(settings_mutex_);
    settings = settings_;
  }
  const auto address = settings ? static_cast<uintptr_t>(obs_data_get_int(settings, "effect_json_ability_handler")) : 0;
  if (address == 0) {
    blog(LOG_WARNING, "[beauty] ILiveEffectJsonAbilityHandler is nullptr");
    return nullptr;
  }
  return reinterpret_cast<ILiveEffectJsonAbilityHandler *>(address);
}

}  // namespace vanta
