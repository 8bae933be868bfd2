#include "platform/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class Files : public testing::Test {
 protected:
  Files() { fs::create_directories(root_); }
  ~Files() override { fs::remove_all(root_); }

  static std::string Content(const fs::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }

  const fs::path root_ = fs::temp_directory_path() / ("vanta \u7f8e\u989c " + std::to_string(getpid()));
};

TEST_F(Files, WritesAFileUnderANameThatIsNotAscii) {
  const fs::path path = root_ / "\u753b.bin";
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create(path));
  EXPECT_TRUE(file.Write("pixels", 6));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Content(path), "pixels");
}

TEST_F(Files, CreatingAgainEmptiesTheFile) {
  const fs::path path = root_ / "again";
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create(path));
  file.Write("a long text", 11);
  ASSERT_TRUE(file.Create(path));
  file.Write("b", 1);
  file.Close();
  EXPECT_EQ(Content(path), "b");
}

TEST_F(Files, FileInAFolderThatIsNotThereIsRefused) {
  vanta::OutputFile file;
  EXPECT_FALSE(file.Create(root_ / "nowhere" / "file"));
  EXPECT_FALSE(file.Write("x", 1));
  EXPECT_TRUE(file.Close());
}

TEST_F(Files, WriteThatTheDeviceCannotTakeIsRefused) {
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create("/dev/full"));
  EXPECT_FALSE(file.Write("x", 1));
}

TEST_F(Files, FolderIsMadeWithThoseAboveIt) {
  const fs::path path = root_ / "\u4e00" / "two" / "three";
  EXPECT_TRUE(vanta::EnsureFolder(path));
  EXPECT_TRUE(fs::is_directory(path));
}

TEST_F(Files, FolderThatIsThereIsLeftAlone) {
  std::ofstream(root_ / "kept") << "kept";
  EXPECT_TRUE(vanta::EnsureFolder(root_));
  EXPECT_EQ(Content(root_ / "kept"), "kept");
}

TEST_F(Files, FolderInThePlaceOfAFileIsRefused) {
  std::ofstream(root_ / "file") << "file";
  EXPECT_FALSE(vanta::EnsureFolder(root_ / "file"));
}

TEST_F(Files, EmptyNameIsRefused) {
  EXPECT_FALSE(vanta::EnsureFolder(""));
  vanta::OutputFile file;
  EXPECT_FALSE(file.Create(""));
}

}  // namespace
