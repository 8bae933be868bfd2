#include "platform/wide_text_win32.h"

#include <gtest/gtest.h>

namespace {

TEST(WideText, Utf8BecomesUtf16) {
  EXPECT_EQ(vanta::WideFromUtf8("V\xc3\xa4nta \xe7\xbe\x8e"), L"V\u00e4nta \u7f8e");
}

TEST(WideText, CharacterBeyondTheFirstPlaneTakesTwoUnits) {
  EXPECT_EQ(vanta::WideFromUtf8("\xf0\x9f\x8e\x81").size(), 2u);
}

TEST(WideText, MalformedByteLeavesAMark) {
  EXPECT_EQ(vanta::WideFromUtf8("a\xff"
                                "b"),
            L"a\uFFFDb");
}

TEST(WideText, EmptyTextStaysEmpty) {
  EXPECT_EQ(vanta::WideFromUtf8(""), L"");
}

}  // namespace
