#include "engine/callbacks/engine_text_log.h"

#include <gtest/gtest.h>

#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

TEST(EngineTextLog, PlainTextGoesToTheVisionLog) {
  const LogCapture log;
  vanta::LogEngineText("name", "text");
  vanta::LogEngineText("name", "");
  EXPECT_EQ(host_double::CorvidLines(), (std::vector<LogLine>{{kInfo, "name: text"}, {kInfo, "name: "}}));
  EXPECT_TRUE(log.Lines().empty());
}

TEST(EngineTextLog, TextWithAPerCentSignGoesToTheHostsLogInBase64) {
  const LogCapture log;
  vanta::LogEngineText("name", "100%s");
  EXPECT_TRUE(log.Has(100, "name____base64: MTAwJXM="));
  EXPECT_TRUE(host_double::CorvidLines().empty());
}

TEST(EngineTextLog, Base64PadsAsTheStandardSays) {
  EXPECT_EQ(vanta::EncodeBase64(""), "");
  EXPECT_EQ(vanta::EncodeBase64("f"), "Zg==");
  EXPECT_EQ(vanta::EncodeBase64("fo"), "Zm8=");
  EXPECT_EQ(vanta::EncodeBase64("foo"), "Zm9v");
  EXPECT_EQ(vanta::EncodeBase64("foobar"), "Zm9vYmFy");
  EXPECT_EQ(vanta::EncodeBase64("\xff\xfe\xfd"), "//79");
}

}  // namespace
