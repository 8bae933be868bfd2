// What the engine says back: each callback becomes a signal, an event, a report or a call of the host's handler.
#include <util/base.h>

#include "engine/callbacks/effect_description.h"
#include "engine/callbacks/engine_text_log.h"
#include "engine/callbacks/game_data.h"
#include "engine/callbacks/gift.h"
#include "engine/callbacks/magic_signal.h"
#include "engine/lumivex_render.h"
#include "face_points/face_point_signal.h"
#include "face_points/landmark_parsing.h"
#include "obs/host_signal.h"
#include "vanta_filter/engine/ability_handler.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

void LumivexRender::ClearMagicDisableFlags() {
  SendMagicFlags(MagicFlags{});
  magic_main_path_.clear();
}

void LumivexRender::MagicFaceCallBack(const std::string &desc, bool success) {
  LogEngineText("setEffectDescriptionCallback", desc);
  const std::string event_name = EventName();
  blog(LOG_INFO, "[beauty] event_name= %s desc=%s success=%d", event_name.c_str(), desc.c_str(), success);
  if (success)
    HandleEffectDescription(desc, event_name);
  else
    blog(LOG_ERROR, "[beauty] %s CallBack failed ", "LumivexRender::MagicFaceCallBack");
}

// A malformed message throws, back to the engine that sent it.
void LumivexRender::GameDataCallback(const LX::BoomGameData &data) {
  const std::string text = data.json;
  LogEngineText("GameDataCallback", text);
  const std::optional<AbilityRequest> request = ReadGameData(text);
  if (!request) return;
  if (request->ends_effect) {
    if (const std::string event_name = EventName(); !event_name.empty()) {
      SetHostEvent("kEffectMethodClearEffect", event_name);
      return;
    }
    blog(LOG_INFO, "[beauty] kEffectMethodClearEffect: PostGameDataCallback");
  }
  PostGameData(text, *request);
}

void LumivexRender::PostGameData(const std::string &text, const AbilityRequest &request) {
  ILiveEffectJsonAbilityHandler *handler = FindAbilityHandler();
  if (!handler) return;
  blog(LOG_INFO, "[beauty] PostGameDataCallback: %s %s", request.method.c_str(), request.params.c_str());
  handler->PostGameData(text, request.method, request.params);
}

void LumivexRender::BodySlimmingStatusCallback(LXBodySlimmingStatus status) {
  blog(LOG_INFO, "[beauty] %s LXBodySlimmingStatus =%d ", "LumivexRender::BodySlimmingStatusCallback",
       static_cast<int>(status));
  HostSignal signal;
  calldata_set_int(signal.arguments(), "status", status);
  signal.Send("body_slimming_status");
}

// A value that holds no result of the vision runner throws, back to the engine that sent it.
void LumivexRender::TesseraCpuDataCallback(const CpuData &data) {
  if (!data) return;
  const auto landmarks = data->find("landmarks");
  if (landmarks == data->end()) return;
  const auto width = static_cast<uint32_t>(config_.width);
  const auto height = static_cast<uint32_t>(config_.height);
  const auto detect_key = reinterpret_cast<uintptr_t>(parent_.load(std::memory_order_relaxed));
  MutexLock lock(face_mutex_);
  faces_ = FacePointResult();
  ParseLandmarkOut(landmarks->second, faces_, width, height, orientation_, detect_key);
  face_count_.store(faces_.face_count, std::memory_order_relaxed);
  if (FacePointByLX()) PublishFacePoints(faces_, width, height);
}

std::string LumivexRender::EventName() {
  MutexLock lock(event_mutex_);
  return event_name_;
}

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
