#include "greenscreen/settings/green_screen_config.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

using vanta::ApplyGreenScreenConfig;
using vanta::ConfigChange;
using vanta::GreenScreenSettings;

class GreenScreenConfig : public testing::Test {
 protected:
  // The change that `text` makes; fails the test where the text is no object.
  ConfigChange Apply(const std::string &text) {
    const std::optional<ConfigChange> change = ApplyGreenScreenConfig(text, settings_);
    EXPECT_TRUE(change.has_value()) << text;
    return change.value_or(ConfigChange{});
  }

  GreenScreenSettings settings_;
};

// ---- Every key ----

struct FloatKey {
  const char *key;
  float GreenScreenSettings::*field;
  double low, high;
  bool rebuilds_lut;
};

class GreenScreenFloatKey : public testing::TestWithParam<FloatKey> {
 protected:
  ConfigChange Apply(double value) {
    return *ApplyGreenScreenConfig("{\"" + std::string(GetParam().key) + "\":" + std::to_string(value) + "}",
                                   settings_);
  }
  float Value() const { return settings_.*GetParam().field; }

  GreenScreenSettings settings_;
};

INSTANTIATE_TEST_SUITE_P(
    Keys, GreenScreenFloatKey,
    testing::Values(FloatKey{"similarity", &GreenScreenSettings::similarity, 0, 1, true},
                    FloatKey{"spillSupScaleR", &GreenScreenSettings::spill_sup_scale_r, -5, 5, false},
                    FloatKey{"spillSupScaleG", &GreenScreenSettings::spill_sup_scale_g, -5, 5, false},
                    FloatKey{"spillSupScaleB", &GreenScreenSettings::spill_sup_scale_b, -5, 5, false},
                    FloatKey{"spillSupColorMix", &GreenScreenSettings::spill_sup_color_mix, 0, 1, false},
                    FloatKey{"spillSupRedW", &GreenScreenSettings::spill_sup_red_w, 0.5, 1, false},
                    FloatKey{"spillSupOffset", &GreenScreenSettings::spill_sup_offset, 0, 1, true},
                    FloatKey{"spillSupYThres", &GreenScreenSettings::spill_sup_y_thres, 0, 1, true},
                    FloatKey{"aKalmanQ", &GreenScreenSettings::a_kalman_q, 0, 100, false},
                    FloatKey{"alphaDown", &GreenScreenSettings::alpha_down, 0, 2, false},
                    FloatKey{"alphaUp", &GreenScreenSettings::alpha_up, 0, 1, false},
                    FloatKey{"alphaShrink", &GreenScreenSettings::alpha_shrink, 0, 10, false},
                    FloatKey{"fgAlphaBlurIntensity", &GreenScreenSettings::fg_alpha_blur_intensity, 0, 1, false}),
    [](const auto &info) { return std::string(info.param.key); });

TEST_P(GreenScreenFloatKey, IsStoredWithinItsRange) {
  const double inside = GetParam().low + (GetParam().high - GetParam().low) * 0.3;
  EXPECT_TRUE(Apply(inside).changed);
  EXPECT_FLOAT_EQ(Value(), static_cast<float>(inside));
}

TEST_P(GreenScreenFloatKey, IsClampedToItsLimits) {
  Apply(GetParam().high + 3);
  EXPECT_EQ(Value(), static_cast<float>(GetParam().high));
  Apply(GetParam().low - 3);
  EXPECT_EQ(Value(), static_cast<float>(GetParam().low));
}

TEST_P(GreenScreenFloatKey, TakesItsLimitsThemselves) {
  Apply(GetParam().high);
  EXPECT_EQ(Value(), static_cast<float>(GetParam().high));
  Apply(GetParam().low);
  EXPECT_EQ(Value(), static_cast<float>(GetParam().low));
}

TEST_P(GreenScreenFloatKey, RebuildsTheTableOnlyWhereTheTableNeedsIt) {
  const double inside = GetParam().low + (GetParam().high - GetParam().low) * 0.3;
  EXPECT_EQ(Apply(inside).lut_dirty, GetParam().rebuilds_lut);
}

TEST_P(GreenScreenFloatKey, TakesAnInteger) {
  const std::string text = "{\"" + std::string(GetParam().key) + "\":1}";
  ASSERT_TRUE(ApplyGreenScreenConfig(text, settings_));
  EXPECT_EQ(Value(), 1.0f);
}

TEST_P(GreenScreenFloatKey, SkipsWhatIsNoNumber) {
  const float before = Value();
  for (const char *value : {"true", "\"1\"", "null", "[1]", "{}"}) {
    const auto change = ApplyGreenScreenConfig("{\"" + std::string(GetParam().key) + "\":" + value + "}", settings_);
    ASSERT_TRUE(change);
    EXPECT_FALSE(change->changed) << value;
    EXPECT_EQ(Value(), before) << value;
  }
}

TEST_P(GreenScreenFloatKey, SameValueIsNoChange) {
  const double inside = GetParam().low + (GetParam().high - GetParam().low) * 0.3;
  Apply(inside);
  const ConfigChange again = Apply(inside);
  EXPECT_FALSE(again.changed);
  EXPECT_FALSE(again.lut_dirty);
}

struct BoolKey {
  const char *key;
  bool GreenScreenSettings::*field;
  bool rebuilds_lut;
};

class GreenScreenBoolKey : public testing::TestWithParam<BoolKey> {
 protected:
  ConfigChange Apply(const std::string &value) {
    return *ApplyGreenScreenConfig("{\"" + std::string(GetParam().key) + "\":" + value + "}", settings_);
  }
  bool Value() const { return settings_.*GetParam().field; }

  GreenScreenSettings settings_;
};

INSTANTIATE_TEST_SUITE_P(
    Keys, GreenScreenBoolKey,
    testing::Values(BoolKey{"spillSupEnabled", &GreenScreenSettings::spill_sup_enabled, true},
                    BoolKey{"denoiseEnabled", &GreenScreenSettings::denoise_enabled, false},
                    BoolKey{"alphaAdjustEnabled", &GreenScreenSettings::alpha_adjust_enabled, false},
                    BoolKey{"fgAlphaBlurEnabled", &GreenScreenSettings::fg_alpha_blur_enabled, false}),
    [](const auto &info) { return std::string(info.param.key); });

TEST_P(GreenScreenBoolKey, IsStoredAndCountsAsAChangeOnlyWhereItDiffers) {
  const bool other = !Value();
  const ConfigChange change = Apply(other ? "true" : "false");
  EXPECT_TRUE(change.changed);
  EXPECT_EQ(change.lut_dirty, GetParam().rebuilds_lut);
  EXPECT_EQ(Value(), other);
  EXPECT_FALSE(Apply(other ? "true" : "false").changed);
}

TEST_P(GreenScreenBoolKey, SkipsWhatIsNoBoolean) {
  const bool before = Value();
  for (const char *value : {"0", "1", "0.0", "1.5", "\"true\"", "null", "[true]"}) {
    EXPECT_FALSE(Apply(value).changed) << value;
    EXPECT_EQ(Value(), before) << value;
  }
}

// ---- Defaults ----

TEST_F(GreenScreenConfig, DefaultsAreThose) {
  EXPECT_EQ(settings_.key_color[0], 0.0f);
  EXPECT_EQ(settings_.key_color[1], 1.0f);
  EXPECT_EQ(settings_.key_color[2], 0.0f);
  EXPECT_EQ(settings_.similarity, 0.667f);
  EXPECT_TRUE(settings_.spill_sup_enabled);
  EXPECT_EQ(settings_.spill_sup_method, 5);
  EXPECT_EQ(settings_.spill_sup_scale_r, 0.5f);
  EXPECT_EQ(settings_.spill_sup_scale_g, -1.0f);
  EXPECT_EQ(settings_.spill_sup_scale_b, 0.0f);
  EXPECT_EQ(settings_.spill_sup_color_mix, 0.5f);
  EXPECT_EQ(settings_.spill_sup_red_w, 0.85f);
  EXPECT_EQ(settings_.spill_sup_offset, 0.55f);
  EXPECT_EQ(settings_.spill_sup_y_thres, 0.9f);
  EXPECT_EQ(settings_.blue_bg_flag, 0);
  EXPECT_TRUE(settings_.denoise_enabled);
  EXPECT_EQ(settings_.a_kalman_q, 15.0f);
  EXPECT_TRUE(settings_.alpha_adjust_enabled);
  EXPECT_EQ(settings_.alpha_down, 0.75f);
  EXPECT_EQ(settings_.alpha_up, 0.25f);
  EXPECT_EQ(settings_.alpha_shrink, 0.0f);
  EXPECT_FALSE(settings_.fg_alpha_blur_enabled);
  EXPECT_EQ(settings_.fg_alpha_blur_intensity, 0.0f);
}

TEST_F(GreenScreenConfig, EmptyObjectChangesNothing) {
  const ConfigChange change = Apply("{}");
  EXPECT_FALSE(change.changed);
  EXPECT_FALSE(change.lut_dirty);
}

TEST_F(GreenScreenConfig, UnknownKeysAreSkipped) {
  EXPECT_FALSE(Apply(R"({"keycolor":[1,1,1],"":3,"similarity ":0.1})").changed);
}

TEST_F(GreenScreenConfig, AKeyThatIsMissingKeepsItsValue) {
  Apply(R"({"alphaDown":1.5})");
  Apply(R"({"alphaUp":0.5})");
  EXPECT_EQ(settings_.alpha_down, 1.5f);
  EXPECT_EQ(settings_.alpha_up, 0.5f);
}

// ---- Key colour ----

TEST_F(GreenScreenConfig, KeyColourNeedsThreeElements) {
  const ConfigChange change = Apply(R"({"keyColor":[0.2,0.2]})");
  EXPECT_FALSE(change.changed);
  EXPECT_EQ(settings_.key_color[1], 1.0f);
}

TEST_F(GreenScreenConfig, KeyColourOfTwoElementsDerivesNothing) {
  Apply(R"({"blueBgFlag":1})");
  Apply(R"({"keyColor":[0.2,0.2]})");
  EXPECT_EQ(settings_.blue_bg_flag, 1);
}

TEST_F(GreenScreenConfig, KeyColourIgnoresFurtherElements) {
  Apply(R"({"keyColor":[0.1,0.2,0.3,0.4,"x"]})");
  EXPECT_EQ(settings_.key_color[0], 0.1f);
  EXPECT_EQ(settings_.key_color[1], 0.2f);
  EXPECT_EQ(settings_.key_color[2], 0.3f);
}

TEST_F(GreenScreenConfig, KeyColourIsClampedAndSkippedChannelByChannel) {
  Apply(R"({"keyColor":[0.5,0.5,0.25]})");
  const ConfigChange change = Apply(R"({"keyColor":[2,-1,"x"]})");
  EXPECT_TRUE(change.changed);
  EXPECT_TRUE(change.lut_dirty);
  EXPECT_EQ(settings_.key_color[0], 1.0f);
  EXPECT_EQ(settings_.key_color[1], 0.0f);
  EXPECT_EQ(settings_.key_color[2], 0.25f);
}

TEST_F(GreenScreenConfig, KeyColourWithoutANumberStillDerivesTheBlueFlag) {
  Apply(R"({"blueBgFlag":1})");
  const ConfigChange change = Apply(R"({"keyColor":["a",null,true]})");
  EXPECT_TRUE(change.changed);
  EXPECT_FALSE(change.lut_dirty);
  EXPECT_EQ(settings_.blue_bg_flag, 0);
}

TEST_F(GreenScreenConfig, KeyColourThatIsNoArrayIsSkipped) {
  EXPECT_FALSE(Apply(R"({"keyColor":{"0":1,"1":1,"2":1}})").changed);
  EXPECT_FALSE(Apply(R"({"keyColor":"#00ff00"})").changed);
}

// ---- Blue ----

TEST_F(GreenScreenConfig, BlueKeyColourSetsTheBlueFlag) {
  const ConfigChange change = Apply(R"({"keyColor":[0.0,0.0,1.0]})");
  EXPECT_TRUE(change.changed);
  EXPECT_TRUE(change.lut_dirty);
  EXPECT_EQ(settings_.blue_bg_flag, 1);
}

TEST_F(GreenScreenConfig, AnExplicitBlueFlagWins) {
  Apply(R"({"keyColor":[0.0,0.0,1.0],"blueBgFlag":false})");
  EXPECT_EQ(settings_.blue_bg_flag, 0);
}

TEST_F(GreenScreenConfig, ABlueFlagOfAWrongTypeDoesNotWin) {
  Apply(R"({"keyColor":[0.0,0.0,1.0],"blueBgFlag":"no"})");
  EXPECT_EQ(settings_.blue_bg_flag, 1);
}

TEST_F(GreenScreenConfig, NeitherColourNorFlagLeavesTheBlueFlag) {
  Apply(R"({"keyColor":[0.0,0.0,1.0],"blueBgFlag":false})");
  Apply(R"({"alphaUp":0.5})");
  EXPECT_EQ(settings_.blue_bg_flag, 0);
}

TEST_F(GreenScreenConfig, ANewColourDerivesTheBlueFlagAgain) {
  Apply(R"({"blueBgFlag":1})");
  Apply(R"({"keyColor":[0.0,0.9,0.0]})");
  EXPECT_EQ(settings_.blue_bg_flag, 0);
}

TEST_F(GreenScreenConfig, BlueFlagTakesBooleansAndNumbers) {
  for (const char *on : {"true", "1", "-3", "0.25", "4000000000"}) {
    settings_.blue_bg_flag = 0;
    EXPECT_TRUE(Apply(std::string(R"({"blueBgFlag":)") + on + "}").changed) << on;
    EXPECT_EQ(settings_.blue_bg_flag, 1) << on;
  }
  for (const char *off : {"false", "0", "0.0", "-0.0"}) {
    settings_.blue_bg_flag = 1;
    EXPECT_TRUE(Apply(std::string(R"({"blueBgFlag":)") + off + "}").changed) << off;
    EXPECT_EQ(settings_.blue_bg_flag, 0) << off;
  }
}

TEST_F(GreenScreenConfig, BlueFlagDoesNotRebuildTheTable) {
  EXPECT_FALSE(Apply(R"({"blueBgFlag":1})").lut_dirty);
}

int Blue(float r, float g, float b) {
  const float color[3] = {r, g, b};
  return vanta::DetectBlueKey(color);
}

TEST(BlueKey, LeadOverRedAndGreenMustBeStrict) {
  constexpr float kLead = 0.11764706f;
  EXPECT_EQ(Blue(0, 0, kLead), 0);
  EXPECT_EQ(Blue(0, 0, 0.1177f), 1);
  EXPECT_EQ(Blue(kLead, 0, 0.2352f), 0);
  EXPECT_EQ(Blue(0, kLead, 0.2352f), 0);
}

TEST(BlueKey, RatioToTheMeanMustExceedThirteenTenths) {
  EXPECT_EQ(Blue(0.7f, 0.7f, 0.9f), 0);  // 1.286
  EXPECT_EQ(Blue(0.65f, 0.65f, 0.9f), 1);
}

TEST(BlueKey, BlackIsNotBlue) {
  EXPECT_EQ(Blue(0, 0, 0), 0);
}

// ---- Spill method ----

TEST_F(GreenScreenConfig, SpillMethodTakesIntegersOnly) {
  EXPECT_FALSE(Apply(R"({"spillSupMethod":5.0})").changed);
  EXPECT_FALSE(Apply(R"({"spillSupMethod":3.0})").changed);
  EXPECT_FALSE(Apply(R"({"spillSupMethod":true})").changed);
  EXPECT_EQ(settings_.spill_sup_method, 5);
}

TEST_F(GreenScreenConfig, SpillMethodIsClamped) {
  EXPECT_TRUE(Apply(R"({"spillSupMethod":12})").changed);
  EXPECT_EQ(settings_.spill_sup_method, 8);
  Apply(R"({"spillSupMethod":-1})");
  EXPECT_EQ(settings_.spill_sup_method, 0);
  Apply(R"({"spillSupMethod":18446744073709551615})");
  EXPECT_EQ(settings_.spill_sup_method, 8);
  Apply(R"({"spillSupMethod":-9223372036854775808})");
  EXPECT_EQ(settings_.spill_sup_method, 0);
}

TEST_F(GreenScreenConfig, SpillMethodRebuildsTheTable) {
  EXPECT_TRUE(Apply(R"({"spillSupMethod":4})").lut_dirty);
}

TEST(SpillSupFlag, IsZeroWhenOffAndTheClampedMethodElse) {
  GreenScreenSettings settings;
  EXPECT_EQ(vanta::SpillSupFlag(settings), 5);
  settings.spill_sup_method = 99;
  EXPECT_EQ(vanta::SpillSupFlag(settings), 8);
  settings.spill_sup_method = -2;
  EXPECT_EQ(vanta::SpillSupFlag(settings), 0);
  settings.spill_sup_method = 5;
  settings.spill_sup_enabled = false;
  EXPECT_EQ(vanta::SpillSupFlag(settings), 0);
}

// ---- Alpha adjustment ----

TEST_F(GreenScreenConfig, AlphaSettingsReturnToTheirDefaultsWithoutAdjustment) {
  Apply(R"({"alphaDown":1.5,"alphaUp":0.5,"alphaShrink":2})");
  const ConfigChange change = Apply(R"({"alphaAdjustEnabled":false})");
  EXPECT_TRUE(change.changed);
  EXPECT_FALSE(change.lut_dirty);
  EXPECT_EQ(settings_.alpha_down, 0.75f);
  EXPECT_EQ(settings_.alpha_up, 0.25f);
  EXPECT_EQ(settings_.alpha_shrink, 0.0f);
}

TEST_F(GreenScreenConfig, WithoutAdjustmentTheSameTextsAlphaValuesAreLost) {
  Apply(R"({"alphaAdjustEnabled":false,"alphaShrink":3})");
  EXPECT_EQ(settings_.alpha_shrink, 0.0f);
  EXPECT_EQ(settings_.alpha_down, 0.75f);
  EXPECT_EQ(settings_.alpha_up, 0.25f);
}

TEST_F(GreenScreenConfig, TheReturnToTheDefaultsIsAChangeByItself) {
  settings_.alpha_adjust_enabled = false;
  for (float GreenScreenSettings::*field :
       {&GreenScreenSettings::alpha_down, &GreenScreenSettings::alpha_up, &GreenScreenSettings::alpha_shrink}) {
    const float wanted = settings_.*field;
    settings_.*field = 0.5f;
    const ConfigChange change = Apply("{}");
    EXPECT_TRUE(change.changed);
    EXPECT_FALSE(change.lut_dirty);
    EXPECT_EQ(settings_.*field, wanted);
  }
  EXPECT_FALSE(Apply("{}").changed);
}

TEST_F(GreenScreenConfig, AdjustmentSwitchedOnAgainStartsFromTheDefaults) {
  Apply(R"({"alphaUp":0.5})");
  Apply(R"({"alphaAdjustEnabled":false})");
  Apply(R"({"alphaAdjustEnabled":true})");
  EXPECT_EQ(settings_.alpha_up, 0.25f);
}

// ---- What counts as a change ----

TEST_F(GreenScreenConfig, AMillionthIsNoChangeAndMoreIsOne) {
  Apply(R"({"alphaShrink":0})");
  EXPECT_FALSE(Apply(R"({"alphaShrink":0.000001})").changed);
  settings_.alpha_shrink = 0;
  EXPECT_TRUE(Apply(R"({"alphaShrink":0.0000011})").changed);
}

TEST_F(GreenScreenConfig, OneChangedKeyIsEnough) {
  const ConfigChange change = Apply(R"({"alphaUp":0.25,"similarity":0.5,"alphaDown":0.75})");
  EXPECT_TRUE(change.changed);
  EXPECT_TRUE(change.lut_dirty);
}

TEST_F(GreenScreenConfig, AValueBeyondAFloatIsClamped) {
  Apply(R"({"alphaShrink":1e300})");
  EXPECT_EQ(settings_.alpha_shrink, 10.0f);
  Apply(R"({"spillSupScaleR":-1e300})");
  EXPECT_EQ(settings_.spill_sup_scale_r, -5.0f);
}

TEST(NarrowToFloat, GivesTheNearestFloatAndTheGreatestBeyondAll) {
  constexpr float kGreatest = std::numeric_limits<float>::max();
  EXPECT_EQ(vanta::NarrowToFloat(0.1), 0.1f);
  EXPECT_EQ(vanta::NarrowToFloat(-5), -5.0f);
  EXPECT_EQ(vanta::NarrowToFloat(1e300), kGreatest);
  EXPECT_EQ(vanta::NarrowToFloat(-1e300), -kGreatest);
  EXPECT_EQ(vanta::NarrowToFloat(1e-300), 0.0f);
}

// ---- What is no configuration ----

TEST_F(GreenScreenConfig, TextThatIsNoObjectIsRefusedAndTouchesNothing) {
  for (const char *text : {"{", "[]", "[1,2,3]", "3", "\"x\"", "true", "null", "{\"alphaUp\":0.5", "{alphaUp:0.5}", " ",
                           "{\"alphaUp\":0.5} x", "{\"alphaUp\":1e400}", "\xff\xfe", "{\"a\":\"\x80\"}"}) {
    GreenScreenSettings settings;
    const GreenScreenSettings before = settings;
    EXPECT_FALSE(ApplyGreenScreenConfig(text, settings)) << text;
    EXPECT_EQ(std::memcmp(&settings, &before, sizeof(settings)), 0) << text;
  }
}

TEST_F(GreenScreenConfig, DeepNestingEndsWithoutHarm) {
  const std::string deep(100000, '[');
  EXPECT_FALSE(ApplyGreenScreenConfig(deep, settings_));
  EXPECT_FALSE(Apply("{\"keyColor\":" + deep + std::string(100000, ']') + "}").changed);
}

}  // namespace
