// The filter's callbacks: what surrounds a render.
#include <gmock/gmock.h>

#include <cstring>

#include "fixtures/module/green_screen_fixture.h"
#include "greenscreen/green_screen_filter_source.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GreenScreenSource : public GreenScreenFixture {};

TEST_F(GreenScreenSource, RecordSetsItsSlotsAndNoOther) {
  std::vector<size_t> set;
  const auto *bytes = reinterpret_cast<const char *>(&record_);
  for (size_t offset = 0; offset < sizeof(record_); offset += 8) {
    uint64_t slot = 0;
    std::memcpy(&slot, bytes + offset, sizeof(slot));
    if (slot != 0) set.push_back(offset);
  }
  // id, type with flags, get_name, create, destroy, update, video_tick, video_render
  EXPECT_THAT(set, ElementsAre(0, 8, 16, 24, 32, 80, 120, 128));
  EXPECT_EQ(record_.type, OBS_SOURCE_TYPE_FILTER);
  EXPECT_EQ(record_.output_flags, static_cast<uint32_t>(OBS_SOURCE_VIDEO));
}

TEST_F(GreenScreenSource, AnUntranslatedHostShowsItsKey) {
  EXPECT_STREQ(record_.get_name(nullptr), "LXGreenScreenFilter");
}

TEST_F(GreenScreenSource, CreationAppliesTheConfig) {
  Create(R"({"alphaShrink":2})");
  EXPECT_EQ(Settings().alpha_shrink, 2.0f);
}

TEST_F(GreenScreenSource, CreationMakesElevenTargetsThenTheEffectInsideGraphics) {
  gs_recorder::Reset();
  instance_ = record_.create(settings_, &filter_);
  ASSERT_NE(instance_, nullptr);
  EXPECT_EQ(gs_recorder::Count("gs_texrender_create(GS_RGBA, GS_ZS_NONE)"), 11u);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 12u);
  EXPECT_EQ(gs_recorder::Count("obs_find_module_file(lx_green_screen_filter.effect)"), 1u);
  EXPECT_EQ(gs_recorder::GraphicsDepth(), 0);
}

TEST_F(GreenScreenSource, EachTargetThatCannotBeMadeFailsTheCreation) {
  for (size_t target = 1; target <= 11; ++target) {
    gs_recorder::Reset();
    log_.Clear();
    gs_recorder::FailCall(2 + 1 + target);  // the teardown's pair and this one's entry into graphics come first
    EXPECT_EQ(record_.create(settings_, &filter_), nullptr);
    EXPECT_THAT(Errors(),
                ElementsAre("create texrender failed", "[LX_green_screen_filter] create failed: renderer init error"));
    EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  }
}

TEST_F(GreenScreenSource, AMissingEffectFailsTheCreation) {
  gs_recorder::Reset();
  gs_recorder::SetModuleFile("");
  EXPECT_EQ(record_.create(settings_, &filter_), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("effect path resolve failed: requested=lx_green_screen_filter.effect",
                                    "[LX_green_screen_filter] create failed: renderer init error"));
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

TEST_F(GreenScreenSource, DestructionLeavesNothing) {
  Create();
  NextFrame();
  Destroy();
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

TEST_F(GreenScreenSource, DestructionOfNothingIsAccepted) {
  record_.destroy(nullptr);
}

TEST_F(GreenScreenSource, DestructionWritesTheLastCounts) {
  Create();
  NextFrame();
  log_.Clear();
  Destroy();
  EXPECT_EQ(log_.CountWith("lx_green_screen_render: frame cnt=1, "), 1u);
}

TEST_F(GreenScreenSource, UpdateWithoutDataOrSettingsIsRefused) {
  Create();
  record_.update(nullptr, settings_);
  record_.update(instance_, nullptr);
  const std::string line = "[LX_green_screen_filter] update skipped due to invalid data/settings";
  EXPECT_THAT(Errors(), ElementsAre(line, line));
}

TEST_F(GreenScreenSource, UpdateNeverMakesGraphicsObjects) {
  Create();
  Update(R"({"keyColor":[0,0,1],"alphaShrink":2})");
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

TEST_F(GreenScreenSource, TickOfNothingIsAccepted) {
  record_.video_tick(nullptr, 1.0f);
}

TEST_F(GreenScreenSource, TickCountsWhateverTheSeconds) {
  Create();
  record_.video_tick(instance_, 0.0f);
  record_.video_tick(instance_, 100.0f);
  EXPECT_EQ(data().frame_index, 2u);
}

TEST_F(GreenScreenSource, RenderWithoutDataDrawsNothing) {
  const gs_recorder::InGraphics inside;
  gs_recorder::Clear();
  record_.video_render(nullptr, nullptr);
  EXPECT_THAT(Errors(), ElementsAre("[LX_green_screen_filter] video_render skipped due to invalid filter/source"));
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

TEST_F(GreenScreenSource, RenderWithoutASourceDrawsNothing) {
  gs_recorder::Reset();
  instance_ = record_.create(settings_, nullptr);
  ASSERT_NE(instance_, nullptr);
  ClearNotes();
  Render();
  EXPECT_THAT(Errors(), ElementsAre("[LX_green_screen_filter] video_render skipped due to invalid filter/source"));
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
  Destroy();
  EXPECT_EQ(log_.CountWith("lx_green_screen_render: frame cnt=0"), 1u) << "such a call is not a measured frame";
}

TEST_F(GreenScreenSource, RenderBeforeAnyTickRunsThePasses) {
  Create();
  Render();
  EXPECT_TRUE(DrawnKeyed());
  EXPECT_THAT(PassNames(), ElementsAre("KeyLut", "LutApply", "Denoise", "SpillSuppression"));
}

TEST_F(GreenScreenSource, AFailedRenderIsLoggedAndCounted) {
  Create();
  filter_.target = nullptr;
  NextFrame();
  EXPECT_THAT(Errors(),
              ElementsAre("no filter target, skip", "[LX_green_screen_filter] renderer render returned false"));
  log_.Clear();
  Destroy();
  EXPECT_EQ(log_.CountWith("lx_green_screen_render: frame cnt=1, "), 1u);
}

// ---- The report ----

TEST_F(GreenScreenSource, TheFirstKeyedFrameIsReportedWithItsSize) {
  target_.width = 1920;
  target_.height = 1080;
  Create();
  NextFrame();
  EXPECT_THAT(host_double::Reports(),
              ElementsAre(HostReport{12, R"({"green_screen_cutout_success":true,"height":1080,"width":1920})"}));
}

TEST_F(GreenScreenSource, TheReportGoesOutOnceInAnInstancesLife) {
  Create();
  NextFrame();
  Render();
  target_.width = 32;
  NextFrame();
  gs_recorder::FailAll("gs_texrender_begin(" + kUvkaTarget + ",");
  NextFrame();
  gs_recorder::AllowAll();
  NextFrame();
  EXPECT_EQ(host_double::Reports().size(), 1u);
}

TEST_F(GreenScreenSource, AFrameThatPassedThroughIsNotReported) {
  Create();
  gs_recorder::FailAll("gs_texrender_begin(" + kUvkaTarget + ",");
  NextFrame();
  EXPECT_TRUE(PassedThrough());
  EXPECT_THAT(host_double::Reports(), IsEmpty());
  gs_recorder::AllowAll();
  target_.width = 96;
  NextFrame();
  EXPECT_THAT(host_double::Reports(),
              ElementsAre(HostReport{12, R"({"green_screen_cutout_success":true,"height":48,"width":96})"}));
}

TEST_F(GreenScreenSource, EachInstanceReportsForItself) {
  Create();
  NextFrame();
  Create();
  NextFrame();
  EXPECT_EQ(host_double::Reports().size(), 2u);
}

}  // namespace
}  // namespace vanta_test
