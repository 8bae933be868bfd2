#include "fakes/engine/scripted_engine.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "fakes/call_order.h"
#include "fakes/fresh_start.h"
#include "fixtures/process/wait.h"

namespace vanta_test {
namespace {

struct GateState {
  bool closed = false;
  int permits = 0;
  int waiting = 0;
};

struct Engines {
  std::mutex mutex;
  std::condition_variable changed;
  std::shared_ptr<const EngineScript> script = std::make_shared<EngineScript>();
  bool recording = true;
  std::vector<EngineCall> calls;
  int created = 0;
  int alive = 0;
  uint64_t frames_processed = 0;
  std::map<int, EngineCallbacks> callbacks;
  std::array<GateState, 4> gates;
};

Engines &GetEngines() {
  static Engines *engines = new Engines;
  return *engines;
}

void PassGate(Gate gate) {
  Engines &engines = GetEngines();
  std::unique_lock<std::mutex> lock(engines.mutex);
  GateState &state = engines.gates[static_cast<size_t>(gate)];
  if (!state.closed) return;
  ++state.waiting;
  engines.changed.notify_all();
  engines.changed.wait(lock, [&] { return !state.closed || state.permits > 0; });
  if (state.closed) --state.permits;
  --state.waiting;
}

template <typename Condition>
bool WaitOn(Condition condition, const std::string &what) {
  Engines &engines = GetEngines();
  std::unique_lock<std::mutex> lock(engines.mutex);
  if (engines.changed.wait_for(lock, kWatchdog, condition)) return true;
  std::string seen;
  for (const EngineCall &call : engines.calls) seen += "\n  " + call.text;
  ADD_FAILURE() << "waited in vain for the engine: " << what << "\ncalls:" << seen;
  return false;
}

bool BeginsWith(const std::string &text, const std::string &prefix) {
  return text.rfind(prefix, 0) == 0;
}

size_t CountLocked(const Engines &engines, const std::string &prefix) {
  return static_cast<size_t>(std::count_if(engines.calls.begin(), engines.calls.end(),
                                           [&](const EngineCall &call) { return BeginsWith(call.text, prefix); }));
}

VANTA_PRINTF(1, 2) std::string Format(const char *format, ...) {
  char buffer[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  return buffer;
}

std::string Join(const std::vector<std::string> &parts) {
  std::string text;
  for (const std::string &part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string Text(const std::map<std::string, std::string> &rows) {
  std::vector<std::string> parts;
  for (const auto &[key, value] : rows) parts.push_back(key + "=" + value);
  return "{" + Join(parts) + "}";
}

}  // namespace

namespace scripted_internal {

bool Recording() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.recording;
}

void Note(int engine, std::string text) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  if (!engines.recording) return;
  call_order::Note(text);
  engines.calls.push_back({engine, std::move(text), std::this_thread::get_id()});
  engines.changed.notify_all();
}

bool WindowsCanBeMade() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.script->window;
}

void ChangePoolSize(int &width, int &height) {
  Engines &engines = GetEngines();
  std::shared_ptr<const EngineScript> script;
  {
    std::lock_guard<std::mutex> lock(engines.mutex);
    script = engines.script;
  }
  if (script->pool_size) script->pool_size(width, height);
}

}  // namespace scripted_internal

using scripted_internal::Note;
using scripted_internal::Recording;

namespace scripted_engine {

void Reset() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  engines.script = std::make_shared<EngineScript>();
  engines.recording = true;
  engines.calls.clear();
  engines.created = 0;
  engines.frames_processed = 0;
  engines.callbacks.clear();
  for (GateState &gate : engines.gates) gate.closed = false;
  engines.changed.notify_all();
}

const FreshStart fresh_start(&Reset);

void SetScript(const EngineScript &script) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  engines.script = std::make_shared<EngineScript>(script);
}

void Change(const std::function<void(EngineScript &)> &change) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  auto script = std::make_shared<EngineScript>(*engines.script);
  change(*script);
  engines.script = std::move(script);
}

void SetRecording(bool on) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  engines.recording = on;
}

std::vector<EngineCall> Calls() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.calls;
}

std::vector<std::string> Texts() {
  std::vector<std::string> texts;
  for (const EngineCall &call : Calls()) texts.push_back(call.text);
  return texts;
}

std::vector<std::string> Texts(int engine) {
  std::vector<std::string> texts;
  for (const EngineCall &call : Calls()) {
    if (call.engine == engine) texts.push_back(call.text);
  }
  return texts;
}

void ClearCalls() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  engines.calls.clear();
}

size_t Count(const std::string &prefix) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return CountLocked(engines, prefix);
}

bool WaitForCalls(const std::string &prefix, size_t count) {
  return WaitOn([&] { return CountLocked(GetEngines(), prefix) >= count; }, std::to_string(count) + " x " + prefix);
}

int Created() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.created;
}

int Alive() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.alive;
}

uint64_t FramesProcessed() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.frames_processed;
}

bool WaitForFrames(uint64_t count) {
  return WaitOn([&] { return GetEngines().frames_processed >= count; }, std::to_string(count) + " processed frames");
}

EngineCallbacks Callbacks(int engine) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.callbacks[engine];
}

void Close(Gate gate) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  engines.gates[static_cast<size_t>(gate)].closed = true;
  engines.gates[static_cast<size_t>(gate)].permits = 0;
}

void Open(Gate gate) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  engines.gates[static_cast<size_t>(gate)].closed = false;
  engines.changed.notify_all();
}

bool IsClosed(Gate gate) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.gates[static_cast<size_t>(gate)].closed;
}

void LetOneThrough(Gate gate) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  ++engines.gates[static_cast<size_t>(gate)].permits;
  engines.changed.notify_all();
}

int Waiting(Gate gate) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.gates[static_cast<size_t>(gate)].waiting;
}

bool WaitAt(Gate gate, int count) {
  return WaitOn([&] { return GetEngines().gates[static_cast<size_t>(gate)].waiting >= count; },
                std::to_string(count) + " calls at gate " + std::to_string(static_cast<int>(gate)));
}

}  // namespace scripted_engine
}  // namespace vanta_test

using vanta_test::EngineCallbacks;
using vanta_test::Engines;
using vanta_test::EngineScript;
using vanta_test::Format;
using vanta_test::Gate;
using vanta_test::GetEngines;
using vanta_test::scripted_internal::Note;
using vanta_test::scripted_internal::Recording;

namespace LX {

struct LumivexSync::Impl {
  int number = 0;
};

namespace {

void Bind(int number, const std::function<void(EngineCallbacks &)> &bind) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  bind(engines.callbacks[number]);
}

std::shared_ptr<const EngineScript> Script() {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  return engines.script;
}

std::string ConfigText(const LXEngineConfig *config) {
  return Format("%s, %d, %d, %d", config->path, config->flags, config->width, config->height);
}

}  // namespace

LumivexSync::LumivexSync() : impl_(std::make_unique<Impl>()) {
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  impl_->number = ++engines.created;
  ++engines.alive;
}

LumivexSync::~LumivexSync() {
  vanta_test::PassGate(Gate::kDestroy);
  Note(impl_->number, "~LumivexSync()");
  Engines &engines = GetEngines();
  std::lock_guard<std::mutex> lock(engines.mutex);
  --engines.alive;
  engines.changed.notify_all();
}

std::shared_ptr<LumivexSync> LumivexSync::createEngine(const LXEngineConfig *config) {
  vanta_test::PassGate(Gate::kCreate);
  std::shared_ptr<LumivexSync> engine(Script()->create ? new LumivexSync : nullptr);
  Note(engine ? engine->impl_->number : 0, "createEngine(" + ConfigText(config) + ")");
  return engine;
}

std::shared_ptr<LumivexSync> LumivexSync::createEngine(const LXEngineConfig *config,
                                                       std::shared_ptr<GLFWwindow> window) {
  vanta_test::PassGate(Gate::kCreate);
  std::shared_ptr<LumivexSync> engine(Script()->create ? new LumivexSync : nullptr);
  Note(engine ? engine->impl_->number : 0,
       "createEngine(" + ConfigText(config) + (window ? ", window)" : ", null window)"));
  return engine;
}

void LumivexSync::setBeautyGroupPath(const LXGroupConfig &config) {
  Note(impl_->number, Format("setBeautyGroupPath(%s, %d)", config.path, config.is_group));
}
void LumivexSync::setModelPathDic(const std::map<std::string, std::string> &path_dic) {
  Note(impl_->number, "setModelPathDic(" + vanta_test::Text(path_dic) + ")");
}
void LumivexSync::setModelRootPath(std::string path) {
  Note(impl_->number, "setModelRootPath(" + path + ")");
}
void LumivexSync::setTesseraCpuDataFunc(
    std::function<void(std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>)> callback) {
  Note(impl_->number, "setTesseraCpuDataFunc()");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.cpu_data = std::move(callback); });
}
void LumivexSync::setTesseraUploadStatsCallBack(std::function<void(const std::string &)> callback,
                                                const std::string &name) {
  Note(impl_->number, "setTesseraUploadStatsCallBack(" + name + ")");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.upload_stats = std::move(callback); });
}
void LumivexSync::setTesseraPostReportCallBack(std::function<void(const std::string &, const std::string &)> callback) {
  Note(impl_->number, "setTesseraPostReportCallBack()");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.post_report = std::move(callback); });
}
void LumivexSync::setTesseraLogCallBack(std::function<void(const std::string &, const std::string &)> callback) {
  Note(impl_->number, "setTesseraLogCallBack()");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.log = std::move(callback); });
}
void LumivexSync::setGameDataCallback(std::function<void(const BoomGameData &)> callback) {
  Note(impl_->number, "setGameDataCallback()");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.game_data = std::move(callback); });
}
void LumivexSync::setBodySlimmingStatusCallback(const std::function<void(LXBodySlimmingStatus)> &callback) {
  Note(impl_->number, "setBodySlimmingStatusCallback()");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.body_slimming = callback; });
}
void LumivexSync::setEffectDescriptionCallback(std::function<void(const std::string &, bool)> callback) {
  Note(impl_->number, "setEffectDescriptionCallback()");
  Bind(impl_->number, [&](EngineCallbacks &bound) { bound.effect_description = std::move(callback); });
}

std::shared_ptr<FrameData> LumivexSync::processFrameData(std::shared_ptr<FrameData> frame) {
  if (Recording()) {
    Note(impl_->number, Format("processFrameData(%dx%d, format %d, rotation %d, flip %d)", frame->width, frame->height,
                               frame->pixel_format, frame->rotation, frame->flip));
  }
  vanta_test::PassGate(Gate::kProcess);
  const std::shared_ptr<const EngineScript> script = Script();
  if (script->on_frame) script->on_frame(*frame);
  vanta_test::scripted_internal::MoveClock(script->process_time);
  std::shared_ptr<FrameData> result;
  if (script->answer == EngineScript::Answer::kSameFrame) result = frame;
  if (script->answer == EngineScript::Answer::kOtherFrame) result = vanta_test::scripted_internal::CopyFrame(*frame);
  if (result) {
    if (!script->keep_format) result->pixel_format = script->out_format;
    result->tessera_ms = script->tessera_ms;
    result->beauty_ms = script->beauty_ms;
    if (result->dump_flag) result->dump_text = script->dump_text;
    if (script->shared_texture) result->shared_texture = script->shared_texture;
  }
  {
    Engines &engines = GetEngines();
    std::lock_guard<std::mutex> lock(engines.mutex);
    ++engines.frames_processed;
    engines.changed.notify_all();
  }
  if (script->answer == EngineScript::Answer::kThrow) throw std::runtime_error("the engine threw");
  return result;
}

bool LumivexSync::isNVDXInteropSupported(bool wait, std::chrono::milliseconds timeout) {
  Note(impl_->number, Format("isNVDXInteropSupported(%d, %lld)", wait, static_cast<long long>(timeout.count())));
  vanta_test::PassGate(Gate::kInterop);
  return Script()->interop;
}
std::string LumivexSync::getStats() {
  Note(impl_->number, "getStats()");
  const std::shared_ptr<const EngineScript> script = Script();
  if (script->on_stats) script->on_stats();
  return script->stats;
}
void LumivexSync::clearStats() {
  Note(impl_->number, "clearStats()");
}
void LumivexSync::getTesseraStat(std::string &out) {
  Note(impl_->number, "getTesseraStat()");
  out = Script()->tessera_stat;
}

void LumivexSync::updateTesseraParams(const std::string &json) {
  Note(impl_->number, "updateTesseraParams(" + json + ")");
}
void LumivexSync::beginBatchCommand() {
  Note(impl_->number, "beginBatchCommand()");
}
void LumivexSync::endBatchCommand() {
  Note(impl_->number, "endBatchCommand()");
}
void LumivexSync::setEffectEnabledWithEffectType(LXEffectType type, bool enabled) {
  Note(impl_->number, Format("setEffectEnabledWithEffectType(%d, %d)", type, enabled));
}
void LumivexSync::setLookupInfo(LXLookupInfo info) {
  Note(impl_->number, Format("setLookupInfo(%s, %.2f, %d, %d)", info.path, static_cast<double>(info.intensity),
                             info.dimension, info.type));
}
void LumivexSync::setLookupIntensity(float intensity) {
  Note(impl_->number, Format("setLookupIntensity(%.2f)", static_cast<double>(intensity)));
}
void LumivexSync::setMakeupInfo(const std::vector<LXMakeupInfo> &layers) {
  std::vector<std::string> parts;
  for (const LXMakeupInfo &layer : layers) {
    parts.push_back(
        Format("%s %s %d %.2f", layer.resourceDir, layer.key, layer.word, static_cast<double>(layer.intensity)));
  }
  Note(impl_->number, "setMakeupInfo(" + vanta_test::Join(parts) + ")");
}
void LumivexSync::setMakeupIntensityWithKey(std::string key, float intensity) {
  Note(impl_->number, Format("setMakeupIntensityWithKey(%s, %.2f)", key.c_str(), static_cast<double>(intensity)));
}
void LumivexSync::setBeautyIntensityWithType(LXBeautyType type, float intensity) {
  Note(impl_->number, Format("setBeautyIntensityWithType(%d, %.2f)", type, static_cast<double>(intensity)));
}
void LumivexSync::setNaturalityIntensity(float intensity) {
  Note(impl_->number, Format("setNaturalityIntensity(%.2f)", static_cast<double>(intensity)));
}
void LumivexSync::setDeformIntensityWithMode(int mode, float intensity) {
  Note(impl_->number, Format("setDeformIntensityWithMode(%d, %.2f)", mode, static_cast<double>(intensity)));
}
void LumivexSync::setBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) {
  Note(impl_->number, Format("setBodySlimmingIntensityWithType(%d, %.2f)", type, static_cast<double>(intensity)));
}
void LumivexSync::setBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int dir) {
  Note(impl_->number, Format("setBodySlimmingManualLegHeightRangeAndDir(%.2f, %.2f, %d)", static_cast<double>(top),
                             static_cast<double>(bottom), dir));
}
void LumivexSync::setMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) {
  Note(impl_->number, Format("setMagicEffectWithPath(%s, %d, %d)", path.c_str(), slot, flag));
}
void LumivexSync::cancelMagicEffect() {
  Note(impl_->number, "cancelMagicEffect()");
}
void LumivexSync::setEffectStateWithState(LXEffectState state) {
  Note(impl_->number, Format("setEffectStateWithState(%d)", state));
}
void LumivexSync::setEffectIntensityWithType(LXEffectAdjustType type, float intensity) {
  Note(impl_->number, Format("setEffectIntensityWithType(%d, %.2f)", type, static_cast<double>(intensity)));
}
void LumivexSync::setMediaResource(LXMediaResource resource) {
  Note(impl_->number, Format("setMediaResource(%d, %s)", resource.type, resource.mediaPath));
}
void LumivexSync::setBoomGameData(const std::string &json) {
  Note(impl_->number, "setBoomGameData(" + json + ")");
}
void LumivexSync::setMagicCustomImage(const std::vector<std::string> &paths) {
  Note(impl_->number, "setMagicCustomImage(" + vanta_test::Join(paths) + ")");
}
void LumivexSync::loadInteractiveBoxResource(std::string path) {
  Note(impl_->number, "loadInteractiveBoxResource(" + path + ")");
}
void LumivexSync::unloadInteractiveBoxResource() {
  Note(impl_->number, "unloadInteractiveBoxResource()");
}

void setDebugAlertMode(int mode) {
  Note(0, Format("setDebugAlertMode(%d)", mode));
}

}  // namespace LX
