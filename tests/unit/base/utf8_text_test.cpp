#include "vanta_base/utf8_text.h"

#include <gtest/gtest.h>

#include <string>

namespace vanta {
namespace {

TEST(Utf8Beginning, IsTheWholeTextWhereThatFits) {
  EXPECT_EQ(Utf8Beginning("", 0), "");
  EXPECT_EQ(Utf8Beginning("é", 2), "é");
  EXPECT_EQ(Utf8Beginning("a€", 10), "a€");
}

TEST(Utf8Beginning, CutsNoCharacterInTwo) {
  const std::string text = "aé€😀";  // of one, two, three and four bytes
  const std::string_view whole[] = {"", "a", "a", "aé", "aé", "aé", "aé€", "aé€", "aé€", "aé€", "aé€😀"};
  for (size_t limit = 0; limit < std::size(whole); ++limit)
    EXPECT_EQ(Utf8Beginning(text, limit), whole[limit]) << limit;
}

TEST(Utf8Beginning, OfBytesThatBeginNoCharacterIsEmpty) {
  EXPECT_EQ(Utf8Beginning("\x80\x80\x80", 2), "");
}

}  // namespace
}  // namespace vanta
