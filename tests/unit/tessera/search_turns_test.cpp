// A search in turns, as its thread calls it.
#include "search/search_turns.h"

#include <gtest/gtest.h>

#include <memory>

#include "fixtures/portrait/portrait.h"
#include "fixtures/portrait/skin_tones.h"
#include "vision/cascade_files.h"

namespace {

class SearchTurns : public testing::Test {
 protected:
  SearchTurns() {
    const auto find = [](const char *name) { return tessera::FindCascade(name, "", {}); };
    EXPECT_EQ(
        look_.Load({find(tessera::kFaceCascade), find(tessera::kEyeCascade), find(tessera::kQuickCascade), "", ""})
            .faces,
        "");
    picture_ = vanta_test::PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), {});
    auto small = std::make_shared<tessera::SmallPicture>();
    small->view.y = picture_.i420.rowRange(0, picture_.bgr.rows);
    task_.picture = small;
  }

  // How many of these turns found a face.
  int Found(int turns) {
    int found = 0;
    for (int i = 0; i < turns; ++i) found += !turns_.Turn(task_).fresh.empty();
    return found;
  }

  tessera::FaceLook look_;
  vanta_test::PortraitPicture picture_;
  tessera::SearchTask task_;
  tessera::SearchTurns turns_{look_};
};

TEST_F(SearchTurns, FindTheFaceOfAPicture) {
  EXPECT_GT(Found(4), 0);
}

TEST_F(SearchTurns, FindAVeryDarkFaceInDimLight) {
  vanta_test::PortraitSetup setup;
  setup.gain = 0.7F;
  picture_ = vanta_test::PlacePortrait(
      vanta_test::Recoloured(vanta_test::ReadPortrait(VANTA_PORTRAIT), vanta_test::kMonkTones[9]), setup);
  auto small = std::make_shared<tessera::SmallPicture>();
  small->view.y = picture_.i420.rowRange(0, picture_.bgr.rows);
  task_.picture = small;
  EXPECT_GT(Found(50), 0);
}

TEST_F(SearchTurns, LookAtNoProposalOnceTheyAreToEnd) {
  turns_.Stop();
  EXPECT_EQ(Found(4), 0);
}

}  // namespace
