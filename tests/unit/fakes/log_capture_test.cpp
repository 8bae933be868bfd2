#include "fixtures/process/log_capture.h"

#include <gtest/gtest.h>
#include <util/base.h>

#include <thread>

namespace {

using vanta_test::LogCapture;

TEST(LogCapture, KeepsLevelAndFormattedTextInOrder) {
  const LogCapture log;
  blog(LOG_WARNING, "one %d", 1);
  blog(LOG_INFO, "two %s", "2");
  EXPECT_EQ(log.Lines(), (std::vector<vanta_test::LogLine>{{LOG_WARNING, "one 1"}, {LOG_INFO, "two 2"}}));
  EXPECT_TRUE(log.Has(LOG_INFO, "two 2"));
  EXPECT_FALSE(log.Has(LOG_INFO, "one 1"));
}

TEST(LogCapture, KeepsLinesLongerThanAnyFixedBuffer) {
  const LogCapture log;
  const std::string longText(100000, 'x');
  blog(LOG_INFO, "%s", longText.c_str());
  EXPECT_EQ(log.Count(longText), 1u);
}

TEST(LogCapture, WaitsForALineOfAnotherThread) {
  const LogCapture log;
  std::thread writer([] { blog(LOG_ERROR, "late"); });
  EXPECT_TRUE(log.WaitFor(LOG_ERROR, "late"));
  writer.join();
}

}  // namespace
