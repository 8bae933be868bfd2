// An optional pass in the renderer: where it stands, and that the key does not need it.
#include "greenscreen/passes/optional_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"
#include "greenscreen/green_screen_renderer.h"
#include "greenscreen/targets/feedback_target.h"
#include "greenscreen/targets/render_pass.h"

namespace vanta_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

// Draws "Extra" from the frame into a small texture that it keeps for the next one, and hands it over as `extra_tex`.
class ExtraPass : public vanta::OptionalPass {
 public:
  void Bind(const vanta::GreenScreenEffect &effect) override {
    offered_ = effect.HasTechnique("Extra");
    extra_tex_ = effect.OptionalParameter("extra_tex");
  }

  void Run(const vanta::GreenScreenEffect &effect, const vanta::BeforeKey &input) override {
    sizes_.push_back(input.size);
    if (!offered_ || !extra_tex_ || (!state_.exists() && !state_.Create())) return;
    had_previous_.push_back(state_.Previous(input.size) != nullptr);
    {
      const vanta::RenderPass pass(state_.next(), {16, 12});
      if (!pass) return;
      vanta::SetTexture(effect.params().image, input.source_tex);
      effect.Draw("Extra");
    }
    vanta::SetTexture(extra_tex_, state_.Advance(input.size));
  }

  void Release() override {
    ++releases_;
    state_.Destroy();
    extra_tex_ = nullptr;
  }

  std::vector<vanta::FrameSize> sizes_;
  std::vector<bool> had_previous_;
  int releases_ = 0;

 private:
  bool offered_ = false;
  gs_eparam_t *extra_tex_ = nullptr;
  vanta::FeedbackTarget state_;
};

class OptionalPass : public GreenScreenPassFixture {
 protected:
  OptionalPass() {
    target_.name = "target";
    target_.width = 64;
    target_.height = 48;
    filter_.name = "filter";
    filter_.parent = filter_.target = &target_;
    renderer_.UpdateSettings(R"({"denoiseEnabled":false})");
    auto pass = std::make_unique<ExtraPass>();
    extra_ = pass.get();
    renderer_.AddOptionalPass(std::move(pass));
  }
  ~OptionalPass() override {
    gs_recorder::AllowAll();
    renderer_.Teardown();
  }

  void InitialiseWithout(const std::vector<std::string> &names) {
    gs_recorder::SetEffectLacks(names);
    ASSERT_TRUE(renderer_.Initialise("a.effect"));
    gs_recorder::Clear();
  }
  // Whether the frame was drawn keyed.
  bool Render(uint64_t frame_index) {
    vanta::GreenScreenRenderResult result;
    EXPECT_TRUE(renderer_.Render(&filter_, frame_index, result));
    return result.keyed;
  }
  static std::vector<std::string> Techniques() {
    std::vector<std::string> names = Passes();
    for (std::string &name : names) name.erase(name.find(' '));
    return names;
  }

  // What "Extra" was drawn into last; empty where it was not drawn.
  static std::string ExtraTarget() {
    std::string target;
    for (const std::string &pass : Passes())
      if (pass.rfind("Extra ", 0) == 0) target = pass.substr(6, pass.rfind(' ') - 6);
    return target;
  }

  obs_source target_;
  obs_source filter_;
  vanta::GreenScreenRenderer renderer_;
  ExtraPass *extra_ = nullptr;
};

TEST_F(OptionalPass, RunsBetweenTheKeyTableAndTheKey) {
  InitialiseWithout({});
  EXPECT_TRUE(Render(1));
  EXPECT_THAT(Techniques(), ElementsAre("KeyLut", "Extra", "LutApply", "SpillSuppression"));
}

TEST_F(OptionalPass, IsNotRunForACachedFrame) {
  InitialiseWithout({});
  Render(1);
  gs_recorder::Clear();
  EXPECT_TRUE(Render(1));
  EXPECT_THAT(Techniques(), IsEmpty());
}

TEST_F(OptionalPass, ThatTheFileLacksIsNotMissed) {
  for (const char *name : {"Extra", "extra_tex"}) {
    log_.Clear();
    InitialiseWithout({name});
    EXPECT_TRUE(Render(1)) << name;
    EXPECT_THAT(Techniques(), ElementsAre("KeyLut", "LutApply", "SpillSuppression")) << name;
    EXPECT_THAT(Errors(), IsEmpty()) << name;
  }
}

TEST_F(OptionalPass, WhoseTargetsCannotBeMadeLeavesTheFrameKeyed) {
  InitialiseWithout({});
  gs_recorder::FailAll("gs_texrender_create");
  EXPECT_TRUE(Render(1));
  EXPECT_THAT(Techniques(), Not(Contains("Extra")));
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(OptionalPass, WhoseTargetsCannotBeBegunLeavesTheFrameKeyed) {
  InitialiseWithout({});
  uint64_t frame = 0;
  std::vector<std::string> lost;
  for (int other = 0; other < 2; ++other) {  // its two targets take turns
    for (int i = 0; i < other; ++i) Render(++frame);
    gs_recorder::Clear();
    Render(++frame);
    lost.push_back(ExtraTarget());
    Render(++frame);
    gs_recorder::Clear();
    gs_recorder::FailAll("gs_texrender_begin(" + lost.back() + ",");
    EXPECT_TRUE(Render(++frame)) << lost.back();
    EXPECT_THAT(Techniques(), Not(Contains("Extra"))) << lost.back();
    gs_recorder::AllowAll();
  }
  EXPECT_NE(lost[0], lost[1]);
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(OptionalPass, SeesAChangeOfSizeInItsState) {
  InitialiseWithout({});
  Render(1);
  Render(2);
  target_.width = 96;
  Render(3);
  Render(4);
  EXPECT_THAT(extra_->had_previous_, ElementsAre(false, true, false, true));
  EXPECT_THAT(extra_->sizes_, ElementsAre(kSize, kSize, vanta::FrameSize{96, 48}, vanta::FrameSize{96, 48}));
}

TEST_F(OptionalPass, IsReleasedWithTheEffect) {
  InitialiseWithout({});
  Render(1);
  const int before = extra_->releases_;
  renderer_.Teardown();
  EXPECT_EQ(extra_->releases_, before + 1);
}

}  // namespace
}  // namespace vanta_test
