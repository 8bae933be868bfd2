// `ProcessorHolder` holds the worker's processor: every use of it goes through here, under `render_mutex`.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "engine/command_receiver.h"
#include "engine/lumivex_processor.h"
#include "vanta_base/mutex.h"

namespace vanta {

class DelayStats;
class WorkerSettings;
class WorkerState;

// A processor is made for one frame size and replaced, never resized. A new one is told what the host's snapshot and
// the settings hold.
// Owns: the processor, the engine's hidden window. Borrows: settings, statistics, state.
// Threads: CreateGlWindow [control], before the thread; CreateFirst, Fits, Recreate, Process, Release [worker]; Call,
// TakeStats [any].
class ProcessorHolder {
 public:
  struct Processed {
    LumivexProcessor::ProcessResult result = LumivexProcessor::kNotProcessed;
    int32_t faces = 0;
  };

  ProcessorHolder(const WorkerSettings &settings, DelayStats &stats, WorkerState &state)
      : settings_(settings), stats_(stats), state_(state) {}
  ProcessorHolder(const ProcessorHolder &) = delete;
  ProcessorHolder &operator=(const ProcessorHolder &) = delete;

  // Where the host wants one; without it engines make their own.
  void CreateGlWindow();

  // The state is running afterwards. No engine starts here: the size is still 0 by 0, so that the first real frame
  // brings its size and a new processor.
  void CreateFirst() VANTA_EXCLUDES(render_mutex_);
  // Whether the worker runs and has a processor for frames of this size, in pixels.
  bool Fits(uint32_t width, uint32_t height) VANTA_EXCLUDES(render_mutex_);
  void Recreate(uint32_t width, uint32_t height) VANTA_EXCLUDES(render_mutex_);
  // Turns the frame as the settings ask and gives it to the engine. Not processed without a processor.
  Processed Process(PooledFrame &frame) VANTA_EXCLUDES(render_mutex_);
  void Release() VANTA_EXCLUDES(render_mutex_);

  // Nothing without a processor.
  void Call(const CommandReceiver::EngineCall &call) VANTA_EXCLUDES(render_mutex_);
  // The engine's statistics text, which begins anew; none without a processor.
  std::optional<std::string> TakeStats() VANTA_EXCLUDES(render_mutex_);

 private:
  void ReplaySnapshot() VANTA_REQUIRES(render_mutex_);

  const WorkerSettings &settings_;
  DelayStats &stats_;
  WorkerState &state_;

  Mutex render_mutex_;
  std::shared_ptr<LumivexProcessor> render_ VANTA_GUARDED_BY(render_mutex_);
  std::shared_ptr<GLFWwindow> gl_window_;  // constant while the thread runs; may be empty

  // [worker]: the size that the engine was last initialised with, in pixels.
  uint32_t render_width_ = 0;
  uint32_t render_height_ = 0;
};

}  // namespace vanta
