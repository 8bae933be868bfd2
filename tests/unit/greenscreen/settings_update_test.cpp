// What a settings update does to the renderer's cache, to its key table, and to the log.
#include <gmock/gmock.h>

#include "fixtures/module/green_screen_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SettingsUpdate : public GreenScreenFixture {
 protected:
  // A filter that has drawn a frame: its cache is filled, its key table made.
  void CreateAndDraw(const std::string &config = "{}") {
    Create(config);
    Tick();
    Render();
    ClearNotes();
  }
  // A second render in the same tick; what it ran.
  std::vector<std::string> RenderAgain() {
    ClearNotes();
    Render();
    return PassNames();
  }
};

TEST_F(SettingsUpdate, WithoutAChangeTheCacheSurvives) {
  CreateAndDraw(R"({"alphaUp":0.5})");
  Update(R"({ "alphaUp" : 0.5 })");
  EXPECT_THAT(RenderAgain(), IsEmpty());
}

TEST_F(SettingsUpdate, EmptyObjectChangesNothing) {
  CreateAndDraw(R"({"alphaUp":0.5})");
  Update("{}");
  EXPECT_THAT(RenderAgain(), IsEmpty());
  EXPECT_EQ(Settings().alpha_up, 0.5f);
}

TEST_F(SettingsUpdate, EmptyTextChangesNothing) {
  CreateAndDraw(R"({"alphaUp":0.5})");
  Update("");
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_THAT(RenderAgain(), IsEmpty());
}

TEST_F(SettingsUpdate, EmptyAndNullTextsAreNotRememberedAsTheLast) {
  Create();
  Update("[1]");
  Update("");
  data().renderer.UpdateSettings(nullptr);
  Update("[1]");
  EXPECT_THAT(Errors(), ElementsAre("invalid config json, keep previous settings. json=[1]"));
}

TEST_F(SettingsUpdate, NullTextChangesNothing) {
  CreateAndDraw();
  data().renderer.UpdateSettings(nullptr);
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_THAT(RenderAgain(), IsEmpty());
}

TEST_F(SettingsUpdate, AChangeThatTheTableDoesNotKnowDropsTheCacheAlone) {
  CreateAndDraw();
  Update(R"({"spillSupScaleR":0.1})");
  EXPECT_THAT(RenderAgain(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
}

TEST_F(SettingsUpdate, AChangeOfTheKeyDropsTheCacheAndRebuildsTheTable) {
  CreateAndDraw();
  Update(R"({"keyColor":[0.0,0.0,1.0]})");
  EXPECT_THAT(RenderAgain(), ElementsAre("KeyLut", "LutApply", "Denoise", "SpillSuppression"));
  EXPECT_EQ(LastValue("blue_bg_flag"), "1");
}

TEST_F(SettingsUpdate, TheTableIsBuiltOncePerChange) {
  CreateAndDraw();
  Update(R"({"similarity":0.5})");
  RenderAgain();
  NextFrame();
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
}

TEST_F(SettingsUpdate, TextThatIsNoJsonIsLoggedAndKeepsTheSettings) {
  CreateAndDraw(R"({"alphaUp":0.5})");
  Update("no json %s");
  EXPECT_THAT(Errors(), ElementsAre("invalid config json, keep previous settings. json=no json %s"));
  EXPECT_EQ(Settings().alpha_up, 0.5f);
  EXPECT_THAT(RenderAgain(), IsEmpty());
}

TEST_F(SettingsUpdate, TheSameBadTextIsLoggedOnce) {
  Create();
  Update("[1]");
  Update("[1]");
  EXPECT_THAT(Errors(), ElementsAre("invalid config json, keep previous settings. json=[1]"));
}

TEST_F(SettingsUpdate, ABadTextIsLoggedAgainAfterAnother) {
  Create();
  Update("[1]");
  Update("{}");
  Update("[1]");
  EXPECT_EQ(Errors().size(), 2u);
}

TEST_F(SettingsUpdate, TheSameTextIsNotAppliedTwice) {
  Create(R"({"keyColor":[0,0,1]})");
  Update(R"({"blueBgFlag":0})");
  Update(R"({"keyColor":[0,0,1]})");
  EXPECT_EQ(Settings().blue_bg_flag, 1) << "another text came between, so this one counts again";
  Update(R"({"alphaUp":0.5})");
  Update("");
  Update(R"({"alphaUp":0.5})");
  EXPECT_THAT(Errors(), IsEmpty());
}

}  // namespace
}  // namespace vanta_test
