#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <util/base.h>

#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

constexpr size_t kHistory = 256;

std::string Body(size_t index) {
  char body[1024] = "";
  EXPECT_TRUE(vanta_host_get_report(index, nullptr, body, sizeof(body), nullptr)) << index;
  return body;
}

using Reports = std::vector<std::pair<int32_t, std::string>>;

void Collect(void *param, int32_t id, const char *body, uint64_t) {
  static_cast<Reports *>(param)->emplace_back(id, body);
}

TEST(Reports, AreFormatted) {
  blog_user_define_data_report(19, "Create D3D Device %s (%d%%)", "abc", 5);
  EXPECT_EQ(Body(0), "Create D3D Device abc (5%)");
}

TEST(Reports, KeepIdAndTime) {
  blog_user_define_data_report(-4, "first");
  blog_user_define_data_report(12, "second");
  int32_t id = 0;
  uint64_t first = 0, second = 0;
  ASSERT_TRUE(vanta_host_get_report(0, &id, nullptr, 0, &first));
  EXPECT_EQ(id, -4);
  ASSERT_TRUE(vanta_host_get_report(1, &id, nullptr, 0, &second));
  EXPECT_EQ(id, 12);
  EXPECT_NE(first, 0u);
  EXPECT_GE(second, first);
}

TEST(Reports, AJsonBodyIsTakenAsItStands) {
  const char *json = R"({"event_name":"100%s %n %d","displaytime":"5"})";
  blog_user_define_data_report(8, json);
  EXPECT_EQ(Body(0), json);
}

TEST(Reports, ANullFormatIsNoReport) {
  blog_user_define_data_report(8, nullptr);
  EXPECT_FALSE(vanta_host_get_report(0, nullptr, nullptr, 0, nullptr));
}

TEST(Reports, ALongBodyIsKeptWhole) {
  const std::string text(100000, 'x');
  blog_user_define_data_report(19, "%s!", text.c_str());
  std::string body(100100, '\0');
  ASSERT_TRUE(vanta_host_get_report(0, nullptr, body.data(), body.size(), nullptr));
  EXPECT_EQ(body.c_str(), text + "!");
}

TEST(Reports, HistoryHoldsTheNewest256) {
  for (size_t i = 0; i < kHistory + 3; ++i) blog_user_define_data_report(19, "%zu", i);
  EXPECT_EQ(Body(0), "3");
  EXPECT_EQ(Body(kHistory - 1), std::to_string(kHistory + 2));
  EXPECT_FALSE(vanta_host_get_report(kHistory, nullptr, nullptr, 0, nullptr));
}

TEST(Reports, ClearingLeavesNone) {
  blog_user_define_data_report(19, "use gpu map.");
  vanta_host_clear_reports();
  EXPECT_FALSE(vanta_host_get_report(0, nullptr, nullptr, 0, nullptr));
}

TEST(Reports, BodyIsCutToTheBuffer) {
  blog_user_define_data_report(19, "abcdef");
  char body[8];
  std::memset(body, '#', sizeof(body));
  ASSERT_TRUE(vanta_host_get_report(0, nullptr, body, 4, nullptr));
  EXPECT_STREQ(body, "abc");
  EXPECT_EQ(body[4], '#');
  ASSERT_TRUE(vanta_host_get_report(0, nullptr, body, 7, nullptr));
  EXPECT_STREQ(body, "abcdef");
  ASSERT_TRUE(vanta_host_get_report(0, nullptr, body, 1, nullptr));
  EXPECT_STREQ(body, "");
  ASSERT_TRUE(vanta_host_get_report(0, nullptr, body, 0, nullptr));
}

TEST(Reports, BodyIsCutBetweenCharacters) {
  blog_user_define_data_report(19, "a\xE6\x96\x87z");
  char body[8];
  for (size_t size : {3u, 4u}) {
    ASSERT_TRUE(vanta_host_get_report(0, nullptr, body, size, nullptr));
    EXPECT_STREQ(body, "a") << size;
  }
  ASSERT_TRUE(vanta_host_get_report(0, nullptr, body, 5, nullptr));
  EXPECT_STREQ(body, "a\xE6\x96\x87");
}

TEST(ReportSubscriber, GetsEachReport) {
  Reports seen;
  blog_user_define_data_report(19, "before");
  vanta_host_set_report_callback(Collect, &seen);
  blog_user_define_data_report(12, "{\"a\":%d}");
  blog_user_define_data_report(19, "%d", 3);
  vanta_host_set_report_callback(nullptr, nullptr);
  blog_user_define_data_report(19, "after");
  EXPECT_EQ(seen, (Reports{{12, "{\"a\":%d}"}, {19, "3"}}));
}

TEST(ReportSubscriber, ReplacesTheFormerOne) {
  Reports first, second;
  vanta_host_set_report_callback(Collect, &first);
  blog_user_define_data_report(19, "x");
  vanta_host_set_report_callback(Collect, &second);
  blog_user_define_data_report(19, "y");
  vanta_host_set_report_callback(nullptr, nullptr);
  EXPECT_EQ(first, (Reports{{19, "x"}}));
  EXPECT_EQ(second, (Reports{{19, "y"}}));
}

TEST(ReportSubscriber, IsNotCalledOnTheReportingThread) {
  std::thread::id caller;
  vanta_host_set_report_callback([](void *param, int32_t, const char *,
                                    uint64_t) { *static_cast<std::thread::id *>(param) = std::this_thread::get_id(); },
                                 &caller);
  blog_user_define_data_report(19, "x");
  vanta_host_set_report_callback(nullptr, nullptr);
  EXPECT_NE(caller, std::thread::id());
  EXPECT_NE(caller, std::this_thread::get_id());
}

TEST(ReportSubscriber, MayReadReportAndUnsubscribeFromInsideItsCall) {
  static std::atomic<int> calls{0};
  static std::atomic<bool> thread_ended{false};
  vanta_host_set_report_callback(
      [](void *, int32_t, const char *body, uint64_t) {
        thread_local const struct End {
          ~End() { thread_ended = true; }
        } end;
        ++calls;
        EXPECT_EQ(Body(0), body);
        blog_user_define_data_report(19, "waiting");
        vanta_host_set_report_callback(nullptr, nullptr);
        blog_user_define_data_report(19, "nested");
      },
      nullptr);
  blog_user_define_data_report(19, "outer");
  EXPECT_TRUE(vanta_test::WaitUntil([] { return thread_ended.load(); }));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(Body(1), "waiting");
  EXPECT_EQ(Body(2), "nested");
}

// A subscriber that stays in its first call until the test lets it go.
struct HeldCall {
  std::atomic<bool> entered{false}, let_go{false}, left{false};
  Reports seen;

  static void Hold(void *param, int32_t id, const char *body, uint64_t) {
    auto &call = *static_cast<HeldCall *>(param);
    call.entered = true;
    while (!call.let_go) std::this_thread::yield();
    call.seen.emplace_back(id, body);
    call.left = true;
  }
};

// Reports, and is back while the subscriber is still in its call.
void ReportInto(HeldCall &held, const char *body) {
  std::atomic<bool> back{false};
  std::thread reporter([&] {
    blog_user_define_data_report(19, body);
    back = true;
  });
  EXPECT_TRUE(vanta_test::WaitUntil([&] { return back && held.entered; }));
  EXPECT_FALSE(held.left);
  if (!back) held.let_go = true;
  reporter.join();
}

TEST(ReportSubscriber, DoesNotHoldUpTheReportingThread) {
  HeldCall held;
  vanta_host_set_report_callback(HeldCall::Hold, &held);
  ReportInto(held, "x");
  held.let_go = true;
  vanta_host_set_report_callback(nullptr, nullptr);
}

TEST(ReportSubscriber, UnsubscribingWaitsForACallInProgressAndForWhatCameBefore) {
  HeldCall held;
  vanta_host_set_report_callback(HeldCall::Hold, &held);
  ReportInto(held, "1");
  blog_user_define_data_report(19, "2");
  std::atomic<bool> returned{false};
  std::thread unsubscriber([&] {
    vanta_host_set_report_callback(nullptr, nullptr);
    returned = true;
  });
  for (int i = 0; i < 2000; ++i) std::this_thread::yield();
  EXPECT_FALSE(returned);
  held.let_go = true;
  unsubscriber.join();
  EXPECT_EQ(held.seen, (Reports{{19, "1"}, {19, "2"}}));
}

TEST(ReportSubscriber, IsNotCalledBeforeTheFormerOneHasEnded) {
  HeldCall former, next;
  next.let_go = true;
  vanta_host_set_report_callback(HeldCall::Hold, &former);
  ReportInto(former, "1");
  std::thread replacer([&] { vanta_host_set_report_callback(HeldCall::Hold, &next); });
  for (int i = 0; i < 2000; ++i) {
    blog_user_define_data_report(19, "2");
    std::this_thread::yield();
  }
  EXPECT_FALSE(next.entered);
  former.let_go = true;
  replacer.join();
  blog_user_define_data_report(19, "3");
  vanta_host_set_report_callback(nullptr, nullptr);
  EXPECT_EQ(next.seen.back().second, "3");
}

TEST(ReportSubscriber, DetachingWaitsUntilItHasWhatCameBefore) {
  HeldCall held;
  vanta_host_set_report_callback(HeldCall::Hold, &held);
  ReportInto(held, "1");
  blog_user_define_data_report(19, "2");
  std::atomic<bool> returned{false};
  size_t seen = 0;
  std::thread detacher([&] {
    vanta_host_detach();
    seen = held.seen.size();
    returned = true;
  });
  for (int i = 0; i < 2000; ++i) std::this_thread::yield();
  EXPECT_FALSE(returned);
  held.let_go = true;
  detacher.join();
  EXPECT_EQ(seen, 2u);
  blog_user_define_data_report(19, "3");
  vanta_host_set_report_callback(nullptr, nullptr);
  EXPECT_EQ(held.seen.size(), 3u) << "detaching keeps the subscriber";
}

TEST(ReportSubscriber, LosesTheOldestWhenItIsTooSlowAndTheLogTells) {
  constexpr int kWaiting = 4096;
  vanta_test::LogCapture log;
  HeldCall held;
  vanta_host_set_report_callback(HeldCall::Hold, &held);
  ReportInto(held, "first");
  for (int i = 0; i < kWaiting + 3; ++i) blog_user_define_data_report(19, "%d", i);
  held.let_go = true;
  vanta_host_set_report_callback(nullptr, nullptr);
  ASSERT_EQ(held.seen.size(), size_t{1} + kWaiting);
  EXPECT_EQ(held.seen[1].second, "3");
  EXPECT_EQ(held.seen.back().second, std::to_string(kWaiting + 2));
  EXPECT_TRUE(log.Has(LOG_WARNING, "[vanta_host] 3 reports were not handed on: the subscriber is too slow"));
}

TEST(ReportSubscriber, GetsReportsOfSeveralThreadsInTheHistorysOrder) {
  Reports seen;
  vanta_host_set_report_callback(Collect, &seen);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([thread] {
      for (int k = 0; k < 64; ++k) blog_user_define_data_report(19, "%d of %d", k, thread);
    });
  for (std::thread &thread : threads) thread.join();
  vanta_host_set_report_callback(nullptr, nullptr);
  ASSERT_EQ(seen.size(), kHistory);
  for (size_t i = 0; i < kHistory; ++i) EXPECT_EQ(seen[i].second, Body(i)) << i;
}

TEST(ReportSubscriberDeathTest, ProcessEndsCleanlyWithASubscriberThatWasNotTakenOff) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        vanta_host_set_report_callback(Collect, new Reports);  // outlives main
        blog_user_define_data_report(19, "x");
        std::exit(3);
      },
      testing::ExitedWithCode(3), "");
}

TEST(ReportSubscriberDeathTest, ProcessMayEndFromInsideASubscribersCall) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        vanta_host_set_report_callback([](void *, int32_t, const char *, uint64_t) { std::exit(4); }, nullptr);
        blog_user_define_data_report(19, "x");
        for (;;) std::this_thread::yield();
      },
      testing::ExitedWithCode(4), "");
}

TEST(CorvidLog, GoesToTheLogUnderItsTag) {
  vanta_test::LogCapture log;
  blog_corvid(LOG_WARNING, "%s: %s", "runner", "100%s");
  EXPECT_TRUE(log.Has(LOG_WARNING, "[corvid] runner: 100%s"));
}

TEST(CorvidLog, KeepsTheLevel) {
  vanta_test::LogCapture log;
  blog_corvid(LOG_INFO, "a");
  blog_corvid(LOG_ERROR, "b");
  blog_corvid(LOG_ERROR, nullptr);
  EXPECT_EQ(log.Lines(), (std::vector<vanta_test::LogLine>{{LOG_INFO, "[corvid] a"}, {LOG_ERROR, "[corvid] b"}}));
}

}  // namespace
