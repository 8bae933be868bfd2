// Named events that the host application makes.
#include "commands/event_watch.h"

#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>

#include "common/failure.h"

namespace vanta_test {
namespace {

using vanta_run::EventWatch;

std::string OwnName() {
  return "vanta_test_event_" + std::to_string(getpid());
}

void Set(const std::string &name) {
  sem_t *semaphore = sem_open(("/" + name).c_str(), 0);
  ASSERT_NE(semaphore, SEM_FAILED);
  sem_post(semaphore);
  sem_close(semaphore);
}

TEST(EventWatch, TellsOnceForEachTime) {
  EventWatch watch(OwnName());
  EXPECT_FALSE(watch.Take());
  Set(OwnName());
  Set(OwnName());
  EXPECT_TRUE(watch.Take());
  EXPECT_TRUE(watch.Take());
  EXPECT_FALSE(watch.Take());
}

TEST(EventWatch, NameIsFreeAgainAfterwards) {
  { const EventWatch watch(OwnName()); }
  EXPECT_EQ(sem_open(("/" + OwnName()).c_str(), 0), SEM_FAILED);
}

TEST(EventWatch, NameThatIsTakenIsRefused) {
  const EventWatch watch(OwnName());
  EXPECT_THROW(EventWatch second(OwnName()), vanta_run::Failure);
  Set(OwnName());  // the first one's is still there
}

TEST(EventWatch, EmptyAndTooLongNamesAreRefused) {
  EXPECT_THROW(EventWatch watch(""), vanta_run::Failure);
  EXPECT_THROW(EventWatch watch(std::string(300, 'n')), vanta_run::Failure);
}

}  // namespace
}  // namespace vanta_test
