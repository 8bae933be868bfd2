#include "platform/files.h"

#include <gtest/gtest.h>

namespace {

TEST(NativePath, BackSlashesBecomeSlashes) {
  EXPECT_EQ(vanta::NativePath("C:\\VantaLive\\basic\\default\\CorvidModel"), "C:/VantaLive/basic/default/CorvidModel");
}

TEST(NativePath, SlashesStay) {
  EXPECT_EQ(vanta::NativePath("/usr/share\\obs/"), "/usr/share/obs/");
}

TEST(NativePath, EmptyTextStaysEmpty) {
  EXPECT_EQ(vanta::NativePath(""), "");
}

TEST(NativePath, OtherBytesStay) {
  EXPECT_EQ(vanta::NativePath("\xe7\xbe\x8e\\\xe9\xa2\x9c"), "\xe7\xbe\x8e/\xe9\xa2\x9c");
}

TEST(FilesPosix, WriteThatTheDeviceCannotTakeIsRefused) {
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create("/dev/full"));
  EXPECT_FALSE(file.Write("x", 1));
}

}  // namespace
