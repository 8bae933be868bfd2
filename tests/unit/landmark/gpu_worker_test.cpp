#include "landmark/landmark_filter_gpu_worker.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"

using namespace vanta_test;
using vanta::SharedTex;
using Worker = vanta::TesseraLandmarkFilterGpuWorker;

namespace {

constexpr uint32_t kWidth = 64;
constexpr uint32_t kHeight = 48;
constexpr int kTextures = 6;

using Texts = std::vector<std::string>;

// What a handler was given, and what it does with it.
class Handler {
 public:
  struct Call {
    std::string texture;
    uint32_t handle = 0;
    uint64_t acquire_key = 0;
    uint64_t release_key = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    gs_color_format format = GS_UNKNOWN;
  };

  bool operator()(SharedTex *texture) {
    std::unique_lock<std::mutex> lock(mutex_);
    calls_.push_back({gs_recorder::NameOf(texture->texture), texture->shared_handle, texture->acquire_key,
                      texture->release_key, texture->width, texture->height, texture->format});
    if (keeps_keys_) texture->release_key = texture->acquire_key;
    EXPECT_EQ(gs_recorder::GraphicsDepth(), 0) << "a worker's thread inside graphics";
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
    return result_;
  }

  void KeepKeys(bool keeps) { Set(keeps_keys_, keeps); }
  void Answer(bool result) { Set(result_, result); }
  void Block() { Set(open_, false); }
  void Open() { Set(open_, true); }
  std::vector<Call> Calls() {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
  }
  Call Last() { return Calls().back(); }
  void WaitForCalls(size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    EXPECT_TRUE(changed_.wait_for(lock, kWatchdog, [&] { return calls_.size() >= count; }));
  }

 private:
  void Set(bool &what, bool value) {
    std::lock_guard<std::mutex> lock(mutex_);
    what = value;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Call> calls_;
  bool keeps_keys_ = false;
  bool result_ = true;
  bool open_ = true;
};

class GpuWorker : public testing::Test {
 protected:
  GpuWorker() {
    gs_recorder::Reset();
    host_double::Reset();
    worker_ = std::make_unique<Worker>();
    gs_recorder::Track(&source_, "source");
    source_.width = kWidth;
    source_.height = kHeight;
  }
  ~GpuWorker() override {
    handler_.Open();
    worker_.reset();
    EXPECT_EQ(gs_recorder::Misuse(), Texts{});
    EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
    EXPECT_EQ(gs_recorder::Count("obs_enter_graphics"), 0u);
  }

  void AddHandler() {
    worker_->AddHandler([this](SharedTex *texture) { return handler_(texture); });
  }
  void Enqueue() { worker_->EnqueueTexture(&source_); }
  // The texture is back in the pool when this returns.
  void EnqueueAndWait() {
    const size_t sleeps = host_double::Count("GpuThreadSleep");
    Enqueue();
    host_double::WaitForCalls("GpuThreadSleep", sleeps + 1);
  }
  void EnqueueTimes(int times) {
    for (int i = 0; i < times; ++i) Enqueue();
  }
  static Texts CopyingCalls() { return gs_recorder::CallsWithout({"gs_texture_create", "gs_texture_get_shared"}); }

  LogCapture log_;
  const gs_recorder::InGraphics graphics_;
  gs_texture source_;
  Handler handler_;
  std::unique_ptr<Worker> worker_;
};

Texts Copying(const std::string &texture, int acquire_key, int release_key) {
  return {"gs_texture_acquire_sync(" + texture + ", " + std::to_string(acquire_key) + ", 33)",
          "gs_copy_texture(" + texture + ", source)",
          "gs_texture_release_sync(" + texture + ", " + std::to_string(release_key) + ")"};
}

TEST_F(GpuWorker, MakesNoTextureBeforeTheFirstPicture) {
  EXPECT_EQ(gs_recorder::Calls(), Texts{});
}

TEST_F(GpuWorker, FirstPictureMakesSixKeyedTexturesOfItsKind) {
  source_.format = GS_BGRA;
  Enqueue();
  EXPECT_EQ(gs_recorder::Count("gs_texture_create(64, 48, GS_BGRA, 1, null, GS_SHARED_KM_TEX)"), 6u);
  EXPECT_EQ(gs_recorder::Count("gs_texture_get_shared_handle("), 6u);
}

TEST_F(GpuWorker, NextPictureOfThatKindMakesNone) {
  Enqueue();
  gs_recorder::Clear();
  Enqueue();
  EXPECT_EQ(gs_recorder::Count("gs_texture_create("), 0u);
}

TEST_F(GpuWorker, PictureIsCopiedUnderTheTexturesLock) {
  AddHandler();
  Enqueue();
  EXPECT_EQ(CopyingCalls(), Copying("texture6", 0, 1));
}

TEST_F(GpuWorker, HandlerGetsTheTextureWithItsHandleSizeAndKeys) {
  AddHandler();
  EnqueueAndWait();
  const Handler::Call call = handler_.Last();
  EXPECT_EQ(call.texture, "texture6");
  EXPECT_EQ(call.handle, 6u);
  EXPECT_EQ(call.acquire_key, 1u);
  EXPECT_EQ(call.release_key, 0u);
  EXPECT_EQ(call.width, kWidth);
  EXPECT_EQ(call.height, kHeight);
  EXPECT_EQ(call.format, GS_RGBA);
}

TEST_F(GpuWorker, TextureUsedLastRestsLongest) {
  AddHandler();
  for (int i = 0; i < 7; ++i) EnqueueAndWait();
  Texts used;
  for (const Handler::Call &call : handler_.Calls()) used.push_back(call.texture);
  EXPECT_EQ(used, (Texts{"texture6", "texture5", "texture4", "texture3", "texture2", "texture1", "texture6"}));
}

TEST_F(GpuWorker, RoundOfOneHandlerEndsWithTheKeyThatItBeganWith) {
  AddHandler();
  for (int i = 0; i < kTextures; ++i) EnqueueAndWait();
  gs_recorder::Clear();
  EnqueueAndWait();
  EXPECT_EQ(gs_recorder::Calls(), Copying("texture6", 0, 1));
}

TEST_F(GpuWorker, HandlersResultChangesNothing) {
  handler_.Answer(false);
  AddHandler();
  for (int i = 0; i < kTextures; ++i) EnqueueAndWait();
  gs_recorder::Clear();
  EnqueueAndWait();
  EXPECT_EQ(gs_recorder::Calls(), Copying("texture6", 0, 1));
}

TEST_F(GpuWorker, HandlerThatNeverHadTheLockLeavesTheChainWholeAndItClosesInTheNextRound) {
  AddHandler();
  handler_.KeepKeys(true);
  EnqueueAndWait();
  handler_.KeepKeys(false);
  for (int i = 1; i < kTextures; ++i) EnqueueAndWait();
  gs_recorder::Clear();
  EnqueueAndWait();
  EXPECT_EQ(gs_recorder::Calls(), Copying("texture6", 1, 0));
  EXPECT_EQ(handler_.Last().acquire_key, 0u);
  EXPECT_EQ(handler_.Last().release_key, 0u);
  for (int i = 1; i < kTextures; ++i) EnqueueAndWait();
  gs_recorder::Clear();
  EnqueueAndWait();
  EXPECT_EQ(gs_recorder::Calls(), Copying("texture6", 0, 1));
}

struct KeyStep {
  uint64_t acquire;
  uint64_t release;
  bool operator==(const KeyStep &) const = default;
};

class KeyChain : public GpuWorker, public testing::WithParamInterface<uint64_t> {};

TEST_P(KeyChain, PassesThroughEveryHandlerInOrderAndBackToZero) {
  const uint64_t handlers = GetParam();
  std::vector<KeyStep> steps;
  for (uint64_t i = 0; i < handlers; ++i) {
    worker_->AddHandler([&, i](SharedTex *texture) {
      EXPECT_EQ(steps.size(), i);
      steps.push_back({texture->acquire_key, texture->release_key});
      return true;
    });
  }
  EnqueueAndWait();
  std::vector<KeyStep> expected;
  for (uint64_t i = 1; i <= handlers; ++i) expected.push_back({i, i == handlers ? 0 : i + 1});
  EXPECT_EQ(steps, expected);
  EXPECT_EQ(CopyingCalls(), Copying("texture6", 0, handlers == 0 ? 0 : 1));
}

INSTANTIATE_TEST_SUITE_P(UpToFourHandlers, KeyChain, testing::Values(0, 1, 2, 3, 4));

TEST_F(GpuWorker, SecondHandlerTakesTheFirstOnesKeyWhereThatOneNeverHadTheLock) {
  handler_.KeepKeys(true);
  AddHandler();
  Handler second;
  worker_->AddHandler([&](SharedTex *texture) { return second(texture); });
  EnqueueAndWait();
  EXPECT_EQ(handler_.Last().acquire_key, 1u);
  EXPECT_EQ(handler_.Last().release_key, 2u);
  EXPECT_EQ(second.Last().acquire_key, 1u);
  EXPECT_EQ(second.Last().release_key, 0u);
}

TEST_F(GpuWorker, HandlerAddedLaterSeesThePicturesFromThenOn) {
  EnqueueAndWait();
  AddHandler();
  EnqueueAndWait();
  EXPECT_EQ(handler_.Calls().size(), 1u);
}

TEST_F(GpuWorker, PictureIsDroppedWhileAllSixTexturesAreUnderWay) {
  handler_.Block();
  AddHandler();
  EnqueueTimes(kTextures);
  gs_recorder::Clear();
  Enqueue();
  EXPECT_EQ(gs_recorder::Calls(), Texts{});
  EXPECT_FALSE(log_.HasText("can not get texture."));
}

TEST_F(GpuWorker, PicturesFlowAgainWhenOneIsBack) {
  handler_.Block();
  AddHandler();
  EnqueueTimes(kTextures + 1);
  handler_.Open();
  host_double::WaitForCalls("GpuThreadSleep", kTextures);
  EnqueueAndWait();
  EXPECT_EQ(handler_.Calls().size(), size_t{kTextures} + 1);
}

TEST_F(GpuWorker, MissingTextureIsToldOfInEverySixtiethCall) {
  gs_recorder::FailAll("gs_texture_create(");
  EnqueueTimes(59);
  EXPECT_EQ(host_double::Reports().size(), 0u);
  EnqueueTimes(61);
  EXPECT_EQ(log_.LinesWith("can not get"), (std::vector<LogLine>(2, {LOG_ERROR, "can not get texture."})));
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>(2, {19, "can not get texture."})));
}

TEST_F(GpuWorker, CallsOfAllWorkersCountTogether) {
  gs_recorder::FailAll("gs_texture_create(");
  Worker other;
  EnqueueTimes(30);
  for (int i = 0; i < 30; ++i) other.EnqueueTexture(&source_);
  EXPECT_EQ(log_.Count("can not get texture."), 1u);
}

class RefusedLock : public GpuWorker, public testing::WithParamInterface<int> {
 protected:
  RefusedLock() {
    AddHandler();
    gs_recorder::SetAcquireResult(GetParam());
  }
};

TEST_P(RefusedLock, DropsThePicture) {
  Enqueue();
  EXPECT_EQ(CopyingCalls(), Texts{"gs_texture_acquire_sync(texture6, 0, 33)"});
}

TEST_P(RefusedLock, GivesTheTextureBackWithItsKey) {
  EnqueueTimes(kTextures);
  gs_recorder::SetAcquireResult(0);
  gs_recorder::Clear();
  EnqueueAndWait();
  EXPECT_EQ(gs_recorder::Calls(), Copying("texture6", 0, 1));
}

TEST_P(RefusedLock, IsToldOfInEverySixtiethCall) {
  EnqueueTimes(59);
  EXPECT_FALSE(log_.HasText("acquire failed."));
  Enqueue();
  EXPECT_TRUE(log_.Has(LOG_ERROR, "acquire failed."));
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>{{19, "acquire failed."}}));
}

INSTANTIATE_TEST_SUITE_P(TimeOutAndError, RefusedLock, testing::Values(0x102, -1));

struct Size {
  uint32_t width;
  uint32_t height;
};

class ChangeOfSize : public GpuWorker, public testing::WithParamInterface<Size> {
 protected:
  void ChangeSize() {
    source_.width = GetParam().width;
    source_.height = GetParam().height;
  }
};

INSTANTIATE_TEST_SUITE_P(WidthAndHeight, ChangeOfSize, testing::Values(Size{32, kHeight}, Size{kWidth, 24}));

TEST_P(ChangeOfSize, ReplacesThePool) {
  EnqueueAndWait();
  gs_recorder::Clear();
  ChangeSize();
  Enqueue();
  const std::string size = std::to_string(GetParam().width) + ", " + std::to_string(GetParam().height);
  EXPECT_EQ(gs_recorder::Count("gs_texture_create(" + size + ", GS_RGBA"), 6u);
  EXPECT_EQ(gs_recorder::Count("gs_texture_destroy("), 6u);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 7u);  // the source is one
}

TEST_F(GpuWorker, ChangeOfFormatReplacesThePool) {
  EnqueueAndWait();
  gs_recorder::Clear();
  source_.format = GS_BGRA;
  Enqueue();
  EXPECT_EQ(gs_recorder::Count("gs_texture_create(64, 48, GS_BGRA"), 6u);
}

TEST_F(GpuWorker, TexturesQueuedBeforeAChangeOfSizeReachTheHandlerInTheOldOne) {
  handler_.Block();
  AddHandler();
  EnqueueTimes(3);
  source_.width = 32;
  Enqueue();
  handler_.Open();
  host_double::WaitForCalls("GpuThreadSleep", 4);
  std::vector<uint32_t> widths;
  for (const Handler::Call &call : handler_.Calls()) widths.push_back(call.width);
  EXPECT_EQ(widths, (std::vector<uint32_t>{64, 64, 64, 32}));
}

TEST_P(ChangeOfSize, DestroysTexturesOfTheOldOneWhereTheyWouldBeTakenNext) {
  handler_.Block();
  AddHandler();
  EnqueueTimes(3);
  ChangeSize();
  Enqueue();
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 10u);  // three old ones, six new ones, the source
  handler_.Open();
  host_double::WaitForCalls("GpuThreadSleep", 4);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 10u);
  for (int i = 0; i < kTextures; ++i) EnqueueAndWait();
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 7u);
  EXPECT_EQ(handler_.Last().width, GetParam().width);
  EXPECT_EQ(handler_.Last().height, GetParam().height);
}

TEST_F(GpuWorker, MissingTextureOfThePoolLeavesItSmaller) {
  handler_.Block();
  AddHandler();
  gs_recorder::FailCall(1);
  EnqueueTimes(kTextures);
  EXPECT_EQ(gs_recorder::Count("gs_copy_texture("), 5u);
}

TEST_F(GpuWorker, TextureWithoutAHandleReachesTheHandlerAllTheSame) {
  gs_recorder::FailAll("gs_texture_get_shared_handle(");
  AddHandler();
  EnqueueAndWait();
  EXPECT_EQ(handler_.Last().handle, 0xffffffffu);
}

TEST_F(GpuWorker, AnyFailingGraphicsCallCostsNoMoreThanItsPicture) {
  const size_t calls_of_a_first_picture = 2 * kTextures + 3;
  AddHandler();
  for (size_t k = 1; k <= calls_of_a_first_picture; ++k) {
    SCOPED_TRACE(k);
    source_.width = kWidth + static_cast<uint32_t>(k);  // another pool
    gs_recorder::FailCall(k);
    Enqueue();
    gs_recorder::FailCall(0);
    host_double::WaitForCalls("GpuThreadSleep", gs_recorder::Count("gs_copy_texture("));
    EnqueueAndWait();
    EXPECT_EQ(handler_.Last().width, source_.width);
  }
}

TEST_F(GpuWorker, NoPictureIsNoCall) {
  worker_->EnqueueTexture(nullptr);
  EXPECT_EQ(gs_recorder::Calls(), Texts{});
}

TEST_F(GpuWorker, HostSeesEachPictureAsWork) {
  AddHandler();
  EnqueueAndWait();
  worker_->StopAndJoin();
  EXPECT_EQ(host_double::Calls(),
            (Texts{"GpuThreadId(self)", "GpuThreadTimestamp(now)", "GpuThreadSleep", "GpuThreadId(0)",
                   "GpuThreadTimestamp(0)", "GpuThreadId(0)", "GpuThreadTimestamp(0)"}));
}

TEST_F(GpuWorker, ThreadTellsOfItsBeginningAndItsEnd) {
  log_.WaitFor(LOG_INFO, "TesseraLandmarkFilterGpuWorker start");
  worker_->StopAndJoin();
  EXPECT_TRUE(log_.Has(LOG_INFO, "TesseraLandmarkFilterGpuWorker stop"));
  EXPECT_EQ(log_.LinesWith("Waiting for GPU worker thread to finish... ").size(), 1u);
}

TEST_F(GpuWorker, SecondStopHasNothingToWaitFor) {
  worker_->StopAndJoin();
  worker_->StopAndJoin();
  EXPECT_EQ(log_.LinesWith("Waiting for GPU worker thread to finish... ").size(), 1u);
}

TEST_F(GpuWorker, StoppedWorkerHandsOutNothingMore) {
  AddHandler();
  worker_->StopAndJoin();
  EnqueueTimes(2);
  EXPECT_EQ(handler_.Calls().size(), 0u);
}

TEST_F(GpuWorker, EachPictureAfterTheEndCostsATextureUntilNoneIsLeft) {
  worker_->StopAndJoin();
  for (size_t left = kTextures; left-- > 0;) {
    Enqueue();
    EXPECT_EQ(gs_recorder::ObjectsAlive(), left + 1);  // the source is one
  }
  gs_recorder::Clear();
  Enqueue();
  EXPECT_EQ(gs_recorder::Calls(), Texts{});
}

// Keeps six textures in the queue and the handler, and ends while the handler is at work.
TEST_F(GpuWorker, TexturesQueuedAtTheEndAreDestroyedByTheDestructor) {
  handler_.Block();
  AddHandler();
  EnqueueTimes(kTextures);
  handler_.WaitForCalls(1);
  std::thread stopping([this] { worker_->StopAndJoin(); });
  log_.WaitForText("Waiting for GPU worker thread to finish... ");
  handler_.Open();
  stopping.join();
  EXPECT_EQ(handler_.Calls().size(), 1u);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 7u);
  gs_recorder::Clear();
  worker_.reset();
  // What was queued goes in its order, the one in the pool last.
  EXPECT_EQ(gs_recorder::Calls(),
            (Texts{"gs_texture_destroy(texture5)", "gs_texture_destroy(texture4)", "gs_texture_destroy(texture3)",
                   "gs_texture_destroy(texture2)", "gs_texture_destroy(texture1)", "gs_texture_destroy(texture6)"}));
}

TEST_F(GpuWorker, EndsWithTheQueueThenTheHandlersThenTheExitCallbackThenThePool) {
  handler_.Block();
  AddHandler();
  std::shared_ptr<void> noted(nullptr, [](void *) { gs_recorder::Note("handlers gone"); });
  worker_->AddHandler([held = std::move(noted)](SharedTex *) { return true; });
  worker_->SetExitCallback([] { gs_recorder::Note("exit callback"); });
  EnqueueTimes(2);
  handler_.WaitForCalls(1);
  std::thread stopping([this] { worker_->StopAndJoin(); });
  log_.WaitForText("Waiting for GPU worker thread to finish... ");
  handler_.Open();
  stopping.join();
  gs_recorder::Clear();
  worker_.reset();
  Texts calls = gs_recorder::Calls();
  ASSERT_GE(calls.size(), 4u);
  calls.resize(4);
  EXPECT_EQ(calls[0], "gs_texture_destroy(texture5)");
  EXPECT_EQ(calls[1], "handlers gone");
  EXPECT_EQ(calls[2], "exit callback");
  EXPECT_EQ(calls[3].rfind("gs_texture_destroy(", 0), 0u);
}

TEST_F(GpuWorker, DestructorEndsAThreadThatNobodyStopped) {
  AddHandler();
  EnqueueAndWait();
  worker_.reset();
  EXPECT_TRUE(log_.Has(LOG_INFO, "TesseraLandmarkFilterGpuWorker stop"));
}

}  // namespace
