// The map of the backing on the graphics recorder: its targets, what it keeps, and that the key does not need it.
#include "greenscreen/passes/backing_map_pass.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BackingMapPass : public GreenScreenPassFixture {
 protected:
  BackingMapPass() { pass_.Bind(effect_); }
  ~BackingMapPass() override {
    gs_recorder::AllowAll();
    pass_.Release();
  }

  // `ticks` after the last time.
  void Run(uint64_t ticks = vanta::BackingMapPass::kTicks) {
    gs_recorder::Clear();
    input_.frame_index += ticks;
    pass_.Run(effect_, input_);
  }
  static size_t TargetsMade() {
    const std::vector<std::string> calls = gs_recorder::Calls();
    return static_cast<size_t>(std::count_if(calls.begin(), calls.end(), [](const std::string &call) {
      return call.rfind("gs_texrender_create(", 0) == 0;
    }));
  }
  static std::vector<std::string> Techniques() {
    std::vector<std::string> names;
    for (const std::string &pass : Passes()) names.push_back(pass.substr(0, pass.find(' ')));
    return names;
  }
  // The first value of the flag in a frame: whether there was something to go on from. Empty where nothing was drawn.
  static std::string HadPrevious() {
    const std::vector<std::string> values = Values("mixing_flag");
    return values.empty() ? "" : values.front();
  }

  vanta::BackingMapPass pass_;
  vanta::BeforeKey input_{kSize, &source_, &key_, 1, {}};
};

TEST_F(BackingMapPass, DrawsCellsMapsEvidenceAndWhatIsKeptOfItThenTheMapsWithThat) {
  Run();
  const std::vector<std::string> maps{"BackingCells texrender1 48x27", "BackingMap texrender2 48x27",
                                      "FineMap texrender3 384x216"};
  std::vector<std::string> wanted = maps;
  wanted.insert(wanted.end(), {"MixingCells texrender4 48x27", "Mixing texrender6 1x1"});
  wanted.insert(wanted.end(), maps.begin(), maps.end());
  EXPECT_EQ(Passes(), wanted);
  EXPECT_THAT(Values("backing_flag"), ElementsAre("1"));
  EXPECT_EQ(Values("backing_tex").back(), "texrender3.texture");
}

TEST_F(BackingMapPass, MakesItsTargetsOnceAndNotBeforeItRuns) {
  EXPECT_EQ(TargetsMade(), 0u);
  Run();
  EXPECT_EQ(TargetsMade(), 6u);
  Run();
  EXPECT_EQ(TargetsMade(), 0u);
}

TEST_F(BackingMapPass, GoesOnFromTheFrameBefore) {
  Run();
  EXPECT_EQ(HadPrevious(), "0");
  Run();
  EXPECT_EQ(HadPrevious(), "1");
}

TEST_F(BackingMapPass, DrawsTheMapAtEveryFourthTickAndTheEvidenceAtEverySixteenthBetween) {
  Run();
  const std::vector<std::string> map{"BackingCells", "BackingMap", "FineMap"}, evidence{"MixingCells", "Mixing"},
      nothing;
  for (int tick = 1; tick <= 32; ++tick) {
    Run(1);
    EXPECT_EQ(Techniques(), tick % 4 == 0 ? map : tick % 16 == 14 ? evidence : nothing) << tick;
    EXPECT_THAT(Values("backing_flag"), ElementsAre("1")) << tick;
  }
}

TEST_F(BackingMapPass, DrawsTheMapAnewAfterAPause) {
  Run();
  Run(1000);
  EXPECT_THAT(Techniques(), ElementsAre("BackingCells", "BackingMap", "FineMap", "MixingCells", "Mixing"));
}

TEST_F(BackingMapPass, BeginsAnewWithAnotherSimilarity) {
  Run();
  input_.settings.similarity = 0.5f;
  Run(1);
  EXPECT_EQ(HadPrevious(), "0");
}

TEST_F(BackingMapPass, BeginsAnewWithAnotherSize) {
  Run();
  input_.size.width *= 2;
  Run(1);
  EXPECT_EQ(HadPrevious(), "0");
}

TEST_F(BackingMapPass, BeginsAnewWithAnotherKey) {
  Run();
  input_.settings.key_color[2] = 0.5f;
  Run(1);
  EXPECT_EQ(HadPrevious(), "0");
}

TEST_F(BackingMapPass, SaysThatThereIsNoMapWhereATargetCannotBeMade) {
  gs_recorder::FailAll("gs_texrender_create");
  Run();
  EXPECT_EQ(Values("backing_flag").back(), "0");
  EXPECT_EQ(Values("backing_tex").back(), "null");
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(BackingMapPass, SaysThatThereIsNoMapWhereATargetIsLost) {
  for (const char *call : {"gs_texrender_begin(texrender1", "gs_texrender_begin(texrender2",
                           "gs_texrender_begin(texrender3", "gs_texrender_begin(texrender4"}) {
    Run();
    EXPECT_EQ(Values("backing_flag").back(), "1") << "before " << call;
    gs_recorder::FailAll(call);
    Run(vanta::BackingMapPass::kMixingTicks);
    EXPECT_EQ(Values("backing_flag").back(), "0") << call;
    EXPECT_EQ(Values("backing_tex").back(), "null") << call;
    gs_recorder::AllowAll();
  }
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(BackingMapPass, SetsTheMapAgainForTheSpill) {
  Run();
  gs_recorder::Clear();
  pass_.SetForSpill(input_);
  EXPECT_THAT(Values("backing_tex"), ElementsAre("texrender3.texture"));
  EXPECT_THAT(Values("backing_flag"), ElementsAre("1"));
}

TEST_F(BackingMapPass, IsOffWhereTheFileLacksAnyOfIt) {
  for (const char *name :
       {"BackingCells", "BackingMap", "FineMap", "MixingCells", "Mixing", "backing_tex", "mixing_cells_tex",
        "mixing_tex", "backing_flag", "mixing_flag", "key_color", "frame_texel"}) {
    pass_.Release();
    LoadWithout({name});
    pass_.Bind(effect_);
    Run();
    EXPECT_THAT(Passes(), IsEmpty()) << name;
    EXPECT_EQ(TargetsMade(), 0u) << name;
    EXPECT_THAT(Errors(), IsEmpty()) << name;
  }
}

}  // namespace
}  // namespace vanta_test
