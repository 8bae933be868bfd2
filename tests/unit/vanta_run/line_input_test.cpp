#include "commands/line_input.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace vanta_test {
namespace {

using vanta_run::LineInput;

// Owns: a pipe, whose far end writes.
class LineInputTest : public testing::Test {
 protected:
  LineInputTest() { made_ = pipe2(ends_, O_CLOEXEC) == 0; }
  ~LineInputTest() override {
    close(ends_[0]);
    EndWriting();
  }
  void Write(const std::string &text) const {
    EXPECT_EQ(write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void EndWriting() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  bool made_ = false;
  int ends_[2] = {-1, -1};
};

TEST_F(LineInputTest, NothingComesOutOfNothingWithoutWaiting) {
  LineInput input(ends_[0]);
  EXPECT_FALSE(input.Next());
}

TEST_F(LineInputTest, HalfALineWaitsForItsOtherHalf) {
  LineInput input(ends_[0]);
  Write("one");
  EXPECT_FALSE(input.Next());
  Write(" line\n");
  EXPECT_EQ(input.Next(), "one line");
}

TEST_F(LineInputTest, LinesThatCameTogetherComeOneByOne) {
  LineInput input(ends_[0]);
  Write("a\n\nb\n");
  EXPECT_EQ(input.Next(), "a");
  EXPECT_EQ(input.Next(), "");
  EXPECT_EQ(input.Next(), "b");
  EXPECT_FALSE(input.Next());
}

TEST_F(LineInputTest, LastLineNeedsNoEnd) {
  LineInput input(ends_[0]);
  Write("quit");
  EndWriting();
  EXPECT_EQ(input.Next(), "quit");
  EXPECT_FALSE(input.Next());
}

TEST_F(LineInputTest, EndlessLineComesInPieces) {
  LineInput input(ends_[0]);
  fcntl(ends_[1], F_SETPIPE_SZ, 1 << 20);
  const std::string much(1 << 18, 'x');
  size_t come = 0;
  for (int i = 0; i < 8; ++i) {
    Write(much);
    if (const auto piece = input.Next()) come += piece->size();
  }
  EXPECT_GT(come, size_t{1} << 20);
}

}  // namespace
}  // namespace vanta_test
