#include "platform/files.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

TEST(NativePath, PathStaysAsTheHostWroteIt) {
  EXPECT_EQ(vanta::NativePath("VantaLive\\basic/default\\CorvidModel"), "VantaLive\\basic/default\\CorvidModel");
}

// A file of the test's own.
class FilesWin32 : public testing::Test {
 protected:
  ~FilesWin32() override { fs::remove(path_); }

  const fs::path path_ = fs::temp_directory_path() / ("vanta " + std::to_string(GetCurrentProcessId()));
};

TEST_F(FilesWin32, OthersMayReadWhileItIsWritten) {
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create(path_.string()));
  const HANDLE reader = CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_NE(reader, INVALID_HANDLE_VALUE);
  CloseHandle(reader);
}

TEST_F(FilesWin32, OthersMayNotWriteWhileItIsWritten) {
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create(path_.string()));
  EXPECT_EQ(CreateFileW(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                        FILE_ATTRIBUTE_NORMAL, nullptr),
            INVALID_HANDLE_VALUE);
}

}  // namespace
