#include "commands/event_watch.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/failure.h"

namespace vanta_run {
namespace {

// As the module's platform/named_event.h has it.
std::string SemaphoreName(const std::string &name) {
  std::string semaphore = name.rfind('/', 0) == 0 ? name : "/" + name;
  std::replace(semaphore.begin() + 1, semaphore.end(), '/', '_');
  return semaphore;
}

}  // namespace

EventWatch::EventWatch(std::string name) : name_(std::move(name)), semaphore_name_(SemaphoreName(name_)) {
  if (semaphore_name_.size() < 2) throw Failure(kExitUsage, "--event", "bad value ''", "give the event's name");
  semaphore_ = sem_open(semaphore_name_.c_str(), O_CREAT | O_EXCL, 0600, 0);
  if (semaphore_ != SEM_FAILED) return;
  throw Failure(
      kExitUsage, "--event",
      errno == EEXIST ? "the event '" + name_ + "' exists already"
                      : "no event '" + name_ + "' can be made: " + std::strerror(errno),
      "give another name; what a run left behind lies in /dev/shm as sem" + ("." + semaphore_name_.substr(1)));
}

EventWatch::~EventWatch() {
  sem_close(semaphore_);
  sem_unlink(semaphore_name_.c_str());
}

bool EventWatch::Take() {
  return sem_trywait(semaphore_) == 0;
}

}  // namespace vanta_run
