// The landmark worker: the runner's life, the CPU path, its end.
#include <gmock/gmock.h>

#include <pthread.h>
#include <sys/mman.h>

#include <clocale>
#include <memory>
#include <string>
#include <vector>

#include "fixtures/module/landmark_fixture.h"
#include "fixtures/process/wait.h"
#include "landmark/tessera_landmark_filter_worker.h"

namespace vanta_test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;
using Worker = vanta::TesseraLandmarkFilterWorker;

class LandmarkWorker : public LandmarkFixture {
 protected:
  ~LandmarkWorker() override { End(); }

  void Start() { worker_ = std::make_unique<Worker>(); }
  // As the filter ends it: with the graphics context held.
  void End() {
    scripted_runner::Open();
    if (!worker_) return;
    worker_->Stop();
    const gs_recorder::InGraphics graphics;
    worker_.reset();
  }
  bool Push(uint32_t width, uint32_t height, uint8_t grey, uint32_t padding = 0) {
    const uint32_t linesize = width * 4 + padding;
    const std::vector<uint8_t> pixels(size_t{linesize} * height, grey);
    return worker_->PushFrame(pixels.data(), width, height, linesize);
  }
  // A push that finds the thread at work wakes nobody, so this one comes again until it is seen.
  void PushUntilRun(uint32_t width, uint32_t height, uint8_t grey, uint32_t padding = 0) {
    WaitUntil(
        [&] {
          EXPECT_TRUE(Push(width, height, grey, padding));
          const std::vector<RunnerPicture> pictures = scripted_runner::Pictures();
          return !pictures.empty() && pictures.back().y.front() == Luma(grey);
        },
        "a run on the picture");
  }
  void PushUntilAtGate(uint32_t width, uint32_t height, uint8_t grey) {
    scripted_runner::Close();
    WaitUntil(
        [&] {
          Push(width, height, grey);
          return scripted_runner::AtGate();
        },
        "a run at the gate");
  }
  static RunnerPicture LastPicture() {
    const std::vector<RunnerPicture> pictures = scripted_runner::Pictures();
    return pictures.empty() ? RunnerPicture() : pictures.back();
  }

  std::unique_ptr<Worker> worker_;
};

// ---- The runner's life ----

TEST_F(LandmarkWorker, RunnerIsConfiguredAndStartedInItsOrder) {
  Start();
  PushUntilRun(4, 2, 255);
  End();
  Strings calls = scripted_runner::Texts();
  std::erase(calls, "run(4x2)");
  std::erase(calls, "run(1920x1080)");
  const std::string folder = "/config/VantaLive/basic/default/CorvidModel";
  EXPECT_THAT(calls, ElementsAre("TesseraConfig(tessera_landmarks)", "setUseMode(qnet_v3)",
                                 "setModelFolderPath(" + folder + "/magic_qnet_model_landmark)",
                                 "setModelFilePaths(" + folder + "/magic_qnet_model_landmark/landmarks_cfg.txt)",
                                 "setConfigParam({qnet_v3_param={\"thread_num\": 1}})", "createTesseraRunner()",
                                 "setLogLevel(3)", "init()",
                                 "setParam({landmarks_param={detect_eyeball=0, detect_model=superfast, "
                                 "detect_tongue=0, detect_tooth=0, max_face_num=1, sync_detect=1, "
                                 "use_correct_mode=0, use_mask=0, use_sub_eye=0, use_sub_mouth=0}})",
                                 "~TesseraRunner()"));
}

TEST_F(LandmarkWorker, EveryCallOfTheRunnerComesFromTheWorkersThread) {
  Start();
  PushUntilRun(4, 2, 255);
  End();
  const std::vector<RunnerCall> calls = scripted_runner::Calls();
  ASSERT_FALSE(calls.empty());
  EXPECT_NE(calls[0].thread, std::this_thread::get_id());
  for (const RunnerCall &call : calls) EXPECT_EQ(call.thread, calls[0].thread) << call.text;
}

TEST_F(LandmarkWorker, LogTellsOfStartRunnerAndStop) {
  Start();
  PushUntilRun(4, 2, 255);
  End();
  std::vector<std::string> lines;
  for (const LogLine &line : log_.Lines()) {
    EXPECT_EQ(line.level, LOG_INFO) << line.text;
    if (line.text.rfind("TesseraLandmarkFilterWorker stop thread[", 0) != 0) lines.push_back(line.text);
  }
  EXPECT_THAT(lines,
              ElementsAre("TesseraLandmarkFilterWorker start", "init landmark runner success, set video edit mode",
                          "tessera landmark reset", "TesseraLandmarkFilterWorker stop"));
  EXPECT_EQ(log_.CountWith("TesseraLandmarkFilterWorker stop thread["), 1u);
}

TEST_F(LandmarkWorker, ThreadHasItsName) {
  std::string name;
  RunnerScript script;
  script.on_run = [&name](const RunnerPicture &) {
    char text[32] = {};
    pthread_getname_np(pthread_self(), text, sizeof(text));
    name = text;
  };
  scripted_runner::SetScript(script);
  Start();
  PushUntilRun(4, 2, 255);
  End();
  EXPECT_EQ(name, std::string("TesseraLandmarkFilterWorker").substr(0, 15));
}

TEST_F(LandmarkWorker, WithoutAModelFolderThereIsNoRunnerAndTheEndIsClean) {
  ConfigFolder("");
  Start();
  End();
  EXPECT_TRUE(log_.Has(LOG_ERROR, "can not find model dir"));
  EXPECT_THAT(scripted_runner::Texts(), IsEmpty());
  EXPECT_FALSE(log_.HasText("tessera landmark reset"));
}

TEST_F(LandmarkWorker, ModelFolderOutsideAsciiIsGivenInTheCodePage) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  ConfigFolder("/k\xc3\xb6nfig");
  Start();
  End();
  std::setlocale(LC_CTYPE, "C");
  EXPECT_THAT(scripted_runner::Texts(), Contains("setModelFolderPath(/k\xc3\xb6nfig/VantaLive/basic/default/CorvidModel"
                                                 "/magic_qnet_model_landmark)"));
}

TEST_F(LandmarkWorker, ModelFolderThatTheCodePageCannotNameIsNone) {
  ConfigFolder("/k\xc3\xb6nfig");
  Start();
  End();
  EXPECT_TRUE(log_.Has(LOG_ERROR, "can not find model dir"));
  EXPECT_THAT(scripted_runner::Texts(), IsEmpty());
}

TEST_F(LandmarkWorker, WithoutARunnerPicturesArePreparedAndNothingIsSent) {
  RunnerScript script;
  script.create = false;
  scripted_runner::SetScript(script);
  Start();
  WaitUntil(
      [&] {
        EXPECT_TRUE(Push(4, 2, 255));
        return host_double::Count("LandmarkThreadSleep") >= 2;
      },
      "two units of work");
  End();
  EXPECT_TRUE(log_.Has(LOG_ERROR, "create landmark runner failed"));
  EXPECT_EQ(scripted_runner::Texts().back(), "createTesseraRunner()");
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LandmarkWorker, RunnerThatFailsToStartIsUsedAllTheSame) {
  RunnerScript script;
  script.init = -7;
  scripted_runner::SetScript(script);
  Start();
  PushUntilRun(4, 2, 255);
  End();
  EXPECT_TRUE(log_.Has(LOG_ERROR, "init landmark runner failed with -7"));
  EXPECT_THAT(scripted_runner::Texts(), Contains(testing::StartsWith("setParam(")));
}

// ---- Pictures ----

TEST_F(LandmarkWorker, FacesOfAPictureAreSentWithItsSize) {
  FacesFound(2);
  Start();
  PushUntilRun(6, 4, 255);
  End();
  const std::vector<Message> messages = Messages();
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back().Int("face_cont"), 2);
  EXPECT_EQ(messages.back().Int("width"), 6);
  EXPECT_EQ(messages.back().Int("height"), 4);
  EXPECT_EQ(messages.back().Int("detect_key"), 0);
  EXPECT_EQ(messages.size(), scripted_runner::Runs());
}

TEST_F(LandmarkWorker, RunnerGetsAnI420PictureWithoutATime) {
  Start();
  PushUntilRun(7, 5, 200, 12);
  const RunnerPicture picture = LastPicture();
  EXPECT_EQ(picture.width, 7);
  EXPECT_EQ(picture.height, 5);
  EXPECT_EQ(picture.format, 7);
  EXPECT_EQ(picture.ten_bit, 0);
  EXPECT_EQ(picture.timestamp, 0.0);
  EXPECT_THAT(picture.y, Each(Luma(200)));
  EXPECT_EQ(picture.u.size(), 4u * 3u);
  EXPECT_THAT(picture.u, Each(128));
  EXPECT_THAT(picture.v, Each(128));
}

TEST_F(LandmarkWorker, RunnerGetsTheColourOfThePicture) {
  Start();
  std::vector<uint8_t> red;
  for (int i = 0; i < 4 * 2; ++i) red.insert(red.end(), {255, 0, 0, 255});
  const uint64_t runs = scripted_runner::Runs();
  WaitUntil(
      [&] {
        EXPECT_TRUE(worker_->PushFrame(red.data(), 4, 2, 16));
        return scripted_runner::Runs() >= runs + 2;
      },
      "a run on the picture");
  const RunnerPicture picture = LastPicture();
  EXPECT_NEAR(picture.y.front(), 82, 1);
  EXPECT_NEAR(picture.u.front(), 90, 1);
  EXPECT_NEAR(picture.v.front(), 240, 1);
}

TEST_F(LandmarkWorker, PictureOfAnotherSizeGetsAFrameOfItsOwn) {
  Start();
  for (const auto &[width, height] : {std::pair{64u, 48u}, {640u, 360u}, {2u, 2u}, {1u, 1u}, {333u, 77u}}) {
    const auto grey = static_cast<uint8_t>(100 + width % 100);
    PushUntilRun(width, height, grey);
    EXPECT_EQ(LastPicture().width, static_cast<int>(width));
    EXPECT_EQ(LastPicture().height, static_cast<int>(height));
    EXPECT_THAT(LastPicture().y, Each(Luma(grey)));
  }
}

TEST_F(LandmarkWorker, ChangeOfShapeThatKeepsTheBytesIsNotSeen) {
  Start();
  PushUntilRun(8, 4, 50);
  PushUntilRun(4, 8, 200);
  EXPECT_EQ(LastPicture().width, 8);
  EXPECT_EQ(LastPicture().height, 4);
}

TEST_F(LandmarkWorker, RowsTooShortForTheirWidthAreNotRead) {
  Start();
  PushUntilRun(8, 4, 200);
  const uint64_t runs = scripted_runner::Runs();
  const std::vector<uint8_t> pixels(16 * 4, 100);
  WaitUntil(
      [&] {
        EXPECT_TRUE(worker_->PushFrame(pixels.data(), 8, 4, 16));
        return scripted_runner::Runs() >= runs + 2;
      },
      "a run");
  EXPECT_THAT(LastPicture().y, Each(Luma(200)));
}

TEST_F(LandmarkWorker, PictureOfNothingIsNoPicture) {
  Start();
  WaitUntil(
      [&] {
        EXPECT_TRUE(worker_->PushFrame(nullptr, 0, 0, 0));
        return host_double::Count("LandmarkThreadSleep") >= 2;
      },
      "two units of work");
  End();
  EXPECT_LE(scripted_runner::Runs(), 1u);
}

TEST_F(LandmarkWorker, MissingPixelsLeaveTheFormerOnes) {
  Start();
  PushUntilRun(8, 4, 200);
  const uint64_t runs = scripted_runner::Runs();
  WaitUntil(
      [&] {
        EXPECT_TRUE(worker_->PushFrame(nullptr, 8, 4, 32));
        return scripted_runner::Runs() > runs;
      },
      "a run");
  EXPECT_THAT(LastPicture().y, Each(Luma(200)));
}

TEST_F(LandmarkWorker, OnlyTheNewestOfPicturesThatComeTooFastIsSeen) {
  Start();
  PushUntilAtGate(4, 2, 50);
  for (const uint8_t grey : {90, 130, 170, 250}) Push(4, 2, grey);
  scripted_runner::Open();
  PushUntilRun(4, 2, 250);
  End();
  for (const RunnerPicture &picture : scripted_runner::Pictures()) {
    EXPECT_THAT(picture.y.front(), testing::AnyOf(Luma(0), Luma(50), Luma(250)));
  }
}

TEST_F(LandmarkWorker, PicturesThatComeTooFastVanishWithoutAMessage) {
  Start();
  PushUntilAtGate(4, 2, 50);
  const std::vector<LogLine> lines = log_.Lines();
  for (const uint8_t grey : {90, 130, 170, 250}) Push(4, 2, grey);
  scripted_runner::Open();
  PushUntilRun(4, 2, 250);
  EXPECT_EQ(log_.Lines(), lines);
  End();
  EXPECT_EQ(Messages().size(), scripted_runner::Runs());
  EXPECT_EQ(host_double::Reports(), std::vector<HostReport>{});
}

TEST_F(LandmarkWorker, PictureComesInWhileTheRunnerWorks) {
  Start();
  PushUntilAtGate(4, 2, 50);
  EXPECT_TRUE(Push(64, 64, 60));
}

TEST_F(LandmarkWorker, RunWithoutAResultSendsNothing) {
  RunnerScript script;
  script.result = false;
  scripted_runner::SetScript(script);
  Start();
  PushUntilRun(4, 2, 255);
  End();
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LandmarkWorker, ResultThatCannotBeReadIsAMessageOfNoFace) {
  for (const bool tree : {false, true}) {
    scripted_runner::Reset();
    RunnerScript script;
    if (tree) script.tree = [] { return std::make_shared<tessera::Any>("no map"); };
    scripted_runner::SetScript(script);
    const size_t before = Messages().size();
    Start();
    PushUntilRun(4, 2, 255);
    End();
    const std::vector<Message> messages = Messages();
    ASSERT_GT(messages.size(), before);
    EXPECT_EQ(messages.back().Int("face_cont"), 0);
    EXPECT_EQ(messages.back().Int("detect_key"), 0);
  }
}

// ---- Supervision ----

TEST_F(LandmarkWorker, HostHearsOfEachUnitOfWork) {
  Start();
  PushUntilRun(4, 2, 255);
  End();
  const Strings calls = host_double::Calls();
  ASSERT_GE(calls.size(), 7u);
  EXPECT_EQ(Strings(calls.begin(), calls.begin() + 5),
            (Strings{"LandmarkThreadId(self)", "LandmarkThreadTimestamp(now)", "LandmarkThreadSleep",
                     "LandmarkThreadId(0)", "LandmarkThreadTimestamp(0)"}));
  EXPECT_EQ(Strings(calls.end() - 2, calls.end()), (Strings{"LandmarkThreadId(0)", "LandmarkThreadTimestamp(0)"}));
}

// ---- The end ----

TEST_F(LandmarkWorker, PushAfterAStopIsRefused) {
  Start();
  PushUntilRun(4, 2, 200);
  worker_->Stop();
  EXPECT_FALSE(Push(4, 2, 50));
  End();
  EXPECT_THAT(LastPicture().y, Each(Luma(200)));
}

// A process of its own: who reads the page all the same ends it.
TEST_F(LandmarkWorker, PixelsOfAPushAfterAStopAreNotRead) {
  constexpr uint32_t kLinesize = 1024;
  constexpr uint32_t kHeight = 4;
  void *const page = mmap(nullptr, kLinesize * kHeight, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(page, MAP_FAILED);
  Start();
  worker_->Stop();
  EXPECT_FALSE(worker_->PushFrame(static_cast<const uint8_t *>(page), kLinesize / 4, kHeight, kLinesize));
  End();
  munmap(page, kLinesize * kHeight);
}

TEST_F(LandmarkWorker, StopMayComeTwice) {
  Start();
  worker_->Stop();
  worker_->Stop();
  End();
  EXPECT_EQ(log_.Count("TesseraLandmarkFilterWorker stop"), 1u);
}

TEST_F(LandmarkWorker, StopDoesNotWaitForTheRunner) {
  Start();
  PushUntilAtGate(4, 2, 50);
  worker_->Stop();
  EXPECT_FALSE(log_.HasText("tessera landmark reset"));
}

TEST_F(LandmarkWorker, StopAtAnyMomentEndsTheThread) {
  scripted_runner::SetRecording(false);
  for (int life = 0; life < 300; ++life) {
    Start();
    for (int spin = 0; spin < life % 50; ++spin) std::this_thread::yield();
    if (life % 3 == 0) Push(4, 2, 50);
    End();
  }
  EXPECT_EQ(log_.Count("TesseraLandmarkFilterWorker stop"), 300u);
}

}  // namespace
}  // namespace vanta_test
