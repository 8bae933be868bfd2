#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <util/base.h>

#include "module/host_extensions.h"
#include "support/log_capture.h"
#include "support/wait.h"
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
  vanta_host_set_report_callback(Collect, &second);
  blog_user_define_data_report(19, "x");
  EXPECT_TRUE(first.empty());
  EXPECT_EQ(second.size(), 1u);
}

TEST(ReportSubscriber, MayReadReportAndUnsubscribeFromInsideItsCall) {
  static int calls = 0;
  vanta_host_set_report_callback(
      [](void *, int32_t, const char *body, uint64_t) {
        ++calls;
        EXPECT_EQ(Body(0), body);
        vanta_host_set_report_callback(nullptr, nullptr);
        blog_user_define_data_report(19, "nested");
      },
      nullptr);
  blog_user_define_data_report(19, "outer");
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(Body(1), "nested");
}

struct HeldCall {
  std::atomic<bool> entered{false}, let_go{false}, left{false};
};

TEST(ReportSubscriber, UnsubscribingWaitsForACallInProgress) {
  HeldCall held;
  vanta_host_set_report_callback(
      [](void *param, int32_t, const char *, uint64_t) {
        auto &call = *static_cast<HeldCall *>(param);
        call.entered = true;
        while (!call.let_go) std::this_thread::yield();
        call.left = true;
      },
      &held);
  std::thread reporter([] { blog_user_define_data_report(19, "x"); });
  ASSERT_TRUE(vanta_test::WaitUntil([&] { return held.entered.load(); }));
  std::atomic<bool> returned{false};
  std::thread unsubscriber([&] {
    vanta_host_set_report_callback(nullptr, nullptr);
    EXPECT_TRUE(held.left);
    returned = true;
  });
  for (int i = 0; i < 2000; ++i) std::this_thread::yield();
  EXPECT_FALSE(returned);
  held.let_go = true;
  unsubscriber.join();
  reporter.join();
}

TEST(ReportSubscriber, SeesEveryReportOfSeveralThreads) {
  std::atomic<int> seen{0};
  vanta_host_set_report_callback(
      [](void *param, int32_t, const char *, uint64_t) { ++*static_cast<std::atomic<int> *>(param); }, &seen);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([] {
      for (int k = 0; k < 500; ++k) blog_user_define_data_report(19, "%d", k);
    });
  for (std::thread &thread : threads) thread.join();
  vanta_host_set_report_callback(nullptr, nullptr);
  EXPECT_EQ(seen, 2000);
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
