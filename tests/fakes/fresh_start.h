// Tests of one program may share its process; what a double has seen and been told ends with each of them.
#pragma once

#include <gtest/gtest.h>

namespace vanta_test {

// A static object of this kind, beside a double, calls `reset` before each test of the program.
class FreshStart {
 public:
  explicit FreshStart(void (*reset)()) { testing::UnitTest::GetInstance()->listeners().Append(new Listener(reset)); }

 private:
  // Owned by gtest.
  class Listener : public testing::EmptyTestEventListener {
   public:
    explicit Listener(void (*reset)()) : reset_(reset) {}

   private:
    void OnTestStart(const testing::TestInfo &) override { reset_(); }

    void (*const reset_)();
  };
};

}  // namespace vanta_test
