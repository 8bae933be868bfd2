// What stands before the system's pthread_mutex_destroy (host/vanta_run/common/driver_locks.cpp).
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace {

TEST(DriverLocks, ALockIsDestroyedOnceWhoHoldsItHasLetGo) {
  pthread_mutex_t lock;
  pthread_mutex_init(&lock, nullptr);
  std::promise<void> held;
  std::atomic<bool> let_go{false};
  std::thread holder([&] {
    pthread_mutex_lock(&lock);
    held.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // as long as it is held on purpose
    let_go = true;
    pthread_mutex_unlock(&lock);
  });
  held.get_future().wait();
  EXPECT_EQ(pthread_mutex_destroy(&lock), 0);
  EXPECT_TRUE(let_go);
  holder.join();
}

TEST(DriverLocks, ALockThatNobodyHoldsIsDestroyedAsBefore) {
  pthread_mutex_t lock;
  pthread_mutex_init(&lock, nullptr);
  EXPECT_EQ(pthread_mutex_destroy(&lock), 0);
}

}  // namespace
