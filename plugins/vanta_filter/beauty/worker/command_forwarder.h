// `CommandForwarder` brings commands to the worker's processor, by the host's option: ahead of the next frame, or at
// once.
#pragma once

#include <deque>
#include <functional>

#include "engine/command_receiver.h"
#include "vanta_base/mutex.h"

namespace vanta {

class ProcessorHolder;
class WorkerState;

// Tasks not run die with it. tasks_mutex and render_mutex are never held together.
// Borrows: the processor's holder; the state, to wake the thread. Threads: Forward [any]; RunTasks [worker].
class CommandForwarder final : public CommandReceiver {
 public:
  CommandForwarder(ProcessorHolder &processor, WorkerState &state) : processor_(processor), state_(state) {}
  CommandForwarder(const CommandForwarder &) = delete;
  CommandForwarder &operator=(const CommandForwarder &) = delete;

  void Forward(EngineCall call) override VANTA_EXCLUDES(tasks_mutex_);
  // What was queued up to now, oldest first. What comes meanwhile waits for the next frame.
  void RunTasks() VANTA_EXCLUDES(tasks_mutex_);

 private:
  ProcessorHolder &processor_;
  WorkerState &state_;

  std::deque<std::function<void()>> running_tasks_;  // [worker]; kept: an empty deque costs two allocations

  Mutex tasks_mutex_;
  std::deque<std::function<void()>> tasks_ VANTA_GUARDED_BY(tasks_mutex_);
};

}  // namespace vanta
