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
  look.colors[0] = {"b02840", 43};
  look.colors[4] = {"5a3a28", 0};
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

TEST(BeautyLook, TakesSixHexadecimalDigitsForAColourAndNothingElse) {
  const OBSData settings = Settings();
  for (const char *text : {"red", "b0284", "b028400", "b0284g", "#b0284"}) {
    obs_data_set_string(settings, "beauty_lips_color", text);
    EXPECT_EQ(ReadLook(settings).colors[0].rgb, "") << text;
  }
  obs_data_set_string(settings, "beauty_lips_color", "B02840");
  EXPECT_EQ(ReadLook(settings).colors[0].rgb, "b02840");
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
  look = PlainLook();
  look.colors[2] = {"7a5238", 10};
  EXPECT_FALSE(look.IsOff());
  look.colors[2].strength = 0;
  EXPECT_TRUE(look.IsOff());
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
  look = PlainLook();
  look.colors[0].rgb = "b02840";
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

TEST_F(LookCommands, GiveEachPartOfTheFaceItsColour) {
  BeautyLook look;
  look.colors[0] = {"b02840", 80};
  look.colors[3] = {"1a1414", 50};
  const std::vector<std::string> expected = {
      "BeginBatchCommand", "SetMakeupInfo ('color:b02840' 'lips' 0 0.8) ('color:1a1414' 'liner' 0 0.5)",
      "EndBatchCommand"};
  EXPECT_EQ(Sent(look), expected);
  FacelessEngineSnapshot snapshot;
  PutIntoSnapshot(look, {{}, {}}, snapshot);
  ASSERT_EQ(snapshot.makeup.size(), 2u);
  EXPECT_STREQ(snapshot.makeup[1].resourceDir, "color:1a1414");
}

TEST_F(LookCommands, AreTheStrengthAloneWhereTheColourStays) {
  BeautyLook before, after;
  before.colors[1] = {"e08a90", 60};
  after.colors[1] = {"e08a90", 30};
  SendChanges(control_, before, after, {{}, {}});
  const std::vector<std::string> expected = {"BeginBatchCommand", "SetMakeupIntensityWithKey 'blush' 0.3",
                                             "EndBatchCommand"};
  EXPECT_EQ(control_.calls, expected);
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
