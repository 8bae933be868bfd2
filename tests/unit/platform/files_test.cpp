#include "platform/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fixtures/platform/system_facts.h"

namespace fs = std::filesystem;

namespace {

std::string Utf8(const fs::path &path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

// A folder of the test's own, whose name no code page holds.
class Files : public testing::Test {
 protected:
  Files() { fs::create_directories(root_); }
  ~Files() override { fs::remove_all(root_); }

  static std::string Content(const fs::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }

  const fs::path root_ =
      fs::temp_directory_path() / (fs::path(u8"vanta \u7f8e\u989c ") += std::to_string(vanta_test::ProcessId()));
};

TEST_F(Files, WritesAFileUnderANameThatIsNotAscii) {
  const fs::path path = root_ / u8"\u753b.bin";
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create(Utf8(path)));
  EXPECT_TRUE(file.Write("pixels", 6));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Content(path), "pixels");
}

TEST_F(Files, CreatingAgainEmptiesTheFile) {
  const fs::path path = root_ / "again";
  vanta::OutputFile file;
  ASSERT_TRUE(file.Create(Utf8(path)));
  file.Write("a long text", 11);
  ASSERT_TRUE(file.Create(Utf8(path)));
  file.Write("b", 1);
  file.Close();
  EXPECT_EQ(Content(path), "b");
}

TEST_F(Files, FileInAFolderThatIsNotThereIsRefused) {
  vanta::OutputFile file;
  EXPECT_FALSE(file.Create(Utf8(root_ / "nowhere" / "file")));
  EXPECT_FALSE(file.Write("x", 1));
  EXPECT_TRUE(file.Close());
}

TEST_F(Files, FolderIsMadeWithThoseAboveIt) {
  const fs::path path = root_ / u8"\u4e00" / u8"\u4e8c" / "three";
  EXPECT_TRUE(vanta::EnsureFolder(Utf8(path)));
  EXPECT_TRUE(fs::is_directory(path));
}

TEST_F(Files, ForwardSlashesAreTakenToo) {
  EXPECT_TRUE(vanta::EnsureFolder(Utf8(root_) + "/one/two/"));
  EXPECT_TRUE(fs::is_directory(root_ / "one" / "two"));
}

TEST_F(Files, FolderThatIsThereIsLeftAlone) {
  std::ofstream(root_ / "kept") << "kept";
  EXPECT_TRUE(vanta::EnsureFolder(Utf8(root_)));
  EXPECT_EQ(Content(root_ / "kept"), "kept");
}

TEST_F(Files, FolderInThePlaceOfAFileIsRefused) {
  std::ofstream(root_ / "file") << "file";
  EXPECT_FALSE(vanta::EnsureFolder(Utf8(root_ / "file")));
}

TEST_F(Files, EmptyNameIsRefused) {
  EXPECT_FALSE(vanta::EnsureFolder(""));
  vanta::OutputFile file;
  EXPECT_FALSE(file.Create(""));
}

}  // namespace
