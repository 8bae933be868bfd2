// A runner whose caller is batch work.
#include <gtest/gtest.h>
#include <sched.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "fixtures/process/log_capture.h"

namespace {

using vanta_test::FaceReader;
using vanta_test::PlacePortrait;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;

PortraitPicture Portrait(float to_the_right = 0) {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  PortraitSetup setup;
  setup.middle.x += to_the_right;
  return PlacePortrait(portrait, setup);
}

// Whether any thread of this process has idle time only.
bool HasIdleThread() {
  for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
    if (sched_getscheduler(std::stoi(task.path().filename().string())) == SCHED_IDLE) return true;
  }
  return false;
}

std::vector<vanta_test::ReadFace> RunAsBatchWork(FaceReader &reader, PortraitPicture &picture) {
  std::vector<vanta_test::ReadFace> faces;
  std::thread([&] {
    const sched_param no_priority{};
    EXPECT_EQ(sched_setscheduler(0, SCHED_BATCH, &no_priority), 0);
    faces = reader.Run(picture);
  }).join();
  return faces;
}

TEST(BatchCaller, GetsTheSameFaces) {
  FaceReader usual;
  FaceReader patient;
  for (const float right : {0.0F, 3.0F, 90.0F}) {
    PortraitPicture picture = Portrait(right);
    const auto expected = usual.Run(picture);
    const auto found = RunAsBatchWork(patient, picture);
    ASSERT_EQ(expected.size(), 1U);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].points, expected[0].points);
  }
}

TEST(BatchCaller, HasItsPicturesSearchedOnAnIdleThread) {
  PortraitPicture picture = Portrait();
  FaceReader reader;
  reader.Run(picture);
  EXPECT_FALSE(HasIdleThread());
  RunAsBatchWork(reader, picture);
  EXPECT_TRUE(HasIdleThread());
}

TEST(BatchCaller, ThatBecomesAUsualOneFindsWhatWasRemembered) {
  PortraitPicture picture = Portrait();
  FaceReader usual;
  usual.Run(picture);
  const auto expected = usual.Run(picture);
  FaceReader reader;
  RunAsBatchWork(reader, picture);
  const auto found = reader.Run(picture);
  ASSERT_EQ(expected.size(), 1U);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].points, expected[0].points);
}

TEST(BatchCaller, IsServedAtItsOwnPriorityWhereTheCascadesCannotBeReadAgain) {
  std::string folder = (std::filesystem::temp_directory_path() / "vanta_cascades_XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  for (const char *name : {"haarcascade_frontalface_alt2.xml", "haarcascade_eye.xml"}) {
    std::filesystem::copy(std::filesystem::path("/usr/share/opencv4/haarcascades") / name, folder);
  }
  FaceReader reader(1, folder);
  EXPECT_EQ(reader.init_result(), 0);
  std::filesystem::remove_all(folder);
  PortraitPicture picture = Portrait();
  vanta_test::LogCapture log;
  for (int run = 0; run < 2; ++run) EXPECT_EQ(RunAsBatchWork(reader, picture).size(), 1U);
  EXPECT_FALSE(HasIdleThread());
  EXPECT_EQ(log.CountWith("no search in idle time"), 1U);
}

TEST(BatchCaller, OfARunnerWithoutCascadesGetsNoResult) {
  setenv("TESSERA_CASCADES", "/nowhere", 1);
  FaceReader reader;
  ASSERT_NE(reader.init_result(), 0);
  PortraitPicture picture = Portrait();
  EXPECT_TRUE(RunAsBatchWork(reader, picture).empty());
  EXPECT_FALSE(HasIdleThread());
}

}  // namespace
