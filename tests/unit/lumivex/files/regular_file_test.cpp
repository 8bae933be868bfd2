#include "platform/regular_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

using lumivex::FileFault;
using lumivex::ReadRegularFile;

TEST(RegularFile, IsReadWhole) {
  const std::string text(5000, 'x');
  const auto content = ReadRegularFile(WriteFile("whole", text), 5000);
  EXPECT_EQ(content.fault, FileFault::kNone);
  EXPECT_EQ(std::string(content.bytes.begin(), content.bytes.end()), text);
}

TEST(RegularFile, ThatIsTooLongIsRefused) {
  const auto content = ReadRegularFile(WriteFile("long", std::string(5001, 'x')), 5000);
  EXPECT_EQ(content.fault, FileFault::kTooLong);
  EXPECT_TRUE(content.bytes.empty());
}

// Reading it would wait for somebody who writes.
TEST(RegularFile, IsNoPipe) {
  const std::string pipe = OwnFolder() + "/pipe";
  std::filesystem::remove(pipe);
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(ReadRegularFile(pipe, 100).fault, FileFault::kNoRegularFile);
}

TEST(RegularFile, IsNoDeviceAndNoFolder) {
  EXPECT_EQ(ReadRegularFile("/dev/zero", 100).fault, FileFault::kNoRegularFile);
  EXPECT_EQ(ReadRegularFile(OwnFolder(), 100).fault, FileFault::kNoRegularFile);
}

TEST(RegularFile, ThatIsMissingCannotBeRead) {
  EXPECT_EQ(ReadRegularFile(OwnFolder() + "/missing", 100).fault, FileFault::kUnreadable);
}

}  // namespace
}  // namespace lumivex_test
