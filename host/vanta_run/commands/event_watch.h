// A named event that this program makes, for an effect's end to set.
#pragma once

#include <semaphore.h>

#include <string>

namespace vanta_run {

// Made on construction, removed on destruction. Threads: [control].
class EventWatch {
 public:
  // Throws Failure(kExitUsage) when the system takes no event of that name.
  explicit EventWatch(std::string name);
  ~EventWatch();
  EventWatch(const EventWatch &) = delete;
  EventWatch &operator=(const EventWatch &) = delete;

  const std::string &name() const { return name_; }
  // True once for each time that it was set.
  bool Take();

 private:
  const std::string name_;
  const std::string semaphore_name_;
  sem_t *semaphore_ = nullptr;
};

}  // namespace vanta_run
