// `InteropRequests` keeps the host's requests for the shared-texture path until the worker judges the latest.
#pragma once

#include <obs.h>

#include <string>
#include <vector>

#include "vanta_base/mutex.h"

namespace vanta {

// open_tasks_mutex is a leaf. Threads: Request [any]; ProcessorMustChange [worker].
class InteropRequests {
 public:
  InteropRequests() = default;
  InteropRequests(const InteropRequests &) = delete;
  InteropRequests &operator=(const InteropRequests &) = delete;

  // Keeps what `settings` asks for; settings that hold no such text ask for nothing.
  void Request(obs_data_t *settings) VANTA_EXCLUDES(open_tasks_mutex_);
  // Whether the latest request differs from the path in use: a processor made anew takes it up. Ends all requests.
  bool ProcessorMustChange() VANTA_EXCLUDES(open_tasks_mutex_);

 private:
  struct OpenTask {
    bool pending;
    bool shared_textures;  // meaningful when pending
  };
  OpenTask TakeOpenTask() VANTA_EXCLUDES(open_tasks_mutex_);

  Mutex open_tasks_mutex_;
  std::vector<std::string> open_tasks_ VANTA_GUARDED_BY(open_tasks_mutex_);
};

}  // namespace vanta
