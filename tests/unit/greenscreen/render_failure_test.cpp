// Each call of a frame failing in turn, at every combination of settings that changes the passes; and effects that lack
// something.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>

#include "fixtures/module/green_screen_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

constexpr char kRenderFalse[] = "[LX_green_screen_filter] renderer render returned false";

enum class Outcome { kKeyed, kPassedThrough, kSkipped, kNothing };

struct Expectation {
  Outcome outcome = Outcome::kKeyed;
  Strings errors;
};

class RenderFailure : public GreenScreenFixture {
 protected:
  Outcome DrawnOutcome() const {
    EXPECT_LE(DrawnKeyed() + PassedThrough() + Skipped(), 1) << "drawn more than once";
    if (DrawnKeyed()) return Outcome::kKeyed;
    if (PassedThrough()) return Outcome::kPassedThrough;
    return Skipped() ? Outcome::kSkipped : Outcome::kNothing;
  }
};

// ---- The k-th call ----

struct Combination {
  const char *name;
  const char *config;
};

constexpr Combination kCombinations[] = {
    {"Raw", R"({"denoiseEnabled":false})"},
    {"Denoise", "{}"},
    {"Shrink", R"({"denoiseEnabled":false,"alphaShrink":2})"},
    {"DenoiseShrink", R"({"alphaShrink":2})"},
    {"BlurOne", R"({"denoiseEnabled":false,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})"},
    {"BlurThree", R"({"denoiseEnabled":false,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})"},
    {"DenoiseBlurTwo", R"({"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.5})"},
    {"ShrinkBlurTwo",
     R"({"denoiseEnabled":false,"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.5})"},
    {"Everything", R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})"},
};

class RenderFailureSweep : public RenderFailure, public testing::WithParamInterface<Combination> {
 protected:
  // What the failure of call `k` of `calls` must lead to.
  static Expectation Expected(const Strings &calls, size_t k);
};

INSTANTIATE_TEST_SUITE_P(Settings, RenderFailureSweep, testing::ValuesIn(kCombinations),
                         [](const auto &info) { return std::string(info.param.name); });

// The technique that the pass around call `k` draws; empty outside a pass.
std::string TechniqueOf(const Strings &calls, size_t k) {
  for (size_t at = k; at < calls.size(); ++at) {
    const std::string loop = "gs_effect_loop(effect1, ";
    if (calls[at].rfind(loop, 0) == 0) {
      std::string name = calls[at].substr(loop.size());
      name.pop_back();
      return name;
    }
  }
  return "";
}

// The technique whose result call `k` asks for.
std::string TechniqueBefore(const Strings &calls, size_t k) {
  for (size_t at = k; at-- > 0;) {
    const std::string loop = "gs_effect_loop(effect1, ";
    if (calls[at].rfind(loop, 0) == 0) return TechniqueOf(calls, at);
  }
  return "";
}

std::string Between(const std::string &text, const std::string &from, const std::string &to) {
  const size_t begin = text.find(from) + from.size();
  return text.substr(begin, text.find(to, begin) - begin);
}

Expectation Shrunk(const std::string &message) {
  return {Outcome::kKeyed, {message, "alpha shrink failed, continue with raw alpha (shrink=2.0000)"}};
}

Expectation Blurred(const Strings &calls, const std::string &message) {
  const bool one = std::count(calls.begin(), calls.end(), "gs_effect_set_float(blur_offset, 3.15)") > 0;
  const bool two = std::count(calls.begin(), calls.end(), "gs_effect_set_float(blur_offset, 4.675)") > 0;
  const char *intensity = one ? "0.2500" : two ? "0.5000" : "1.0000";
  return {Outcome::kKeyed,
          {message, "fg alpha blur failed, continue without blur (intensity=" + std::string(intensity) + ")"}};
}

std::string Level(const std::string &target) {
  return std::to_string(std::stoi(target.substr(std::string("texrender").size())) - 7);
}

Expectation ExpectedOfBegin(const Strings &calls, size_t k) {
  const std::string technique = TechniqueOf(calls, k);
  const std::string target = Between(calls[k], "(", ",");
  if (technique == "KeyLut") {
    return {Outcome::kPassedThrough,
            {"begin key lut pass failed (2560x2560)", "ensure_key_lut failed, fallback passthrough"}};
  }
  if (technique == "LutApply") {
    return {Outcome::kPassedThrough, {"begin uvka pass failed (64x48)", "uvka texture missing, fallback passthrough"}};
  }
  if (technique == "Denoise")
    return {Outcome::kKeyed, {"denoise begin failed", "denoise failed, continue with raw alpha"}};
  if (technique == "AlphaShrink")
    return Shrunk(target == kShrinkHTarget ? "alpha shrink pass H begin failed" : "alpha shrink pass V begin failed");
  if (technique == "BlurDown") return Blurred(calls, "blur down begin failed at level " + Level(target));
  if (technique == "BlurUp") {
    const std::string level = target == kBlurTempTarget ? "0" : std::to_string(std::stoi(Level(target)) + 1);
    return Blurred(calls, "blur up begin failed at level " + level);
  }
  if (technique == "BlurStep") return Blurred(calls, "blur step begin failed");
  return {Outcome::kPassedThrough,
          {"begin output pass failed (64x48)", "output texture missing, fallback passthrough"}};
}

Expectation ExpectedOfTexture(const Strings &calls, size_t k) {
  const std::string before = TechniqueBefore(calls, k);
  const std::string target = Between(calls[k], "(", ")");
  if (target == kKeyLutTarget) {
    const bool built = before == "KeyLut";
    const bool second = calls[k - 1] == calls[k];
    if (second) return {Outcome::kPassedThrough, {"key lut texture missing, fallback passthrough"}};
    if (!built) return {};  // the table is made again
    return {Outcome::kPassedThrough, {"key lut output texture missing", "ensure_key_lut failed, fallback passthrough"}};
  }
  if (before == "LutApply" && target == kUvkaTarget)
    return {Outcome::kPassedThrough, {"uvka texture missing, fallback passthrough"}};
  if (target == kStateTarget || target == kNextTarget) {
    if (before != "Denoise") return {};  // no previous state: the pass begins anew
    return {Outcome::kKeyed, {"denoise output texture missing", "denoise failed, continue with raw alpha"}};
  }
  if (before == "AlphaShrink")
    return Shrunk(target == kShrinkHTarget ? "alpha shrink pass H output missing"
                                           : "alpha shrink pass V output missing");
  const bool down_next = TechniqueOf(calls, k) == "BlurDown";
  if (down_next)
    return Blurred(calls, "blur down input missing at level " + std::to_string(std::stoi(Level(target)) + 1));
  if (TechniqueOf(calls, k) == "BlurUp") return Blurred(calls, "blur up input missing at level " + Level(target));
  if (TechniqueOf(calls, k) == "BlurStep") return Blurred(calls, "blur temp texture missing");
  if (before == "BlurStep") return Blurred(calls, "blur step output missing");
  return {Outcome::kPassedThrough, {"output texture missing, fallback passthrough"}};
}

Expectation RenderFailureSweep::Expected(const Strings &calls, size_t k) {
  const std::string &call = calls[k];
  const auto is = [&](const char *prefix) { return call.rfind(prefix, 0) == 0; };
  if (is("obs_filter_get_target")) return {Outcome::kSkipped, {"no filter target, skip", kRenderFalse}};
  if (is("obs_source_get_base_width")) return {Outcome::kSkipped, {"invalid target size (0x48), skip", kRenderFalse}};
  if (is("obs_source_get_base_height")) return {Outcome::kSkipped, {"invalid target size (64x0), skip", kRenderFalse}};
  if (is("obs_source_process_filter_begin")) return {Outcome::kNothing, {"process_filter_begin failed", kRenderFalse}};
  if (is("gs_effect_get_technique(effect1, OutputDraw)"))
    return {Outcome::kPassedThrough, {"output draw unavailable (texture=1 supported=0), passthrough"}};
  if (is("obs_get_base_effect") || is("gs_effect_get_param_by_name(base effect, image)") ||
      is("obs_source_process_filter_tech_end(filter, base effect") || is("gs_effect_get_val"))
    return {Outcome::kSkipped, {"source texture missing after process_filter_begin", kRenderFalse}};
  if (is("gs_texrender_begin")) return ExpectedOfBegin(calls, k);
  if (is("gs_texrender_get_texture")) return ExpectedOfTexture(calls, k);
  return {};  // what cannot fail, or draws nothing and counts as drawn
}

TEST_P(RenderFailureSweep, EachCallOfAFirstFrameDegradesAsItShould) {
  Create(GetParam().config);
  NextFrame();
  const Strings calls = gs_recorder::Calls();
  ASSERT_GT(calls.size(), 30u);
  for (size_t k = 0; k < calls.size(); ++k) {
    Create(GetParam().config);
    Tick();
    gs_recorder::FailCall(k + 1);
    Render();
    const Expectation expected = Expected(calls, k);
    EXPECT_EQ(DrawnOutcome(), expected.outcome) << k << " " << calls[k];
    EXPECT_EQ(Errors(), expected.errors) << k << " " << calls[k];
    EXPECT_EQ(gs_recorder::OpenBrackets(), 0) << k << " " << calls[k];
    EXPECT_EQ(gs_recorder::Misuse(), Strings{}) << k << " " << calls[k];
    NextFrame();
    EXPECT_TRUE(DrawnKeyed()) << k << " " << calls[k];
    EXPECT_EQ(Errors(), Strings{}) << k << " " << calls[k];
  }
}

TEST_P(RenderFailureSweep, EachCallOfALaterFrameDegradesAsItShould) {
  Create(GetParam().config);
  NextFrame();
  NextFrame();
  const Strings calls = gs_recorder::Calls();
  for (size_t k = 0; k < calls.size(); ++k) {
    Create(GetParam().config);
    NextFrame();
    ClearNotes();
    Tick();
    gs_recorder::FailCall(k + 1);
    Render();
    const Expectation expected = Expected(calls, k);
    EXPECT_EQ(DrawnOutcome(), expected.outcome) << k << " " << calls[k];
    EXPECT_EQ(Errors(), expected.errors) << k << " " << calls[k];
    EXPECT_EQ(gs_recorder::OpenBrackets(), 0) << k << " " << calls[k];
    NextFrame();
    EXPECT_TRUE(DrawnKeyed()) << k << " " << calls[k];
    EXPECT_EQ(Errors(), Strings{}) << k << " " << calls[k];
  }
}

// ---- Failures that last ----

TEST_F(RenderFailure, WithoutADefaultEffectAFallBackIsSkipped) {
  Create();
  // The first use is the search for the source's texture, the second the fall-back.
  NextFrame();
  ClearNotes();
  Tick();
  gs_recorder::FailAll("gs_texrender_begin(" + kUvkaTarget + ",");
  Render();
  size_t call = 0, uses = 0;
  for (const std::string &text : gs_recorder::Calls()) {
    ++call;
    if (text.rfind("obs_get_base_effect", 0) == 0 && ++uses == 2) break;
  }
  ASSERT_EQ(uses, 2u);
  ClearNotes();
  Tick();
  gs_recorder::FailCall(call);
  Render();
  EXPECT_THAT(Errors(), ElementsAre("begin uvka pass failed (64x48)", "uvka texture missing, fallback passthrough",
                                    "passthrough draw failed: base effect unavailable", kRenderFalse));
  EXPECT_TRUE(Skipped());
  EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
}

TEST_F(RenderFailure, AFilterWithoutAParentIsNotSkipped) {
  Create();
  filter_.parent = nullptr;
  filter_.target = nullptr;
  NextFrame();
  EXPECT_FALSE(Skipped()) << "libobs would follow the null parent";
  EXPECT_THAT(Errors(), ElementsAre("no filter target, skip", kRenderFalse));
}

TEST_F(RenderFailure, ShrinkThatFailsAfterAGoodDenoiseLeavesTheRawKeyAndTheNewState) {
  Create(R"({"alphaShrink":2})");
  NextFrame();
  gs_recorder::FailAll("gs_texrender_begin(" + kShrinkVTarget + ",");
  NextFrame();
  EXPECT_EQ(LastValue("alpha_adjust_flag"), "0");
  EXPECT_EQ(LastValue("alpha_adjust_tex"), kUvkaTarget + ".texture");
  gs_recorder::AllowAll();
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
  EXPECT_EQ(LastValue("prev_state_tex"), kStateTarget + ".texture") << "the state of the frame whose shrink failed";
}

TEST_F(RenderFailure, BlurAfterAFailedShrinkWorksOnTheRawKey) {
  Create(R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})");
  gs_recorder::FailAll("gs_texrender_begin(" + kShrinkVTarget + ",");
  NextFrame();
  EXPECT_THAT(Passes(), testing::Contains("BlurDown texrender7 32x24 image=texrender2.texture"));
  EXPECT_EQ(LastValue("alpha_adjust_flag"), "1");
}

TEST_F(RenderFailure, DenoiseThatCannotBeginLeavesTheStateUntouched) {
  Create();
  NextFrame();
  gs_recorder::FailAll("gs_texrender_begin(" + kStateTarget + ",");
  NextFrame();
  gs_recorder::AllowAll();
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
  EXPECT_EQ(LastValue("prev_state_tex"), kNextTarget + ".texture");
}

TEST_F(RenderFailure, DenoiseWithoutAResultBeginsAnew) {
  Create();
  NextFrame();
  const size_t at = [] {
    const Strings calls = gs_recorder::Calls();
    const auto found = std::find(calls.begin(), calls.end(), "gs_texrender_get_texture(" + kNextTarget + ")");
    return static_cast<size_t>(found - calls.begin());
  }();
  Create();
  Tick();
  gs_recorder::FailCall(at + 1);
  Render();
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "1");
}

TEST_F(RenderFailure, AFallBackDropsTheCache) {
  Create();
  gs_recorder::FailAll("gs_texrender_begin(" + kOutputTarget + ",");
  NextFrame();
  gs_recorder::AllowAll();
  ClearNotes();
  Render();
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
}

TEST_F(RenderFailure, ATargetWithoutASizeIsSkipped) {
  Create();
  target_.width = 0;
  NextFrame();
  EXPECT_THAT(Errors(), ElementsAre("invalid target size (0x48), skip", kRenderFalse));
  EXPECT_TRUE(Skipped());
}

// ---- Effects that lack something ----

constexpr char kEverything[] = R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})";
constexpr char kShrinkMessage[] = "alpha shrink failed, continue with raw alpha (shrink=2.0000)";
constexpr char kBlurMessage[] = "fg alpha blur failed, continue without blur (intensity=0.2500)";

class EffectThatLacks : public RenderFailure {
 protected:
  // A filter with every pass on, whose effect has all but `name`.
  void CreateWithout(const std::string &name) {
    gs_recorder::Reset();
    gs_recorder::SetEffectLacks({name, kOptionalTechnique});
    obs_data_set_string(settings_, "config", kEverything);
    instance_ = record_.create(settings_, &filter_);
    ASSERT_NE(instance_, nullptr) << name;
    EXPECT_EQ(Errors().size(), 1u) << name;
  }
};

TEST_F(EffectThatLacks, AnyOneParameterStillDrawsEveryFrame) {
  const std::string denoise = "denoise missing texture/effect param";
  const std::string shrink = "alpha shrink missing texture/effect param";
  const std::string blur = "fg alpha blur missing texture/effect param";
  const Expectation denoise_lost{Outcome::kKeyed, {denoise, "denoise failed, continue with raw alpha"}};
  const Expectation blur_lost{Outcome::kKeyed, {blur, kBlurMessage}};
  const std::map<std::string, Expectation> expected = {
      {"image", {Outcome::kPassedThrough, {"image param missing, fallback passthrough"}}},
      {"uv_lut", {}},
      {"output_tex", {Outcome::kPassedThrough, {"output draw unavailable (texture=1 supported=0), passthrough"}}},
      {"uvka_tex", {}},
      {"alpha_adjust_tex", {}},
      {"prev_state_tex", denoise_lost},
      {"denoise_q", denoise_lost},
      {"denoise_init_flag", denoise_lost},
      {"denoise_offset", denoise_lost},
      {"blur_tex", blur_lost},
      {"blur_offset", blur_lost},
      {"blur_weight", blur_lost},
      {"blur_halfpixel", blur_lost},
      {"alpha_shrink_offset", {Outcome::kKeyed, {shrink, kShrinkMessage}}},
      {"angle_info", {}},
      {"key_info", {}},
      {"spill_sup_flag", {}},
      {"spill_sup_offset", {}},
      {"spill_sup_yth", {}},
      {"alpha_adjust_flag", {}},
      {"alpha_down", {}},
      {"alpha_up", {}},
      {"blue_bg_flag", {}},
      {"spill_sup_scale_rgb", {}},
      {"spill_sup_red_w", {}},
      {"spill_sup_mix", {}},
  };
  EXPECT_EQ(expected.size(), 26u);
  for (const auto &[name, expectation] : expected) {
    log_.Clear();
    CreateWithout(name);
    for (int frame = 0; frame < 2; ++frame) {
      NextFrame();
      EXPECT_EQ(DrawnOutcome(), expectation.outcome) << name;
      EXPECT_EQ(Errors(), expectation.errors) << name;
      EXPECT_EQ(gs_recorder::Count("gs_effect_set_float(null"), 0u) << name;
      EXPECT_EQ(gs_recorder::Count("gs_effect_set_texture(null"), 0u) << name;
    }
    Destroy();
    EXPECT_EQ(gs_recorder::OpenBrackets(), 0) << name;
    EXPECT_EQ(gs_recorder::Misuse(), Strings{}) << name;
  }
}

TEST_F(EffectThatLacks, AnyOneTechniqueStillDrawsEveryFrame) {
  for (const char *name : {"KeyLut", "LutApply", "Denoise", "AlphaShrink", "BlurDown", "BlurUp", "BlurStep",
                           "SpillSuppression", "Passthrough", "OutputDraw"}) {
    log_.Clear();
    CreateWithout(name);
    const bool output = std::string(name) == "OutputDraw";
    for (int frame = 0; frame < 2; ++frame) {
      NextFrame();
      EXPECT_EQ(DrawnOutcome(), output ? Outcome::kPassedThrough : Outcome::kKeyed) << name;
      const Strings errors =
          output ? Strings{"output draw unavailable (texture=1 supported=0), passthrough"} : Strings{};
      EXPECT_EQ(Errors(), errors) << name;
    }
    Destroy();
  }
}

TEST_F(EffectThatLacks, ABlurParameterIsNotMissedWhereTheBlurIsNotEntered) {
  CreateWithout("blur_tex");
  Update(R"({"fgAlphaBlurIntensity":0.0000001})");
  ASSERT_EQ(Settings().fg_alpha_blur_intensity, 0.0000001f);
  NextFrame();
  EXPECT_THAT(Errors(), IsEmpty());
  Update(R"({"fgAlphaBlurIntensity":0.0000015})");  // above the limit: the blur is entered
  NextFrame();
  EXPECT_THAT(Errors(), ElementsAre("fg alpha blur missing texture/effect param",
                                    "fg alpha blur failed, continue without blur (intensity=0.0000)"));
}

TEST_F(EffectThatLacks, KeyLutCountsItsTableAsBuilt) {
  CreateWithout("KeyLut");
  NextFrame();
  NextFrame();
  EXPECT_EQ(gs_recorder::Count("gs_texrender_begin(" + kKeyLutTarget + ","), 0u);
}

TEST_F(EffectThatLacks, OutputDrawKeepsTheCacheFilled) {
  CreateWithout("OutputDraw");
  NextFrame();
  EXPECT_FALSE(PassNames().empty());
  ClearNotes();
  Render();
  EXPECT_THAT(PassNames(), IsEmpty());
  EXPECT_THAT(Errors(), ElementsAre("output draw unavailable (texture=1 supported=0), passthrough"));
  EXPECT_TRUE(PassedThrough());
  EXPECT_THAT(host_double::Reports(), IsEmpty());
}

}  // namespace
}  // namespace vanta_test
