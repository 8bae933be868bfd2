// Files and pipes, whole or refused.
#include "common/text_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "common/failure.h"

namespace vanta_test {
namespace {

namespace fs = std::filesystem;
using vanta_run::ReadTextFile;

constexpr size_t kLongest = 1 << 20;

// Owns: a folder with a file or a pipe in it.
class TextFile : public testing::Test {
 protected:
  TextFile() {
    std::string pattern = (fs::temp_directory_path() / "vanta_text_XXXXXX").string();
    folder_ = mkdtemp(pattern.data()) ? pattern : "/nowhere";
    path_ = (folder_ / "text").string();
  }
  ~TextFile() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  std::string Refusal(std::chrono::milliseconds patience = std::chrono::minutes(1)) const {
    try {
      ReadTextFile(path_, kLongest, "give another", patience);
    } catch (const vanta_run::Failure &failure) {
      EXPECT_EQ(failure.code(), vanta_run::kExitInput);
      return failure.what();
    }
    return "";
  }

  fs::path folder_;
  std::string path_;
};

TEST_F(TextFile, IsReadWhole) {
  const std::string text = std::string(300000, 'a') + "\nend";
  std::ofstream(path_, std::ios::binary) << text;
  EXPECT_EQ(ReadTextFile(path_, kLongest, ""), text);
}

TEST_F(TextFile, PipeIsReadAsItsWriterWrites) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  std::thread writer([this] {
    const int pipe = open(path_.c_str(), O_WRONLY);
    for (const char *piece : {"one\n", "two\n"}) {
      EXPECT_EQ(write(pipe, piece, 4), 4);
      std::this_thread::yield();
    }
    close(pipe);
  });
  EXPECT_EQ(ReadTextFile(path_, kLongest, "", std::chrono::minutes(1)), "one\ntwo\n");
  writer.join();
}

TEST_F(TextFile, PipeWithoutAWriterIsRefused) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(Refusal(std::chrono::milliseconds(1)), path_ + ": is a pipe into which nobody writes; give another");
}

TEST_F(TextFile, WithoutAnEndIsRefused) {
  path_ = "/dev/zero";
  EXPECT_EQ(Refusal(), "/dev/zero: is longer than 1 MiB; give another");
}

TEST_F(TextFile, FolderIsRefused) {
  path_ = folder_.string();
  EXPECT_EQ(Refusal(), path_ + ": is a folder; give another");
}

}  // namespace
}  // namespace vanta_test
