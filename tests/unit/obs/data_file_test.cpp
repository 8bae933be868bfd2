#include "obs/data_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace vanta {
namespace {

namespace fs = std::filesystem;

// Owns: a folder.
class DataFile : public testing::Test {
 protected:
  DataFile() {
    std::string name = (fs::temp_directory_path() / "vanta_data_XXXXXX").string();
    if (mkdtemp(name.data())) folder_ = name;
  }
  ~DataFile() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  fs::path folder_;
};

TEST_F(DataFile, RegularFileMayBeRead) {
  std::ofstream(folder_ / "good.effect") << "uniform float4x4 ViewProj;";
  EXPECT_TRUE(MayBeRead((folder_ / "good.effect").c_str()));
}

TEST_F(DataFile, MissingFileIsLibobssToTellOf) {
  EXPECT_TRUE(MayBeRead((folder_ / "missing.effect").c_str()));
}

TEST_F(DataFile, FolderIsNotRead) {
  EXPECT_FALSE(MayBeRead(folder_.c_str()));
}

TEST_F(DataFile, EndlessDeviceIsNotRead) {
  EXPECT_FALSE(MayBeRead("/dev/zero"));
}

TEST_F(DataFile, FileOfGigabytesIsNotRead) {
  const fs::path file = folder_ / "large.effect";
  std::ofstream(file) << "uniform";
  fs::resize_file(file, uintmax_t{4} << 30);
  EXPECT_FALSE(MayBeRead(file.c_str()));
}

}  // namespace
}  // namespace vanta
