#include "beauty/worker/command_forwarder.h"

#include <utility>

#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_state.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

void CommandForwarder::Forward(EngineCall call) {
  if (!EnableAsyncBeautyOption()) {
    processor_.Call(call);
    return;
  }
  {
    MutexLock lock(tasks_mutex_);
    tasks_.emplace_back([this, call = std::move(call)] { processor_.Call(call); });
  }
  // After the unlock, so the woken thread never meets a held lock.
  state_.Wake();
}

void CommandForwarder::RunTasks() {
  {
    MutexLock lock(tasks_mutex_);
    tasks_.swap(running_tasks_);
  }
  while (!running_tasks_.empty()) {
    running_tasks_.front()();
    running_tasks_.pop_front();
  }
}

}  // namespace vanta
