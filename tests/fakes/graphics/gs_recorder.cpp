#include "fakes/graphics/gs_recorder.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>

#include "fakes/call_order.h"
#include "fakes/fresh_start.h"

namespace vanta_test::gs_recorder {
namespace {

struct Recorder {
  std::mutex mutex;
  bool recording = true;
  std::vector<std::string> calls;
  size_t since_fail_call = 0;
  size_t fail_call = 0;
  std::vector<std::string> fail_prefixes;
  std::map<const void *, std::string> alive;
  std::map<std::string, int> names;
  uint32_t last_handle = 0;
  std::map<std::string, int> brackets;
  std::vector<std::string> misuse;
  int effect_passes = 1;
  bool effect_parameters = true;
  std::vector<std::string> effect_lacks;
  std::string compile_error;
  int acquire_result = 0;
  int device_type = GS_DEVICE_DIRECT3D_11;
  std::function<void()> on_map;
  std::vector<uint8_t> drawn;
  uint8_t next_paint = 0;
  uint8_t painted = 0;
  uint32_t stage_padding = 0;
  std::set<std::thread::id> in_graphics;
  std::string module_file = "/fake/vanta_filter/file";
};

Recorder &Get() {
  static Recorder *recorder = new Recorder;
  return *recorder;
}

thread_local int graphics_depth = 0;

bool BeginsWith(const std::string &text, const std::string &prefix) {
  return text.rfind(prefix, 0) == 0;
}

}  // namespace

void Reset() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  recorder.recording = true;
  recorder.calls.clear();
  recorder.since_fail_call = recorder.fail_call = 0;
  recorder.fail_prefixes.clear();
  recorder.alive.clear();
  recorder.names.clear();
  recorder.last_handle = 0;
  recorder.brackets.clear();
  recorder.misuse.clear();
  recorder.effect_passes = 1;
  recorder.effect_parameters = true;
  recorder.effect_lacks.clear();
  recorder.compile_error.clear();
  recorder.acquire_result = 0;
  recorder.device_type = GS_DEVICE_DIRECT3D_11;
  recorder.on_map = nullptr;
  recorder.drawn.clear();
  recorder.next_paint = recorder.painted = 0;
  recorder.stage_padding = 0;
  recorder.in_graphics.clear();
  recorder.module_file = "/fake/vanta_filter/file";
}

const FreshStart fresh_start(&Reset);

std::vector<std::string> Calls() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  return recorder.calls;
}

std::vector<std::string> CallsWithout(const std::vector<std::string> &prefixes) {
  std::vector<std::string> calls = Calls();
  std::erase_if(calls, [&](const std::string &call) {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const std::string &prefix) { return BeginsWith(call, prefix); });
  });
  return calls;
}

void Clear() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  recorder.calls.clear();
}

size_t Count(const std::string &prefix) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  return static_cast<size_t>(std::count_if(recorder.calls.begin(), recorder.calls.end(),
                                           [&](const std::string &call) { return BeginsWith(call, prefix); }));
}

void SetRecording(bool on) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  recorder.recording = on;
}

void FailCall(size_t k) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  recorder.fail_call = k;
  recorder.since_fail_call = 0;
}

size_t CallsSinceFailCall() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  return recorder.since_fail_call;
}

void FailAll(const std::string &prefix) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  recorder.fail_prefixes.push_back(prefix);
}

void AllowAll() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  recorder.fail_prefixes.clear();
}

size_t ObjectsAlive() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  return static_cast<size_t>(std::count_if(recorder.alive.begin(), recorder.alive.end(), [](const auto &entry) {
    // A render target's texture lives in it, a filter's frame in the filter.
    const std::string &name = entry.second;
    return name != "base effect" && !name.ends_with(".texture") && !name.ends_with(".frame");
  }));
}

std::vector<std::string> Misuse() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  return recorder.misuse;
}

int OpenBrackets() {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  int open = 0;
  for (const auto &[kind, count] : recorder.brackets) open += count;
  return open;
}

void SetEffectPasses(int passes) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().effect_passes = passes;
}

void SetEffectHasParameters(bool has) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().effect_parameters = has;
}

void SetEffectLacks(const std::vector<std::string> &names) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().effect_lacks = names;
}

void SetCompileError(const std::string &text) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().compile_error = text;
}

void SetAcquireResult(int result) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().acquire_result = result;
}

void SetDeviceType(int type) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().device_type = type;
}

void SetPaint(uint8_t value) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().next_paint = value;
}

void SetOnMap(std::function<void()> action) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().on_map = std::move(action);
}

std::vector<uint8_t> DrawnPixels() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().drawn;
}

void SetStagePadding(uint32_t bytes) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().stage_padding = bytes;
}

void SetModuleFile(const std::string &path) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().module_file = path;
}

InGraphics::InGraphics() {
  ++graphics_depth;
}
InGraphics::~InGraphics() {
  --graphics_depth;
}
int GraphicsDepth() {
  return graphics_depth;
}

bool Note(const std::string &text) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  if (recorder.recording) {
    recorder.calls.push_back(text);
    call_order::Note(text);
  }
  ++recorder.since_fail_call;
  if (recorder.fail_call != 0 && recorder.since_fail_call == recorder.fail_call) return true;
  return std::any_of(recorder.fail_prefixes.begin(), recorder.fail_prefixes.end(),
                     [&](const std::string &prefix) { return BeginsWith(text, prefix); });
}

bool NoteInGraphics(const std::string &text) {
  if (graphics_depth < 1) AddMisuse(text + " outside graphics");
  return Note(text);
}

void Track(const void *object, const std::string &name) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().alive[object] = name;
}

bool Untrack(const void *object, const std::string &call) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  if (recorder.alive.erase(object) != 0) return true;
  recorder.misuse.push_back(call + " of an object that is not alive");
  return false;
}

std::string NameOf(const void *object) {
  if (!object) return "null";
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  const auto found = recorder.alive.find(object);
  return found == recorder.alive.end() ? "dead" : found->second;
}

std::string NewName(const std::string &kind) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return kind + std::to_string(++Get().names[kind]);
}

uint32_t NewHandle() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return ++Get().last_handle;
}

void CheckAlive(const void *object, const std::string &call) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  if (!recorder.alive.contains(object)) recorder.misuse.push_back(call + " with an object that is not alive");
}

void Bracket(int by, const std::string &kind) {
  Recorder &recorder = Get();
  std::lock_guard<std::mutex> lock(recorder.mutex);
  int &depth = recorder.brackets[kind];
  depth += by;
  if (depth < 0) recorder.misuse.push_back(kind + " ended without a beginning");
}

void AddMisuse(const std::string &text) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().misuse.push_back(text);
}

std::vector<std::thread::id> ThreadsInGraphics() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return {Get().in_graphics.begin(), Get().in_graphics.end()};
}

void ChangeGraphicsDepth(int by) {
  {
    std::lock_guard<std::mutex> lock(Get().mutex);
    Get().in_graphics.insert(std::this_thread::get_id());
  }
  graphics_depth += by;
  if (graphics_depth < 0) AddMisuse("obs_leave_graphics without obs_enter_graphics");
}

int EffectPasses() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().effect_passes;
}

bool EffectHasParameters() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().effect_parameters;
}

bool EffectLacks(const std::string &effect, const std::string &name) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  if (effect == "base effect") return false;
  return std::find(Get().effect_lacks.begin(), Get().effect_lacks.end(), name) != Get().effect_lacks.end();
}

std::string CompileError() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().compile_error;
}

int AcquireResult() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().acquire_result;
}

int DeviceType() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().device_type;
}

std::function<void()> OnMap() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().on_map;
}

void KeepDrawn(const std::vector<uint8_t> &pixels) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().drawn = pixels;
}

void Paint() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().painted = Get().next_paint;
}

uint8_t Painted() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().painted;
}

uint32_t StagePadding() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().stage_padding;
}

std::string ModuleFile() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().module_file;
}

}  // namespace vanta_test::gs_recorder
