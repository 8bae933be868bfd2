#include "vision/cascade_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/process/log_capture.h"

namespace {

namespace fs = std::filesystem;

// A folder of its own, gone with the test.
class CascadeFiles : public testing::Test {
 protected:
  CascadeFiles() { fs::create_directories(folder_ / "models"); }
  ~CascadeFiles() override {
    unsetenv("TESSERA_CASCADES");
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::string Put(const std::string &name, const std::string &text = "text") {
    std::ofstream(folder_ / name) << text;
    return (folder_ / name).string();
  }
  // The package's, with the first `from` in it replaced.
  void PutDamaged(const char *name, const std::string &from, const std::string &to) {
    std::ifstream file(tessera::FindCascade(name, "", {}));
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos);
    Put(std::string("models/") + name, text.replace(at, from.size(), to));
  }
  std::string Models() const { return (folder_ / "models").string(); }

  const fs::path folder_ = fs::temp_directory_path() /
                           ("tessera_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) +
                            std::to_string(getpid()));
};

TEST_F(CascadeFiles, ModelFolderComesBeforeThePackage) {
  const std::string own = Put(std::string("models/") + tessera::kFaceCascade);
  EXPECT_EQ(tessera::FindCascade(tessera::kFaceCascade, Models(), {}), own);
}

TEST_F(CascadeFiles, NamedModelFileComesBeforeItsFolder) {
  Put(std::string("models/") + tessera::kFaceCascade);
  const std::string named = Put(tessera::kFaceCascade);
  EXPECT_EQ(tessera::FindCascade(tessera::kFaceCascade, Models(), {named}), named);
}

TEST_F(CascadeFiles, FolderOfAModelFileIsSearchedToo) {
  const std::string own = Put(tessera::kFaceCascade);
  EXPECT_EQ(tessera::FindCascade(tessera::kFaceCascade, "", {(folder_ / "landmarks_cfg.txt").string()}), own);
}

TEST_F(CascadeFiles, PackageStandsInForAnEmptyModelFolder) {
  const std::string found = tessera::FindCascade(tessera::kFaceCascade, Models(), {});
  EXPECT_EQ(found, tessera::CascadePackageFolder() + "/" + tessera::kFaceCascade);
}

TEST_F(CascadeFiles, WithoutAnyCascadeInitFailsAndSaysWhatToInstall) {
  setenv("TESSERA_CASCADES", folder_.c_str(), 1);
  vanta_test::LogCapture log;
  vanta_test::FaceReader reader(1, Models());
  EXPECT_NE(reader.init_result(), 0);
  EXPECT_TRUE(log.HasText("install opencv-data"));
}

TEST_F(CascadeFiles, RunAfterAFailedInitLeavesTheResultNull) {
  setenv("TESSERA_CASCADES", folder_.c_str(), 1);
  const vanta_test::LogCapture log;
  vanta_test::FaceReader reader(1, Models());
  vanta_test::PortraitPicture picture = vanta_test::PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), {});
  EXPECT_EQ(reader.RunTree(picture), nullptr);
}

TEST_F(CascadeFiles, FileThatIsNoCascadeFailsInit) {
  Put(std::string("models/") + tessera::kFaceCascade, "<?xml version=\"1.0\"?><nothing>");
  vanta_test::LogCapture log;
  vanta_test::FaceReader reader(1, Models());
  EXPECT_NE(reader.init_result(), 0);
  EXPECT_TRUE(log.HasText("is no cascade"));
}

TEST_F(CascadeFiles, DamagedFaceCascadeIsToldInOneLineWithItsReason) {
  PutDamaged(tessera::kFaceCascade, "<leafValues>", "<leafValues>1 ");
  vanta_test::LogCapture log;
  const vanta_test::FaceReader reader(1, Models());
  EXPECT_NE(reader.init_result(), 0);
  const auto lines = log.LinesWith("[tessera]");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].level, vanta_test::kError);
  EXPECT_NE(lines[0].text.find("nodes and leaves"), std::string::npos) << lines[0].text;
}

TEST_F(CascadeFiles, HugeFileIsNoCascade) {
  fs::resize_file(Put(std::string("models/") + tessera::kFaceCascade), uintmax_t{4} << 30);
  vanta_test::LogCapture log;
  const vanta_test::FaceReader reader(1, Models());
  EXPECT_NE(reader.init_result(), 0);
  EXPECT_TRUE(log.HasText("larger than 32 MB"));
}

TEST_F(CascadeFiles, FacesAreFoundWithoutDamagedCascadesThatAreNotNeeded) {
  PutDamaged(tessera::kEyeCascade, "<leafValues>", "<leafValues>1 ");
  PutDamaged(tessera::kQuickCascade, "0 -1 2 ", "0 -1 999999 ");
  vanta_test::LogCapture log;
  vanta_test::FaceReader reader(1, Models());
  EXPECT_EQ(reader.init_result(), 0);
  EXPECT_EQ(log.CountWith("is no cascade that can be used"), 2U);
  vanta_test::PortraitPicture picture = vanta_test::PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), {});
  EXPECT_EQ(reader.Run(picture).size(), 1U);
}

TEST_F(CascadeFiles, FacesAreFoundWithoutTheEyeCascade) {
  fs::copy_file(fs::path(tessera::CascadePackageFolder()) / tessera::kFaceCascade,
                folder_ / "models" / tessera::kFaceCascade);
  setenv("TESSERA_CASCADES", folder_.c_str(), 1);
  vanta_test::LogCapture log;
  vanta_test::FaceReader reader(1, Models());
  EXPECT_EQ(reader.init_result(), 0);
  EXPECT_TRUE(log.HasText("the eyes are found less well"));
  vanta_test::PortraitPicture picture = vanta_test::PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), {});
  EXPECT_EQ(reader.Run(picture).size(), 1U);
}

}  // namespace
