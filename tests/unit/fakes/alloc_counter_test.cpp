#include "fixtures/process/alloc_counter.h"

#include <gtest/gtest.h>
#include <util/bmem.h>

#include <memory>
#include <thread>

namespace {

TEST(AllocCounter, CountsOperatorNewAndLibobsAllocations) {
  const vanta_test::AllocCounter counter;
  auto number = std::make_unique<int>(1);
  EXPECT_GE(counter.OnThisThread(), 1u);
  if (vanta_test::CountsMalloc()) {
    const uint64_t before = counter.OnThisThread();
    bfree(bmalloc(16));
    EXPECT_EQ(counter.OnThisThread(), before + 1);
  }
  EXPECT_EQ(*number, 1);
}

TEST(AllocCounter, OtherThreadsCountForTheProcessOnly) {
  const vanta_test::AllocCounter counter;
  uint64_t mine = 0;
  uint64_t all = 0;
  std::thread other([] {
    int *volatile number = new int(1);  // volatile: an allocation that nobody sees may be left out
    delete number;
  });
  other.join();
  mine = counter.OnThisThread();
  all = counter.InProcess();
  EXPECT_GT(all, mine);
}

}  // namespace
