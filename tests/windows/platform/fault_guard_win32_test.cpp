#include "platform/fault_guard.h"

#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

namespace {

// One page that can be made unreadable.
struct Page {
  Page() : memory(static_cast<volatile char *>(VirtualAlloc(nullptr, 4096, MEM_COMMIT, PAGE_READWRITE))) {}
  ~Page() { VirtualFree(const_cast<char *>(memory), 0, MEM_RELEASE); }
  void MakeUnreadable() {
    DWORD before;
    ASSERT_TRUE(VirtualProtect(const_cast<char *>(memory), 4096, PAGE_NOACCESS, &before));
  }
  volatile char *memory;
};

// False: the guard caught a fault.
bool ReadGuarded(const Page &page) {
  return vanta::RunGuarded([&] { static_cast<void>(*page.memory); });
}

TEST(FaultGuard, ReadOfAReadablePageIsNoFault) {
  Page page;
  EXPECT_TRUE(ReadGuarded(page));
}

TEST(FaultGuard, ReadOfAnUnreadablePageIsCaught) {
  Page page;
  page.MakeUnreadable();
  EXPECT_FALSE(ReadGuarded(page));
}

TEST(FaultGuard, CatchesEveryFaultNotOnlyTheFirst) {
  Page page;
  page.MakeUnreadable();
  for (int i = 0; i < 1000; ++i) ASSERT_FALSE(ReadGuarded(page)) << i;
}

TEST(FaultGuard, WorksAgainAfterAFault) {
  Page page;
  page.MakeUnreadable();
  ReadGuarded(page);
  Page other;
  EXPECT_TRUE(ReadGuarded(other));
}

TEST(FaultGuard, WriteThroughNullIsCaught) {
  EXPECT_FALSE(vanta::RunGuarded([] {
    volatile int *volatile nowhere = nullptr;
    *nowhere = 1;
  }));
}

TEST(FaultGuard, DivisionByZeroIsCaught) {
  volatile int result = 0;
  EXPECT_FALSE(vanta::RunGuarded([&] {
    volatile int zero = 0;
    result = 7 / zero;
  }));
}

TEST(FaultGuard, InnerGuardCatchesWithoutTheOuter) {
  Page page;
  page.MakeUnreadable();
  bool inner = true;
  EXPECT_TRUE(vanta::RunGuarded([&] { inner = ReadGuarded(page); }));
  EXPECT_FALSE(inner);
}

TEST(FaultGuard, LanguageExceptionPassesThroughIt) {
  EXPECT_THROW(vanta::RunGuarded([] { throw std::runtime_error("ours"); }), std::runtime_error);
}

TEST(FaultGuard, StillGuardsAfterALanguageException) {
  try {
    vanta::RunGuarded([] { throw std::runtime_error("ours"); });
  } catch (const std::runtime_error &) {
  }
  Page page;
  page.MakeUnreadable();
  EXPECT_FALSE(ReadGuarded(page));
}

TEST(FaultGuard, ThreadsFaultAtTheSameTimeEachOnItsOwn) {
  std::atomic<int> caught{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      Page page;
      page.MakeUnreadable();
      for (int k = 0; k < 100; ++k) caught += ReadGuarded(page) ? 0 : 1;
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(caught, 400);
}

}  // namespace
