// An effect engine that follows a test's script and notes every call: linked in place of the engine's library.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta_test {

// How the engine answers. Read at each call, so a change holds from the next call on.
struct EngineScript {
  enum class Answer { kSameFrame, kOtherFrame, kNull, kThrow };

  bool create = true;    // false: createEngine gives null
  bool window = true;    // false: createGLFWWindow gives null
  bool interop = false;  // answer of isNVDXInteropSupported
  Answer answer = Answer::kSameFrame;
  int32_t out_format = 1;    // pixel_format of the returned frame
  bool keep_format = false;  // true: the engine leaves pixel_format as it came
  float tessera_ms = 0;
  float beauty_ms = 0;
  std::string dump_text;  // written into frames marked for dump
  std::string stats = "{}";
  std::string tessera_stat;
  std::chrono::nanoseconds process_time{0};               // by which a call of processFrameData moves the movable clock
  std::shared_ptr<LX::DXGLSharedTexture> shared_texture;  // set on returned frames
  // May change the size of a pooled frame that is asked for.
  std::function<void(int &width, int &height)> pool_size;
  // Called inside processFrameData before the answer, with the frame that came in.
  std::function<void(LX::FrameData &)> on_frame;
  std::function<void()> on_stats;  // called inside getStats
};

struct EngineCall {
  int engine = 0;    // number of the engine, from 1 in order of creation; 0 for calls that belong to none
  std::string text;  // "setLookupIntensity(0.50)"
  std::thread::id thread;
};

// What the module bound at start-up.
struct EngineCallbacks {
  std::function<void(std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>)> cpu_data;
  std::function<void(const std::string &)> upload_stats;
  std::function<void(const std::string &, const std::string &)> post_report;
  std::function<void(const std::string &, const std::string &)> log;
  std::function<void(const LX::BoomGameData &)> game_data;
  std::function<void(LXBodySlimmingStatus)> body_slimming;
  std::function<void(const std::string &, bool)> effect_description;
};

// A gate in the engine's way: closed, a call stands before it until the test opens it.
enum class Gate { kCreate, kProcess, kDestroy, kInterop };

// The script of all engines of the process. Threads: any.
namespace scripted_engine {

void Reset();  // default script, no calls, open gates, engines counted from 1 again
void SetScript(const EngineScript &script);
void Change(const std::function<void(EngineScript &)> &change);

// Notes allocate: a test that counts allocations switches them off.
void SetRecording(bool on);
std::vector<EngineCall> Calls();
std::vector<std::string> Texts();            // of all engines, in order
std::vector<std::string> Texts(int engine);  // of one
void ClearCalls();
size_t Count(const std::string &prefix);                     // calls whose text begins so
bool WaitForCalls(const std::string &prefix, size_t count);  // false fails the test

int Created();  // engines made so far
int Alive();    // engines not yet destroyed
uint64_t FramesProcessed();
bool WaitForFrames(uint64_t count);  // until processFrameData has returned so often
EngineCallbacks Callbacks(int engine);

void Close(Gate gate);
void Open(Gate gate);  // for all that stand before it and all that come
bool IsClosed(Gate gate);
void LetOneThrough(Gate gate);
bool WaitAt(Gate gate, int count = 1);  // until so many calls stand before it
int Waiting(Gate gate);                 // calls that stand before it now

uint64_t FramesTaken();  // from all frame pools
size_t FramesAlive();    // frames that somebody still holds

}  // namespace scripted_engine

// Parts of the double itself, for its second source file.
namespace scripted_internal {
void Note(int engine, std::string text);
bool Recording();
bool WindowsCanBeMade();
void MoveClock(std::chrono::nanoseconds by);
void ChangePoolSize(int &width, int &height);
std::shared_ptr<LX::FrameData> CopyFrame(const LX::FrameData &frame);  // with pixels of its own
}  // namespace scripted_internal

// A shared texture whose state the test sets and reads.
class ScriptedTexture : public LX::DXGLSharedTexture {
 public:
  explicit ScriptedTexture(uint64_t texture_handle, uint64_t key = 0);
  uint64_t Key() const;
  int Waits() const;  // calls of waitSync
};

}  // namespace vanta_test
