#include "controls/beauty_look.h"

#include <gtest/gtest.h>
#include <obs.hpp>

#include "controls/look_commands.h"
#include "fakes/control/recording_control.h"

namespace {

using namespace vanta_host;
using testing::Test;

OBSData Settings() {
  const OBSDataAutoRelease settings = obs_data_create();
  SetLookDefaults(settings);
  return settings.Get();
}

size_t At(const char *name) {
  return FindBeautyValue(name);
}

TEST(BeautyLook, BeginsAsAnEngineDoes) {
  const BeautyLook look;
  EXPECT_EQ(look.percent[At("smooth")], 35);
  EXPECT_EQ(look.percent[At("whiten")], 15);
  EXPECT_EQ(look.percent[At("ruddy")], 10);
  EXPECT_EQ(ReadLook(Settings()), look);
}

TEST(BeautyLook, SurvivesASetOfSettings) {
  BeautyLook look;
  look.percent.fill(7);
  look.lookup = "nuan.cube";
  look.lookup_strength = 41;
  look.makeup = "red";
  look.makeup_strength = 42;
  look.effect = "crown";
  const OBSData settings = Settings();
  WriteLook(look, settings);
  EXPECT_EQ(ReadLook(settings), look);
}

TEST(BeautyLook, BringsWhatIsOutOfRangeIntoIt) {
  const OBSData settings = Settings();
  obs_data_set_int(settings, "beauty_smooth", 900);
  obs_data_set_int(settings, "beauty_whiten", -5);
  obs_data_set_int(settings, "beauty_chin", -900);
  const BeautyLook look = ReadLook(settings);
  EXPECT_EQ(look.percent[At("smooth")], 100);
  EXPECT_EQ(look.percent[At("whiten")], 0);
  EXPECT_EQ(look.percent[At("chin")], -100);
}

TEST(BeautyLook, WritesNothingThatTheSettingsSayAlready) {
  const OBSData settings = Settings();
  WriteLook(BeautyLook(), settings);
  EXPECT_FALSE(obs_data_has_user_value(settings, "beauty_smooth"));
}

TEST(BeautyLook, IsOffWithoutAnyStrength) {
  BeautyLook look = PlainLook();
  EXPECT_TRUE(look.IsOff());
  look.lookup = "nuan.cube";
  EXPECT_FALSE(look.IsOff());
  look.lookup_strength = 0;
  EXPECT_TRUE(look.IsOff());
  look.effect = "crown";
  EXPECT_FALSE(look.IsOff());
  EXPECT_FALSE(BeautyLook().IsOff());
}

TEST(BeautyLook, NeedsFacesForShapesAndMakeupAlone) {
  BeautyLook look;
  EXPECT_FALSE(look.NeedsFaces());
  look.percent[At("eye_size")] = 1;
  EXPECT_TRUE(look.NeedsFaces());
  look = PlainLook();
  look.makeup = "red";
  EXPECT_TRUE(look.NeedsFaces());
}

class LookCommands : public Test {
 protected:
  std::vector<std::string> Sent(const BeautyLook &after) {
    SendChanges(control_, BeautyLook(), after, {{}, {}});
    return control_.calls;
  }

  vanta_test::RecordingControl control_;
};

TEST_F(LookCommands, AreNoneForTheSameLook) {
  EXPECT_TRUE(Sent(BeautyLook()).empty());
}

TEST_F(LookCommands, AreABatchOfWhatDiffers) {
  BeautyLook look;
  look.percent[At("smooth")] = 80;
  look.percent[At("chin")] = -50;
  look.percent[At("body_waist")] = 30;
  const std::vector<std::string> expected = {"BeginBatchCommand", "SetBeautyIntensityWithType 0 0.8",
                                             "SetDeformIntensityWithMode 3 -0.5",
                                             "SetBodySlimmingIntensityWithType 1 0.3", "EndBatchCommand"};
  EXPECT_EQ(Sent(look), expected);
}

TEST_F(LookCommands, TakeATableAwayThatIsNotThere) {
  BeautyLook look;
  look.lookup = "gone.cube";
  const std::vector<std::string> expected = {"BeginBatchCommand", "SetLookupInfo '' 0.8 0 0", "EndBatchCommand"};
  EXPECT_EQ(Sent(look), expected);
}

TEST_F(LookCommands, SnapshotHoldsEveryValueAndWhatTheLookDoesNotKnow) {
  FacelessEngineSnapshot snapshot;
  snapshot.model_root_path = "/models";
  BeautyLook look;
  look.percent[At("smooth")] = 80;
  PutIntoSnapshot(look, {{}, {}}, snapshot);
  EXPECT_EQ(snapshot.model_root_path, "/models");
  EXPECT_EQ(snapshot.beauty.size(), 13u);
  EXPECT_EQ(snapshot.deform.size(), 11u);
  EXPECT_EQ(snapshot.body_slimming.size(), 7u);
  EXPECT_FLOAT_EQ(snapshot.beauty[LXBeautyType{0}], 0.8f);
  EXPECT_FALSE(snapshot.lookup);
}

}  // namespace
