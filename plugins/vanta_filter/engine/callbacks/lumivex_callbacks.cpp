#include "engine/callbacks/lumivex_callbacks.h"

#include <util/base.h>

#include <optional>

#include "engine/callbacks/effect_description.h"
#include "engine/callbacks/engine_text_log.h"
#include "engine/callbacks/game_data.h"
#include "engine/callbacks/gift.h"
#include "obs/host_signal.h"
#include "platform/thread.h"

namespace vanta {
namespace {

// A worker's end waits for its engine's, and that may wait for callbacks: what a callback leads to must not wait for
// the worker.
template <typename Body>
auto AsCallback(Body body) {
  return [body](const auto &...args) {
    const NoJoinScope no_join;
    body(args...);
  };
}

// The text callbacks that have two texts.
auto LogBoth(const char *name) {
  return AsCallback([name](const std::string &first, const std::string &second) {
    LogEngineText(name, first);
    LogEngineText(name, second);
  });
}

}  // namespace

void LumivexCallbacks::Bind(LX::LumivexSync &engine) {
  engine.setTesseraCpuDataFunc(AsCallback([this](const EngineFaces::CpuData &data) { TesseraCpuDataCallback(data); }));
  engine.setTesseraUploadStatsCallBack(
      AsCallback([](const std::string &text) { LogEngineText("setTesseraUploadStatsCallBack", text); }), std::string());
  engine.setTesseraPostReportCallBack(LogBoth("setTesseraPostReportCallBack"));
  engine.setTesseraLogCallBack(LogBoth("setTesseraLogCallBack"));
  engine.setGameDataCallback(AsCallback([this](const LX::BoomGameData &data) { GameDataCallback(data); }));
  engine.setBodySlimmingStatusCallback(
      AsCallback([this](LXBodySlimmingStatus status) { BodySlimmingStatusCallback(status); }));
  engine.setEffectDescriptionCallback(
      AsCallback([this](const std::string &desc, bool success) { MagicFaceCallBack(desc, success); }));
}

void LumivexCallbacks::SetEventName(const std::string &name) {
  MutexLock lock(event_mutex_);
  event_name_ = name;
}

std::string LumivexCallbacks::EventName() {
  MutexLock lock(event_mutex_);
  return event_name_;
}

// Throws what cannot be read back to the engine that sent it.
void LumivexCallbacks::TesseraCpuDataCallback(const EngineFaces::CpuData &data) {
  faces_.Receive(data);
}

// A malformed message throws, back to the engine that sent it.
void LumivexCallbacks::GameDataCallback(const LX::BoomGameData &data) {
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
  abilities_.PostGameData(text, *request);
}

void LumivexCallbacks::BodySlimmingStatusCallback(LXBodySlimmingStatus status) {
  blog(LOG_INFO, "[beauty] %s LXBodySlimmingStatus =%d ", "LumivexRender::BodySlimmingStatusCallback",
       static_cast<int>(status));
  HostSignal signal;
  calldata_set_int(signal.arguments(), "status", status);
  signal.Send("body_slimming_status");
}

void LumivexCallbacks::MagicFaceCallBack(const std::string &desc, bool success) {
  LogEngineText("setEffectDescriptionCallback", desc);
  const std::string event_name = EventName();
  blog(LOG_INFO, "[beauty] event_name= %s desc=%s success=%d", event_name.c_str(), desc.c_str(), success);
  if (success)
    HandleEffectDescription(desc, event_name);
  else
    blog(LOG_ERROR, "[beauty] %s CallBack failed ", "LumivexRender::MagicFaceCallBack");
}

}  // namespace vanta
