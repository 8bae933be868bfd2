#include "controls/look_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "module/resource_folders.h"

namespace {

using namespace vanta_host;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class LookFiles : public testing::Test {
 protected:
  LookFiles() : root_(fs::path(testing::TempDir()) / "vanta_looks") { fs::remove_all(root_); }
  ~LookFiles() override { fs::remove_all(root_); }

  std::string Put(const std::string &name, const std::string &text) {
    const fs::path path = root_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
    return path.string();
  }
  ResourceFolders Folders() const { return {(root_ / "plugin").string(), (root_ / "user").string()}; }

  const fs::path root_;
};

TEST_F(LookFiles, AreReadBackAsTheyWereWritten) {
  BeautyLook look = PlainLook();
  look.percent[FindBeautyValue("smooth")] = 61;
  look.percent[FindBeautyValue("chin")] = -20;
  look.percent[FindBeautyValue("body_hip")] = 5;
  look.lookup = "nuan.cube";
  look.lookup_strength = 33;
  look.colors[1] = {"e08a90", 45};
  const std::string path = Folders().UserPresetPath("mine");
  ASSERT_TRUE(WriteLookFile(path, look));
  EXPECT_EQ(ReadLookFile(path), look);
}

TEST_F(LookFiles, TurnOffWhatTheyDoNotName) {
  const std::string path = Put("a.json", R"({"format":1,"beauty":{"whiten":0.5}})");
  BeautyLook look = PlainLook();
  look.percent[FindBeautyValue("whiten")] = 50;
  EXPECT_EQ(ReadLookFile(path), look);
}

TEST_F(LookFiles, OfTheEngineAreRead) {
  const auto look = ReadLookFile(VANTA_TEST_PRESETS "/jingdian.json");
  ASSERT_TRUE(look);
  EXPECT_EQ(*look, BeautyLook());
}

TEST_F(LookFiles, OfAnotherFormatAreNone) {
  EXPECT_FALSE(ReadLookFile(Put("a.json", R"({"format":2,"beauty":{}})")));
  EXPECT_FALSE(ReadLookFile(Put("b.json", R"({"format":1})")));
  EXPECT_FALSE(ReadLookFile(Put("c.json", "no json")));
  EXPECT_FALSE(ReadLookFile((root_ / "missing.json").string()));
}

TEST_F(LookFiles, AreShortRegularFiles) {
  const std::string text = R"({"format":1,"beauty":{}})";
  EXPECT_TRUE(ReadLookFile(Put("short.json", text + std::string(1000, ' '))));
  EXPECT_FALSE(ReadLookFile(Put("long.json", text + std::string(1 << 20, ' '))));
  const std::string pipe = (root_ / "pipe.json").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_FALSE(ReadLookFile(pipe));  // without waiting for its other end
  EXPECT_FALSE(ReadLookFile(root_.string()));
}

TEST_F(LookFiles, AreListedWithTheUsersBesideThePlugIns) {
  Put("plugin/presets/classic.json", "{}");
  Put("plugin/presets/note.txt", "");
  Put("user/presets/mine.json", "{}");
  EXPECT_THAT(Folders().List(ResourceKind::kPreset), ElementsAre("classic", "mine"));
  EXPECT_THAT(Folders().ListUserPresets(), ElementsAre("mine"));
}

TEST_F(LookFiles, OfTheUserHideThePlugInsOfThatName) {
  Put("plugin/lookups/warm.cube", "");
  const std::string own = Put("user/lookups/warm.cube", "");
  EXPECT_EQ(Folders().Find(ResourceKind::kLookup, "warm.cube"), own);
}

TEST_F(LookFiles, NeedTheirOwnFileToBeAMakeupOrAnEffect) {
  Put("plugin/makeup/red/makeup.json", "{}");
  Put("plugin/makeup/empty/note.txt", "");
  Put("plugin/effects/crown/effect.json", "{}");
  EXPECT_THAT(Folders().List(ResourceKind::kMakeup), ElementsAre("red"));
  EXPECT_THAT(Folders().List(ResourceKind::kEffect), ElementsAre("crown"));
}

TEST_F(LookFiles, AreFoundByNameAndNeverByPath) {
  Put("secret.json", "{}");
  Put("user/presets/a.json", "{}");
  EXPECT_EQ(Folders().Find(ResourceKind::kPreset, "../../secret"), "");
  EXPECT_EQ(Folders().Find(ResourceKind::kPreset, ""), "");
  EXPECT_EQ(Folders().UserPresetPath("../x"), "");
}

TEST_F(LookFiles, HaveNamesThatAFileCanHave) {
  EXPECT_EQ(FileName(" ../my/look\n "), "mylook");
  EXPECT_EQ(FileName("..."), "");
  EXPECT_EQ(FileName("Abend – schön"), "Abend – schön");
  const std::string cut = FileName(std::string(79, 'a') + "ß");
  EXPECT_EQ(cut, std::string(79, 'a'));  // not half a character
}

TEST(ResourceFolders, ThatAreNotThereHoldNothing) {
  const ResourceFolders folders("", "/no/such/folder");
  EXPECT_THAT(folders.List(ResourceKind::kEffect), IsEmpty());
  EXPECT_EQ(ResourceFolders("", "").UserPresetPath("a"), "");
}

}  // namespace
