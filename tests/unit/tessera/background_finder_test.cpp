// Looking for faces in idle time: what the search gives, and what happens where there is too little of it.
#include "runner/background_finder.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using tessera::BackgroundFinder;
using tessera::FaceMemory;
using tessera::FoundFace;
using tessera::PictureView;

constexpr std::chrono::milliseconds kLong = 60s;  // no test waits for its end

PictureView Picture(int side) {
  return {cv::Mat(side, side, CV_8UC1, cv::Scalar(side)), cv::Mat(), cv::Mat()};
}

// A search that tells the picture's width as the face's, and counts in the memory.
std::vector<FoundFace> WidthAsFace(const PictureView &picture, FaceMemory &memory) {
  ++memory.until_whole_search;
  FoundFace face;
  face.box.width = picture.y.cols;
  return {face};
}

// As that, but the first picture is held up until it is let through. Copies share their state: the thread may still be
// at it when the test has ended.
class HeldSearch {
 public:
  std::vector<FoundFace> operator()(const PictureView &picture, FaceMemory &memory) const {
    if (!state_->begun_logged.exchange(true)) {
      state_->begun.set_value(gettid());
      state_->let_through.get_future().wait();
      state_->first_pixel.set_value(picture.y.at<uchar>(0, 0));
    }
    return WidthAsFace(picture, memory);
  }
  void AwaitBegin() { thread_ = state_->begun.get_future().get(); }
  pid_t Thread() const { return thread_; }
  int AwaitFirstPixel() { return state_->first_pixel.get_future().get(); }
  void LetThrough() { state_->let_through.set_value(); }

 private:
  struct State {
    std::atomic<bool> begun_logged{false};
    std::promise<pid_t> begun;
    std::promise<void> let_through;
    std::promise<int> first_pixel;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
  pid_t thread_ = 0;
};

class BackgroundFinding : public testing::Test {
 protected:
  FaceMemory memory_;
  std::vector<FoundFace> faces_;
};

TEST_F(BackgroundFinding, GivesWhatTheSearchFindsAndRemembers) {
  BackgroundFinder finder(WidthAsFace);
  for (const int side : {16, 32, 48}) {
    ASSERT_TRUE(finder.Find(Picture(side), memory_, faces_, kLong));
    ASSERT_EQ(faces_.size(), 1U);
    EXPECT_EQ(faces_[0].box.width, side);
  }
  EXPECT_EQ(memory_.until_whole_search, 3);
}

TEST_F(BackgroundFinding, SearchesOnAThreadWithIdleTimeOnly) {
  int policy = -1;
  BackgroundFinder finder([&policy](const PictureView &, FaceMemory &) {
    policy = sched_getscheduler(0);
    return std::vector<FoundFace>();
  });
  ASSERT_TRUE(finder.Find(Picture(16), memory_, faces_, kLong));
  EXPECT_EQ(policy, SCHED_IDLE);
}

TEST_F(BackgroundFinding, SearchThatTakesTooLongLeavesMemoryAndFacesAsTheyWere) {
  HeldSearch search;
  BackgroundFinder finder(search);
  faces_.resize(2);
  EXPECT_FALSE(finder.Find(Picture(16), memory_, faces_, 0ms));
  search.AwaitBegin();
  EXPECT_FALSE(finder.Find(Picture(32), memory_, faces_, 0ms));
  EXPECT_EQ(memory_.until_whole_search, 0);
  EXPECT_EQ(faces_.size(), 2U);
  search.LetThrough();
}

TEST_F(BackgroundFinding, WhatComesTooLateIsDropped) {
  HeldSearch search;
  BackgroundFinder finder(search);
  EXPECT_FALSE(finder.Find(Picture(16), memory_, faces_, 0ms));
  search.AwaitBegin();
  search.LetThrough();
  ASSERT_TRUE(finder.Find(Picture(32), memory_, faces_, kLong));
  EXPECT_EQ(faces_[0].box.width, 32);
  EXPECT_EQ(memory_.until_whole_search, 1);
}

TEST_F(BackgroundFinding, PictureMayChangeWhileTheThreadIsStillAtIt) {
  HeldSearch search;
  BackgroundFinder finder(search);
  std::vector<uchar> pixels(size_t{64} * 64, 7);
  const PictureView borrowed{cv::Mat(64, 64, CV_8UC1, pixels.data()), cv::Mat(), cv::Mat()};
  EXPECT_FALSE(finder.Find(borrowed, memory_, faces_, 0ms));
  search.AwaitBegin();
  std::fill(pixels.begin(), pixels.end(), uchar{9});
  search.LetThrough();
  EXPECT_EQ(search.AwaitFirstPixel(), 7);
}

TEST_F(BackgroundFinding, EndDoesNotWaitForTheSearch) {
  HeldSearch search;
  {
    BackgroundFinder finder(search);
    EXPECT_FALSE(finder.Find(Picture(16), memory_, faces_, 0ms));
    search.AwaitBegin();
  }
  search.LetThrough();
}

// Whether this process may take a thread out of the idle class.
bool MayReturnFromIdleTime() {
  bool may = false;
  std::thread([&may] {
    const sched_param no_priority{};
    may = sched_setscheduler(0, SCHED_IDLE, &no_priority) == 0 && sched_setscheduler(0, SCHED_OTHER, &no_priority) == 0;
  }).join();
  return may;
}

TEST_F(BackgroundFinding, LastSearchEndsAtTheUsualPriorityWhereThatIsAllowed) {
  if (!MayReturnFromIdleTime()) GTEST_SKIP() << "neither CAP_SYS_NICE nor a limit of niceness";
  HeldSearch search;
  {
    BackgroundFinder finder(search);
    EXPECT_FALSE(finder.Find(Picture(16), memory_, faces_, 0ms));
    search.AwaitBegin();
    ASSERT_EQ(sched_getscheduler(search.Thread()), SCHED_IDLE);
  }
  EXPECT_EQ(sched_getscheduler(search.Thread()), SCHED_OTHER);
  search.LetThrough();
}

TEST_F(BackgroundFinding, FailureOfTheSearchIsItsCallers) {
  BackgroundFinder finder([](const PictureView &picture, FaceMemory &memory) {
    if (picture.y.cols == 16) throw std::runtime_error("no such picture");
    return WidthAsFace(picture, memory);
  });
  EXPECT_THROW(finder.Find(Picture(16), memory_, faces_, kLong), std::runtime_error);
  EXPECT_TRUE(finder.Find(Picture(32), memory_, faces_, kLong));
}

}  // namespace
