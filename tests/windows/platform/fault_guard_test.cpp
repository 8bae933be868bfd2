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

void ReadByte(void *page) {
  static_cast<void>(*static_cast<Page *>(page)->memory);
}

TEST(FaultGuard, RunsTheBodyOnceWithItsParameter) {
  int runs = 0;
  EXPECT_TRUE(vanta::RunGuarded([](void *param) { ++*static_cast<int *>(param); }, &runs));
  EXPECT_EQ(runs, 1);
}

TEST(FaultGuard, ReadOfAReadablePageIsNoFault) {
  Page page;
  EXPECT_TRUE(vanta::RunGuarded(ReadByte, &page));
}

TEST(FaultGuard, ReadOfAnUnreadablePageIsCaught) {
  Page page;
  page.MakeUnreadable();
  EXPECT_FALSE(vanta::RunGuarded(ReadByte, &page));
}

TEST(FaultGuard, CatchesEveryFaultNotOnlyTheFirst) {
  Page page;
  page.MakeUnreadable();
  for (int i = 0; i < 1000; ++i) ASSERT_FALSE(vanta::RunGuarded(ReadByte, &page)) << i;
}

TEST(FaultGuard, WorksAgainAfterAFault) {
  Page page;
  page.MakeUnreadable();
  vanta::RunGuarded(ReadByte, &page);
  Page other;
  EXPECT_TRUE(vanta::RunGuarded(ReadByte, &other));
}

TEST(FaultGuard, WriteThroughNullIsCaught) {
  EXPECT_FALSE(vanta::RunGuarded(
      [](void *) {
        volatile int *volatile nowhere = nullptr;
        *nowhere = 1;
      },
      nullptr));
}

TEST(FaultGuard, DivisionByZeroIsCaught) {
  EXPECT_FALSE(vanta::RunGuarded(
      [](void *param) {
        volatile int zero = 0;
        *static_cast<volatile int *>(param) = 7 / zero;
      },
      std::make_unique<int>().get()));
}

TEST(FaultGuard, InnerGuardCatchesWithoutTheOuter) {
  Page page;
  page.MakeUnreadable();
  bool inner = true;
  struct Both {
    Page *page;
    bool *inner;
  } both{&page, &inner};
  EXPECT_TRUE(vanta::RunGuarded(
      [](void *param) {
        const Both &given = *static_cast<Both *>(param);
        *given.inner = vanta::RunGuarded(ReadByte, given.page);
      },
      &both));
  EXPECT_FALSE(inner);
}

TEST(FaultGuard, LanguageExceptionPassesThroughIt) {
  EXPECT_THROW(vanta::RunGuarded([](void *) { throw std::runtime_error("ours"); }, nullptr), std::runtime_error);
}

TEST(FaultGuard, StillGuardsAfterALanguageException) {
  try {
    vanta::RunGuarded([](void *) { throw std::runtime_error("ours"); }, nullptr);
  } catch (const std::runtime_error &) {
  }
  Page page;
  page.MakeUnreadable();
  EXPECT_FALSE(vanta::RunGuarded(ReadByte, &page));
}

TEST(FaultGuard, ThreadsFaultAtTheSameTimeEachOnItsOwn) {
  std::atomic<int> caught{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      Page page;
      page.MakeUnreadable();
      for (int k = 0; k < 100; ++k) caught += vanta::RunGuarded(ReadByte, &page) ? 0 : 1;
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(caught, 400);
}

}  // namespace
