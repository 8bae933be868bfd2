// Many short lives of the finder whose search runs on a thread of its own: each ends while that thread is at a picture.
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>

#include "fixtures/portrait/portrait.h"
#include "fixtures/process/wait.h"
#include "runner/live_finder.h"
#include "runner/search_thread.h"
#include "vision/cascade_files.h"

namespace {

using tessera::LiveFinder;
using tessera::PictureView;

constexpr int kLives = 1000;

PictureView Small() {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  vanta_test::PortraitSetup setup;
  setup.size = {160, 160};
  setup.middle = {80, 72};
  setup.eye_distance = 36;
  vanta_test::PortraitPicture placed = vanta_test::PlacePortrait(portrait, setup);
  const auto plane = [&placed](int index, int side) {
    return cv::Mat(side, side, CV_8UC1, placed.Plane(index)).clone();
  };
  return {plane(0, 160), plane(1, 80), plane(2, 80)};
}

class FaceSearchStress : public testing::Test {
 protected:
  void SetUp() override {
    const auto find = [](const char *name) { return tessera::FindCascade(name, "", {}); };
    ASSERT_EQ(look_.Load({find(tessera::kFaceCascade), find(tessera::kEyeCascade), find(tessera::kQuickCascade)}).faces,
              "");
  }

  tessera::FaceLook look_;
};

TEST_F(FaceSearchStress, AThousandFindersEndAtOnceOrAfterSomePictures) {
  const PictureView picture = Small();
  for (int life = 0; life < kLives; ++life) {
    LiveFinder finder(look_);
    finder.SetMaxFaces(1 + life % 3);
    for (int i = 0; i < life % 7; ++i) {
      if (i == 4) finder.StartAnew();
      finder.Find(picture);
    }
  }
  // One that lives longer gets its faces from the same cascades.
  LiveFinder last(look_);
  EXPECT_TRUE(vanta_test::WaitUntil([&] { return !last.Find(picture).empty(); }, "a face"));
}

TEST_F(FaceSearchStress, AThousandSearchesAreLeftInTheirMiddle) {
  auto picture = std::make_shared<tessera::SmallPicture>();
  picture->view = Small();
  picture->number = 1;
  int begun_in_all = 0;
  for (int life = 0; life < kLives; ++life) {
    tessera::SearchTurns turns(look_);
    std::promise<void> begun;
    tessera::SearchThread thread(
        [&](const tessera::SearchTask &task) {
          begun.set_value();
          return turns.Turn(task);
        },
        [](const tessera::SmallPicture &, const tessera::Placement &) { return std::nullopt; });
    ASSERT_TRUE(vanta_test::WaitUntil([&] { return thread.Ask({picture, {}, 1}); }, "a free thread"));
    begun.get_future().wait();
    ++begun_in_all;
    thread.Exchange(picture);
    turns.Stop();
  }
  EXPECT_EQ(begun_in_all, kLives);
}

}  // namespace
