// How a worker begins and ends.
#include <callback/signal.h>
#include <util/bmem.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <obs.hpp>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "engine/faceless_instance.h"
#include "fakes/failures/failing_threads.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/engine/ability_handler.h"

namespace {

using namespace vanta_test;
using Lines = std::vector<LogLine>;

using vanta_test::kError;
using vanta_test::kInfo;

class WorkerLife : public WorkerFixture {};

TEST_F(WorkerLife, ConstructionLogsItsStepsInOrderWithoutGlWindow) {
  MakeWorker();
  EXPECT_EQ(log_.LinesWith("[beauty]"), (Lines{{kInfo, "[beauty] FaceBeautyFilterWorker created"},
                                               {kInfo, "[beauty] FaceBeautyFrameFactory cache_size=4"},
                                               {kInfo, "[beauty] EnableCreateLXGLContext is false"}}));
  EXPECT_EQ(scripted_engine::Count("createGLFWWindow"), 0u);
}

TEST_F(WorkerLife, ConstructionTakesTheParentBeforeTheId) {
  MakeWorker();
  EXPECT_EQ(gs_recorder::Calls(),
            (std::vector<std::string>{"obs_filter_get_parent(filter)", "obs_source_get_id(filter)"}));
}

TEST_F(WorkerLife, NewWorkerIsUninitialisedAndNotRunning) {
  MakeWorker();
  EXPECT_TRUE(worker_->IsUninited());
  EXPECT_FALSE(worker_->IsRunning());
}

TEST_F(WorkerLife, StartLogsThePriorityItAskedFor) {
  StartWorker();
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] SetThreadPriority 1,2") || log_.Has(kInfo, "[beauty] SetThreadPriority 0,2"));
}

TEST_F(WorkerLife, StopMakesARunningWorkerStopped) {
  StartWorker();
  worker_->stop();
  EXPECT_FALSE(worker_->IsRunning());
  EXPECT_FALSE(worker_->IsUninited());
}

TEST_F(WorkerLife, StopTwiceIsHarmless) {
  StartWorker();
  worker_->stop();
  worker_->stop();
  StopWorker();
  EXPECT_EQ(log_.Count("[beauty] FaceBeautyFilterWorker stop"), 1u);
}

TEST_F(WorkerLife, StopBeforeStartLeavesTheWorkerUninitialised) {
  MakeWorker();
  worker_->stop();
  EXPECT_TRUE(worker_->IsUninited());
}

TEST_F(WorkerLife, StopDoesNotWaitForAFrameInProgress) {
  StartWorker();
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  worker_->stop();  // the gate is still closed: a wait would never end
  scripted_engine::Open(Gate::kProcess);
}

TEST_F(WorkerLife, StartWithoutAThreadThrows) {
  MakeWorker();
  {
    const failing_threads::Limit none(0);
    EXPECT_THROW(worker_->start(), std::system_error);
  }
  StopWorker();
  EXPECT_FALSE(log_.HasText("[beauty] FaceBeautyFilterWorker start"));
}

TEST_F(WorkerLife, StartWithoutAStatisticsThreadThrowsAndTheWorkerEndsUnstopped) {
  MakeWorker();
  {
    const failing_threads::Limit one(1);
    EXPECT_THROW(worker_->start(), std::system_error);
  }
  vanta::FaceBeautyFilterWorker *const worker = worker_.get();
  std::atomic<bool> gone{false};
  std::thread unwinding([&] {
    worker_.reset();
    gone = true;
  });
  if (!WaitUntil([&] { return gone.load(); }, "the worker's end")) worker->stop();
  unwinding.join();
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] FaceBeautyFilterWorker stop"));
}

TEST_F(WorkerLife, DestructionForgetsTheSourcesStatistics) {
  StartWorker();
  ASSERT_TRUE(Feed());
  TenSecondReport();
  StopWorker();
  EXPECT_TRUE(vanta::FacelessInstance::GetInstance()->GetBeautyStatistics().empty());
}

TEST_F(WorkerLife, NothingIsLeftAfterDestruction) {
  StartWorker();
  for (uint64_t i = 0; i < 3; ++i) ASSERT_TRUE(Feed(i));
  StopWorker();
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
  EXPECT_EQ(scripted_engine::Alive(), 0);
}

TEST_F(WorkerLife, CommandsNotRunDieWithTheWorker) {
  StartWorker();
  const long allocations = bnum_allocs();
  {
    const OBSDataAutoRelease settings = obs_data_create();
    worker_->update(settings);  // queues a command that holds a copy
  }
  worker_->update(nullptr);  // the worker's own copy goes
  EXPECT_GT(bnum_allocs(), allocations) << "nothing is queued";
  worker_->commands().Command(&IFaceless::SetBoomGameData, std::string("text"));
  StopWorker();
  EXPECT_EQ(scripted_engine::Count("setBoomGameData"), 0u);
  EXPECT_EQ(log_.CountWith("SetOBSData"), 0u);
  EXPECT_EQ(bnum_allocs(), allocations) << "what the commands held is still there";
}

TEST_F(WorkerLife, ShortLivesInARowLeaveNothingBehind) {
  for (int i = 0; i < 50; ++i) {
    StartWorker();
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    worker_->EnqueueFrame(frame.get());
    worker_->EnqueueFrame(frame.get());
    StopWorker();
  }
  EXPECT_EQ(scripted_engine::Alive(), 0);
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
}

TEST_F(WorkerLife, FirstSuccessIsLoggedOnceWithTheTimeSinceStart) {
  StartWorker();
  EXPECT_FALSE(Dequeue().success);
  EXPECT_FALSE(log_.HasText("first frame dequeue"));
  MovableClock::Advance(std::chrono::microseconds(1234567));
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] FaceBeautyFilterWorker first frame dequeue success cost [1234567]"));
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  EXPECT_EQ(log_.CountWith("first frame dequeue"), 1u);
}

// ---- The last reference ----

TEST_F(WorkerLife, LastReferenceEndsAWorkerThatNobodyStopped) {
  StartWorker();
  vanta::FaceBeautyFilterWorker *const worker = worker_.get();
  std::atomic<bool> gone{false};
  std::thread owner([&, last = std::move(worker_)]() mutable {
    last.reset();
    gone = true;
  });
  if (!WaitUntil([&] { return gone.load(); }, "the worker's end")) worker->stop();
  owner.join();
  EXPECT_EQ(log_.Count("[beauty] FaceBeautyFilterWorker stop"), 1u);
}

// The last reference goes on a thread that the worker's end has to wait for.
class LastReference : public WorkerFixture {
 protected:
  void SetUp() override {
    host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
    StartWorker();
    ASSERT_TRUE(Feed());
  }
  void TearDown() override { EXPECT_TRUE(log_.WaitFor(kInfo, "[beauty] destroyGLFWWindow", 2)) << "it never ended"; }
  // The worker is gone when its window is: by then its threads have been joined. Its engine went on its own thread.
  static void ExpectItsEnd() {
    ASSERT_TRUE(scripted_engine::WaitForCalls("destroyGLFWWindow", 1));
    std::thread::id made, destroyed;
    for (const EngineCall &call : scripted_engine::Calls()) {
      if (call.text.rfind("createEngine", 0) == 0) made = call.thread;
      if (call.text == "~LumivexSync()") destroyed = call.thread;
    }
    EXPECT_EQ(made, destroyed);
    EXPECT_EQ(scripted_engine::Texts().back(), "destroyGLFWWindow(window)");
    EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
    EXPECT_EQ(host_double::Count("RemoveThread"), 1u);
    EXPECT_EQ(MovableClock::Sleepers(), 0u) << "the tick lives on";
  }
};

TEST_F(LastReference, MayGoOnTheWorkersOwnThread) {
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  scripted_engine::Change(
      [this](EngineScript &script) { script.on_frame = [this](LX::FrameData &) { worker_.reset(); }; });
  scripted_engine::Open(Gate::kProcess);
  ExpectItsEnd();
}

TEST_F(LastReference, MayGoOnItsTicksThread) {
  Tick(299);
  scripted_engine::Change([this](EngineScript &script) { script.on_stats = [this] { worker_.reset(); }; });
  MovableClock::Advance(std::chrono::seconds(1));  // the three hundredth step asks the engine
  ExpectItsEnd();
}

TEST_F(LastReference, MayGoOnAThreadOfAnotherWorkerWhoseOwnLastReferenceGoesOnThisOne) {
  obs_source other_source;
  other_source.parent = &parent_;
  std::shared_ptr<vanta::FaceBeautyFilterWorker> other = vanta::FaceBeautyFilterWorker::Create(&other_source);
  ASSERT_TRUE(other->start());
  ASSERT_TRUE(WaitUntil([&] { return other->IsRunning(); }, "a running worker"));
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  ASSERT_TRUE(other->EnqueueFrame(frame.get()));
  ASSERT_TRUE(WaitUntil(
      [&] {
        if (scripted_engine::Waiting(Gate::kProcess) == 2) return true;
        // Wakes it, should the frame's wake be lost.
        other->commands().Command(&IFaceless::SetBasicAdjustIntensity, 0, 0.0F);
        return false;
      },
      "both workers in their engines"));
  // Each drops the other, and neither before both are about to.
  std::atomic<int> dropping{0};
  const std::thread::id first = [&] {
    for (const EngineCall &call : scripted_engine::Calls())
      if (call.engine == 1) return call.thread;
    return std::thread::id();
  }();
  scripted_engine::Change([&](EngineScript &script) {
    script.on_frame = [&](LX::FrameData &) {
      ++dropping;
      while (dropping < 2) std::this_thread::yield();
      (std::this_thread::get_id() == first ? other : worker_).reset();
    };
  });
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(scripted_engine::WaitForCalls("destroyGLFWWindow", 2));
  EXPECT_EQ(scripted_engine::Alive(), 0);
  EXPECT_EQ(host_double::Count("RemoveThread"), 2u);
}

struct EngineCallback {
  const char *name;
  std::function<void(const EngineCallbacks &)> call;
};

// An engine's end waits for its callbacks in progress.
class LastReferenceInACallback : public LastReference, public testing::WithParamInterface<EngineCallback> {
 protected:
  struct Handler final : ILiveEffectJsonAbilityHandler {
    explicit Handler(std::shared_ptr<vanta::FaceBeautyFilterWorker> &last) : last_(last) {}
    void Reserved() override {}
    void PostGameData(const std::string &, const std::string &, const std::string &) override { last_.reset(); }
    void PostSignalAfterLoadInteractiveBoxResource() override {}
    void PostSignalAfterUnloadInteractiveBoxResource() override {}
    std::shared_ptr<vanta::FaceBeautyFilterWorker> &last_;
  };

  void SetUp() override {
    LastReference::SetUp();
    host_double::Change([](HostSwitches &switches) {
      switches.face_point_by_lx = true;
      switches.async_beauty = false;
    });
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, "effect_json_ability_handler",
                     static_cast<long long>(reinterpret_cast<intptr_t>(&handler_)));
    worker_->update(settings);
    for (const char *signal : kSignals) signal_handler_connect(obs_get_signal_handler(), signal, Drop, this);
  }
  void TearDown() override {
    for (const char *signal : kSignals) signal_handler_disconnect(obs_get_signal_handler(), signal, Drop, this);
    LastReference::TearDown();
  }
  static void Drop(void *param, calldata_t *) { static_cast<LastReferenceInACallback *>(param)->worker_.reset(); }

  static constexpr const char *kSignals[] = {"zt_magic_callback", "body_slimming_status", "TesseraFacePointRet"};
  Handler handler_{worker_};
};

using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;
const EngineCallback kEngineCallbacks[] = {
    {"GameData", [](const EngineCallbacks &engine) { engine.game_data(LX::BoomGameData{R"({"reqType":10005})"}); }},
    {"BodySlimming", [](const EngineCallbacks &engine) { engine.body_slimming(LXBodySlimmingStatus(1)); }},
    {"EffectDescription",
     [](const EngineCallbacks &engine) {
       engine.effect_description(
           R"({"disableCustomBeautify":true,"disableCustomDeform":true,"disableCustomMakeup":true,)"
           R"("disableCustomColorFilter":true,"disableCustomSlimming":true})",
           true);
     }},
    {"Landmarks", [](const EngineCallbacks &engine) {
       engine.cpu_data(std::make_shared<CpuData>(CpuData{{"landmarks", nullptr}}));
     }}};

INSTANTIATE_TEST_SUITE_P(Engine, LastReferenceInACallback, testing::ValuesIn(kEngineCallbacks),
                         [](const auto &param) { return std::string(param.param.name); });

TEST_P(LastReferenceInACallback, GoesWithoutWaitingForTheEngine) {
  scripted_engine::Close(Gate::kDestroy);
  std::atomic<bool> returned{false};
  std::thread engine([&] {
    GetParam().call(scripted_engine::Callbacks(1));
    returned = true;
  });
  EXPECT_TRUE(WaitUntil([&] { return returned.load(); }, "the callback's return"));
  scripted_engine::Open(Gate::kDestroy);
  engine.join();
  EXPECT_EQ(worker_, nullptr) << "the callback did not reach the host";
  ExpectItsEnd();
}

}  // namespace
