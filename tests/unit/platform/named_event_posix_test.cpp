// What becomes of a name that is a semaphore's.
#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/named_event.h"

namespace {

// What a host application makes here in place of an event object.
struct Semaphore {
  explicit Semaphore(const std::string &semaphore_name)
      : name(semaphore_name), handle(sem_open(name.c_str(), O_CREAT | O_EXCL, 0600, 0)) {}
  ~Semaphore() {
    if (handle == SEM_FAILED) return;
    sem_close(handle);
    sem_unlink(name.c_str());
  }
  bool Take() const { return sem_trywait(handle) == 0; }
  std::string name;
  sem_t *handle;
};

std::string Unique(const std::string &name) {
  return name + std::to_string(getpid());
}

TEST(NamedEventPosix, SemaphoreOfThatNameIsPostedOnce) {
  const Semaphore semaphore("/" + Unique("vanta_gift"));
  ASSERT_NE(semaphore.handle, SEM_FAILED);
  EXPECT_TRUE(vanta::SetNamedEvent(Unique("vanta_gift")));
  EXPECT_TRUE(semaphore.Take());
  EXPECT_FALSE(semaphore.Take());
}

TEST(NamedEventPosix, LeadingSlashOfTheNameIsKept) {
  const Semaphore semaphore("/" + Unique("vanta_gift"));
  EXPECT_TRUE(vanta::SetNamedEvent("/" + Unique("vanta_gift")));
  EXPECT_TRUE(semaphore.Take());
}

TEST(NamedEventPosix, FoldersInTheNameBecomeUnderscores) {
  const Semaphore semaphore("/" + Unique("Global_vanta_gift"));
  EXPECT_TRUE(vanta::SetNamedEvent(Unique("Global/vanta/gift")));
  EXPECT_TRUE(semaphore.Take());
}

}  // namespace
