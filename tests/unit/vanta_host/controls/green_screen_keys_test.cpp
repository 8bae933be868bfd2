#include "controls/green_screen_keys.h"

#include <cstdint>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <obs.hpp>

namespace {

using namespace vanta_host;
using nlohmann::json;

class GreenScreenKeys : public testing::Test {
 protected:
  GreenScreenKeys() { SetKeyDefaults(settings_); }

  bool Give(const char *config) {
    obs_data_set_string(settings_, "config", config);
    return MergeConfig(settings_);
  }
  json Complete() { return json::parse(CompleteConfig(settings_)); }

  const OBSDataAutoRelease settings_ = obs_data_create();
};

TEST_F(GreenScreenKeys, AreTheModulesDefaultsAtFirst) {
  const json expected = json::parse(R"({"keyColor":[0.0,1.0,0.0],"similarity":0.667,"spillSupEnabled":true,
      "spillSupMethod":5,"spillSupScaleR":0.5,"spillSupScaleG":-1.0,"spillSupScaleB":0.0,"spillSupColorMix":0.5,
      "spillSupRedW":0.85,"spillSupOffset":0.55,"spillSupYThres":0.9,"denoiseEnabled":true,"aKalmanQ":15.0,
      "alphaAdjustEnabled":true,"alphaDown":0.75,"alphaUp":0.25,"alphaShrink":0.0,"fgAlphaBlurEnabled":false,
      "fgAlphaBlurIntensity":0.0})");
  const json complete = Complete();
  ASSERT_EQ(complete.size(), expected.size());
  for (const auto &[key, value] : expected.items()) {
    if (value.is_number())
      EXPECT_FLOAT_EQ(complete[key].get<float>(), value.get<float>()) << key;
    else
      EXPECT_EQ(complete[key], value) << key;
  }
}

TEST_F(GreenScreenKeys, TakeAConfigAsAPatch) {
  Give(R"({"similarity":0.4,"spillSupMethod":7})");
  Give(R"({"alphaUp":0.1,"denoiseEnabled":false})");
  EXPECT_FLOAT_EQ(Complete()["similarity"].get<float>(), 0.4f);
  EXPECT_EQ(Complete()["spillSupMethod"], 7);
  EXPECT_FLOAT_EQ(Complete()["alphaUp"].get<float>(), 0.1f);
  EXPECT_EQ(Complete()["denoiseEnabled"], false);
  EXPECT_NEAR(obs_data_get_double(settings_, "key_similarity"), 40, 1e-9);
}

TEST_F(GreenScreenKeys, LetASliderWinOverAConfigThatWasTakenBefore) {
  Give(R"({"similarity":0.4})");
  obs_data_set_double(settings_, "key_similarity", 55);
  MergeConfig(settings_);
  EXPECT_FLOAT_EQ(Complete()["similarity"].get<float>(), 0.55f);
}

// 66.7 per cent would be cut to 66 by a page's slider.
TEST_F(GreenScreenKeys, AreRoundedOnThePageAndExactInTheConfig) {
  EXPECT_EQ(obs_data_get_int(settings_, "key_similarity"), 67);
  EXPECT_EQ(Complete()["similarity"], 0.667);
  Give(R"({"similarity":0.596})");
  EXPECT_EQ(obs_data_get_int(settings_, "key_similarity"), 60);
  EXPECT_EQ(Complete()["similarity"], 0.596);
  obs_data_set_int(settings_, "key_similarity", 61);  // by hand
  EXPECT_EQ(Complete()["similarity"], 0.61);
}

TEST_F(GreenScreenKeys, AreRoundedOnThePageWhereAFormerVersionSavedAFraction) {
  obs_data_set_double(settings_, "key_similarity", 59.6);
  MergeConfig(settings_);
  EXPECT_EQ(obs_data_get_double(settings_, "key_similarity"), 60);
  EXPECT_FLOAT_EQ(Complete()["similarity"].get<float>(), 0.596f);
}

TEST_F(GreenScreenKeys, AreDefaultsAgainOnceTheSettingsAreCleared) {
  Give(R"({"similarity":0.4,"keyColor":[0.2,0.3,0.9],"blueBgFlag":false})");
  const OBSDataAutoRelease fresh = obs_data_create();
  SetKeyDefaults(fresh);
  obs_data_clear(settings_);
  MergeConfig(settings_);
  EXPECT_EQ(CompleteConfig(settings_), CompleteConfig(fresh));
}

TEST_F(GreenScreenKeys, SkipWhatTheModuleSkipsAndClampWhatItClamps) {
  Give(R"({"similarity":"x","spillSupMethod":5.0,"spillSupEnabled":1,"spillSupRedW":0.1,"alphaShrink":99})");
  EXPECT_FLOAT_EQ(Complete()["similarity"].get<float>(), 0.667f);
  EXPECT_EQ(Complete()["spillSupMethod"], 5);
  EXPECT_EQ(Complete()["spillSupEnabled"], true);
  EXPECT_FLOAT_EQ(Complete()["spillSupRedW"].get<float>(), 0.5f);
  EXPECT_FLOAT_EQ(Complete()["alphaShrink"].get<float>(), 10.0f);
  Give(R"({"spillSupMethod":12})");
  EXPECT_EQ(Complete()["spillSupMethod"], 8);
}

TEST_F(GreenScreenKeys, KeepTheExactColourWhileThePickerShowsIt) {
  Give(R"({"keyColor":[0.1234,0.6789,0.3]})");
  EXPECT_EQ(Complete()["keyColor"], json::parse("[0.1234,0.6789,0.3]"));
  obs_data_set_int(settings_, "key_color", 0xFF0000FF);
  EXPECT_EQ(Complete()["keyColor"], json::parse("[1.0,0.0,0.0]"));
}

TEST_F(GreenScreenKeys, ReadAColourChannelByChannel) {
  Give(R"({"keyColor":[2,-1,"x"]})");
  EXPECT_EQ(Complete()["keyColor"], json::parse("[1.0,0.0,0.0]"));
  Give(R"({"keyColor":[0.2,0.2]})");
  EXPECT_EQ(Complete()["keyColor"], json::parse("[1.0,0.0,0.0]"));
}

TEST_F(GreenScreenKeys, SayOnlyWhatAConfigSaidOfABlueBacking) {
  Give(R"({"keyColor":[0,0,1]})");
  EXPECT_FALSE(Complete().contains("blueBgFlag"));
  Give(R"({"blueBgFlag":0})");
  EXPECT_EQ(Complete()["blueBgFlag"], false);
  obs_data_set_int(settings_, "key_color", 0xFF00FF00);  // by hand: the module finds out
  EXPECT_FALSE(Complete().contains("blueBgFlag"));
}

TEST_F(GreenScreenKeys, PutUnadjustedEdgesBackUntilOneIsMovedByHand) {
  Give(R"({"alphaAdjustEnabled":false,"alphaUp":0.9,"alphaShrink":3})");
  EXPECT_EQ(Complete()["alphaAdjustEnabled"], false);
  EXPECT_FLOAT_EQ(Complete()["alphaUp"].get<float>(), 0.25f);
  obs_data_set_double(settings_, "key_alpha_shrink", 2);
  EXPECT_EQ(Complete()["alphaAdjustEnabled"], true);
  EXPECT_FLOAT_EQ(Complete()["alphaShrink"].get<float>(), 2.0f);
}

TEST_F(GreenScreenKeys, RefuseATextThatIsNoObjectOnce) {
  EXPECT_FALSE(Give("[1]"));
  EXPECT_TRUE(MergeConfig(settings_));
  EXPECT_FLOAT_EQ(Complete()["similarity"].get<float>(), 0.667f);
}

}  // namespace
