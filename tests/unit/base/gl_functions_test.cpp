#include "vanta_base/gl_functions.h"

#include <gtest/gtest.h>

#include <string>

namespace {

int Seven() {
  return 7;
}

struct Table : vanta::GlFunctions {
  using GlFunctions::GlFunctions;

  int (*first)() = Find("glFirst");
  int (*second)() = Find("glSecond");
  int (*third)() = Find("glThird");
};

void *All(const char *) {
  return reinterpret_cast<void *>(&Seven);
}
void *FirstAlone(const char *name) {
  return std::string(name) == "glFirst" ? All(name) : nullptr;
}

TEST(GlFunctions, AreFoundByTheirNames) {
  const Table table(FirstAlone);
  ASSERT_NE(table.first, nullptr);
  EXPECT_EQ(table.first(), 7);
  EXPECT_EQ(table.second, nullptr);
}

TEST(GlFunctions, ThatAreAllThereMissNone) {
  EXPECT_EQ(Table(All).Missing(), nullptr);
}

TEST(GlFunctions, NameTheFirstThatIsMissing) {
  EXPECT_STREQ(Table(FirstAlone).Missing(), "glSecond");
}

}  // namespace
