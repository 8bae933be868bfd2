#include <fcntl.h>
#include <semaphore.h>

#include <algorithm>

#include "platform/named_event.h"

namespace vanta {

namespace {

std::string SemaphoreName(const std::string &name) {
  std::string semaphore = name.rfind('/', 0) == 0 ? name : "/" + name;
  std::replace(semaphore.begin() + 1, semaphore.end(), '/', '_');
  return semaphore;
}

}  // namespace

bool SetNamedEvent(const std::string &name) {
  if (name.empty()) return false;
  sem_t *semaphore = sem_open(SemaphoreName(name).c_str(), 0);
  if (semaphore == SEM_FAILED) return false;
  const bool set = sem_post(semaphore) == 0;
  sem_close(semaphore);
  return set;
}

}  // namespace vanta
