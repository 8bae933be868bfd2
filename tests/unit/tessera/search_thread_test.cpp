// The thread beside the frames: it keeps nobody waiting, and what it finds late is still right.
#include "runner/search_thread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "fixtures/portrait/portrait.h"
#include "fixtures/process/wait.h"

namespace {

using tessera::FaceLook;
using tessera::NewFace;
using tessera::Placement;
using tessera::SearchAnswer;
using tessera::SearchTask;
using tessera::SearchThread;
using tessera::SmallPicture;

using PicturePtr = std::shared_ptr<const SmallPicture>;

// The portrait, moved to the right; its face is known.
PicturePtr Picture(uint64_t number, float to_the_right = 0, uint64_t generation = 0) {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  vanta_test::PortraitSetup setup;
  setup.middle.x += to_the_right;
  const auto placed = vanta_test::PlacePortrait(portrait, setup);
  auto picture = std::make_shared<SmallPicture>();
  picture->view.y = placed.i420.rowRange(0, setup.size.height).clone();
  picture->number = number;
  picture->generation = generation;
  return picture;
}
const Placement kPlace{{320, 240}, 60, 0};

SearchAnswer FaceAtItsPlace(const SearchTask &task) {
  SearchAnswer answer;
  answer.fresh.push_back(*FaceLook::Begin(task.picture->view, kPlace));
  return answer;
}

std::optional<NewFace> NotAgain(const SmallPicture &, const Placement &) {
  return std::nullopt;
}

// A turn that is held up until it is let through.
struct Gate {
  std::promise<void> begun;
  std::promise<void> open;

  void Pass() {
    begun.set_value();
    open.get_future().wait();
  }
};

// Asks the thread with a picture until it has answered.
SearchAnswer Answer(SearchThread &thread, const PicturePtr &picture) {
  SearchAnswer answer;
  vanta_test::WaitUntil([&] {
    answer = thread.Exchange(picture);
    return !answer.fresh.empty();
  });
  return answer;
}

TEST(SearchThread, KeepsNobodyWaitingWhileItSearches) {
  Gate gate;
  SearchThread thread(
      [&gate](const SearchTask &) {
        gate.Pass();
        return SearchAnswer{};
      },
      NotAgain);
  ASSERT_TRUE(thread.Ask({Picture(1), {}, 1}));
  gate.begun.get_future().wait();
  EXPECT_TRUE(thread.Exchange(Picture(2)).fresh.empty());
  EXPECT_FALSE(thread.Ask({Picture(2), {}, 1}));
  gate.open.set_value();
}

TEST(SearchThread, CarriesANewFaceThroughThePicturesThatCameMeanwhile) {
  Gate gate;
  SearchThread thread(
      [&gate](const SearchTask &task) {
        gate.Pass();
        return FaceAtItsPlace(task);
      },
      NotAgain);
  const PicturePtr first = Picture(1);
  thread.Exchange(first);
  ASSERT_TRUE(thread.Ask({first, {}, 1}));
  gate.begun.get_future().wait();
  for (uint64_t i = 2; i <= 6; ++i) thread.Exchange(Picture(i, 12 * static_cast<float>(i - 1)));
  gate.open.set_value();
  const SearchAnswer answer = Answer(thread, Picture(7, 60));
  ASSERT_EQ(answer.fresh.size(), 1U);
  EXPECT_NEAR(answer.fresh[0].placement.origin.x, kPlace.origin.x + 60, 2);
}

TEST(SearchThread, LooksAnewForAFaceThatIsOlderThanItsPictures) {
  Gate gate;
  std::atomic<uint64_t> looked_at{0};
  SearchThread thread(
      [&gate](const SearchTask &task) {
        gate.Pass();
        return FaceAtItsPlace(task);
      },
      [&looked_at](const SmallPicture &picture, const Placement &place) {
        looked_at = picture.number;
        return FaceLook::Begin(picture.view, place);
      });
  ASSERT_TRUE(thread.Ask({Picture(1), {}, 1}));
  gate.begun.get_future().wait();
  const PicturePtr later = Picture(100);
  for (uint64_t i = 2; i < 100; ++i) {
    auto picture = std::make_shared<SmallPicture>(*later);
    picture->number = i;
    thread.Exchange(picture);
  }
  gate.open.set_value();
  EXPECT_EQ(Answer(thread, later).fresh.size(), 1U);
  EXPECT_GE(looked_at, 99U);
}

TEST(SearchThread, HoldsNoOldPicturesWhileItRests) {
  SearchThread thread(FaceAtItsPlace, NotAgain);
  std::vector<std::weak_ptr<const SmallPicture>> shown;
  for (uint64_t i = 1; i <= 10; ++i) {
    const PicturePtr picture = std::make_shared<SmallPicture>();
    thread.Exchange(picture);
    shown.push_back(picture);
  }
  const auto held = std::count_if(shown.begin(), shown.end(), [](const auto &picture) { return !picture.expired(); });
  EXPECT_LE(held, 1);
}

TEST(SearchThread, AnswerOfOtherPicturesIsLeftOut) {
  SearchThread thread(FaceAtItsPlace, NotAgain);
  ASSERT_TRUE(thread.Ask({Picture(1), {}, 1}));
  const PicturePtr other = Picture(2, 0, 1);
  size_t found = 0;
  // The next turn begins when the first one's answer has been given up.
  vanta_test::WaitUntil([&] {
    found += thread.Exchange(other).fresh.size();
    return thread.Ask({Picture(3), {}, 1});
  });
  EXPECT_EQ(found, 0U);
}

TEST(SearchThread, WhatATurnThrowsIsTheCallers) {
  SearchThread thread([](const SearchTask &) -> SearchAnswer { throw std::runtime_error("no such picture"); },
                      NotAgain);
  ASSERT_TRUE(thread.Ask({Picture(1), {}, 1}));
  bool thrown = false;
  const PicturePtr picture = Picture(2);
  vanta_test::WaitUntil([&] {
    thread.Exchange(picture);
    try {
      thread.Rethrow();
    } catch (const std::runtime_error &) {
      thrown = true;
    }
    return thrown;
  });
  EXPECT_TRUE(thrown);
}

TEST(SearchThread, CountsItsProcessorTime) {
  SearchThread thread(FaceAtItsPlace, NotAgain);
  const PicturePtr picture = Picture(1);
  ASSERT_TRUE(thread.Ask({picture, {}, 1}));
  Answer(thread, picture);
  thread.Exchange(picture);
  EXPECT_GT(thread.Time().processor_ms, 0);
  EXPECT_GT(thread.Time().elapsed_ms, 0);
}

}  // namespace
