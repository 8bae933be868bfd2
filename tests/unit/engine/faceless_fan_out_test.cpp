// Commands on their way to several workers, queued and direct.
#include <atomic>
#include <functional>
#include <obs.hpp>
#include <thread>

#include "engine/faceless_instance.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/engine/ability_handler.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;
using vanta::FaceBeautyFilterWorker;
using vanta::FacelessInstance;

class FanOut : public WorkerFixture {
 protected:
  void SetUp() override {
    SetAsync(false);
    StartWorker();
    ASSERT_TRUE(Feed());
    control_->AddWorker(&filter_, worker_);
  }
  void TearDown() override {
    control_->RemoveWorker(&filter_);
    control_->RemoveWorker(&second_source_);
    if (second_) second_->stop();
  }
  static void SetAsync(bool on) {
    host_double::Change([on](HostSwitches &switches) { switches.async_beauty = on; });
  }
  // A second worker with an engine of its own, number 2.
  void AddSecond() {
    second_source_.parent = &parent_;
    second_ = FaceBeautyFilterWorker::Create(&second_source_);
    ASSERT_TRUE(second_->start());
    ASSERT_TRUE(PassFramesUntil([] { return scripted_engine::Created() == 2; }));
    control_->AddWorker(&second_source_, second_);
  }
  // Frames through all workers. A frame that comes before a worker runs is processed as well, and a lost wake-up takes
  // another.
  bool PassFramesUntil(const std::function<bool()> &condition) {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    return WaitUntil(
        [&] {
          for (FaceBeautyFilterWorker *worker : {worker_.get(), second_.get()}) {
            if (!worker) continue;
            int32_t type = 2;
            std::shared_ptr<LX::FrameData> bgra;
            frames_in_ += worker->EnqueueFrame(frame.get());
            worker->DequeueFrame(frame.get(), &type, &bgra);
          }
          return condition();
        },
        "what frames bring about");
  }
  // Until no frame is left that could take a queued command along.
  bool WaitUntilNoFrameIsLeft() {
    SetAsync(true);  // a queued command that reaches no engine makes good a lost wake-up
    const bool none = WaitUntil(
        [&] {
          if (host_double::Count("ThreadSleep") >= frames_in_) return true;
          for (FaceBeautyFilterWorker *worker : {worker_.get(), second_.get()})
            if (worker) worker->commands().Command(&IFaceless::SetBasicAdjustIntensity, 0, 0.0F);
          return false;
        },
        "the last frame");
    SetAsync(false);
    return none;
  }
  // Until every worker in the list has run what it was sent: a last command, which runs behind all others, tells.
  void Settle() {
    const size_t wanted = scripted_engine::Count(kLastCommand) + (second_ ? 2 : 1);
    control_->SetNaturalityIntensity(0.5F);
    ASSERT_TRUE(PassFramesUntil([&] { return scripted_engine::Count(kLastCommand) == wanted; }));
  }
  Texts Heard(int engine) {
    Texts texts = CommandsOf(engine);
    std::erase(texts, kLastCommand);
    return texts;
  }

  static constexpr char kLastCommand[] = "setNaturalityIntensity(0.50)";
  const std::shared_ptr<FacelessInstance> control_ = FacelessInstance::GetInstance();
  size_t frames_in_ = 1;  // of all workers; SetUp feeds the first
  obs_source second_source_;
  std::shared_ptr<FaceBeautyFilterWorker> second_;
};

class FanOutEitherWay : public FanOut, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    FanOut::SetUp();
    SetAsync(GetParam());
  }
};

INSTANTIATE_TEST_SUITE_P(Commands, FanOutEitherWay, testing::Bool(),
                         [](const auto &param) { return param.param ? "Queued" : "Direct"; });

TEST_P(FanOutEitherWay, EveryWorkerGetsTheCommand) {
  AddSecond();
  control_->SetLookupIntensity(0.5F);
  Settle();
  EXPECT_EQ(Heard(1), (Texts{"setLookupIntensity(0.50)"}));
  EXPECT_EQ(Heard(2), (Texts{"setLookupIntensity(0.50)"}));
}

TEST_P(FanOutEitherWay, SecondWorkerOfOneSourceIsNotTaken) {
  const auto other = FaceBeautyFilterWorker::Create(&filter_);
  control_->AddWorker(&filter_, other);
  EXPECT_EQ(other.use_count(), 1);
  control_->SetLookupIntensity(0.5F);
  Settle();
  EXPECT_EQ(Heard(1), (Texts{"setLookupIntensity(0.50)"}));
}

TEST_P(FanOutEitherWay, NullEntryDisappearsAndTheOthersGetTheCommand) {
  control_->AddWorker(&second_source_, nullptr);
  control_->SetLookupIntensity(0.5F);
  Settle();
  EXPECT_EQ(Heard(1), (Texts{"setLookupIntensity(0.50)"}));
  // The entry is gone: the source can be added again.
  AddSecond();
  control_->SetLookupIntensity(0.25F);
  Settle();
  EXPECT_EQ(Heard(2), (Texts{"setLookupIntensity(0.25)"}));
}

TEST_P(FanOutEitherWay, RootPathReachesNoEngine) {
  AddSecond();
  control_->SetModelRootPath("root");
  Settle();
  EXPECT_TRUE(Heard(1).empty());
  EXPECT_TRUE(Heard(2).empty());
}

TEST_P(FanOutEitherWay, EffectForSourcesReachesTheNamedWorkerAlone) {
  AddSecond();
  filter_.refs = 2;
  control_->SetMagicEffectForSources({&filter_}, {"cat", kMainEffectSlot, true, ""});
  Settle();
  EXPECT_EQ(Heard(1), (Texts{"setMagicEffectWithPath(cat, 0, 1)"}));
  EXPECT_TRUE(Heard(2).empty());
  EXPECT_EQ(filter_.refs, 1);
}

TEST_P(FanOutEitherWay, UnknownSourceAmongOthersIsReleasedAndPassedOver) {
  obs_source stranger;
  stranger.refs = filter_.refs = 2;
  control_->SetMagicEffectForSources({&stranger, &filter_}, {"cat", kMainEffectSlot, true, ""});
  Settle();
  EXPECT_EQ(stranger.refs, 1);
  EXPECT_EQ(filter_.refs, 1);
  EXPECT_EQ(Heard(1), (Texts{"setMagicEffectWithPath(cat, 0, 1)"}));
}

TEST_P(FanOutEitherWay, EffectForSourcesWithAnEventRemembersItsName) {
  filter_.refs = 2;
  control_->SetMagicEffectForSources({&filter_}, {"cat", kMainEffectSlot, true, "done"});
  Settle();
  scripted_engine::Callbacks(1).effect_description("text", false);
  EXPECT_TRUE(log_.Has(300, "[beauty] event_name= done desc=text success=0"));
}

TEST_P(FanOutEitherWay, EffectForSourcesWritesNoLineOfItsOwn) {
  filter_.refs = 2;
  log_.Clear();
  control_->SetMagicEffectForSources({&filter_}, {"cat", kMainEffectSlot, true, "done"});
  EXPECT_EQ(log_.CountWith("[beauty faceless] entrance"), 0u);
}

TEST_F(FanOut, RegistryKeepsAWorkerAlive) {
  const std::weak_ptr<FaceBeautyFilterWorker> watch = worker_;
  worker_->stop();
  worker_.reset();
  EXPECT_FALSE(watch.expired());
  control_->RemoveWorker(&filter_);
  EXPECT_TRUE(watch.expired());
}

TEST_F(FanOut, OptionIsAskedAnewForEachCommand) {
  control_->SetLookupIntensity(0.5F);
  SetAsync(true);
  control_->SetLookupIntensity(0.25F);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 2u);
}

TEST_F(FanOut, OptionIsAskedAnewForEachWorker) {
  AddSecond();
  ASSERT_TRUE(WaitUntilNoFrameIsLeft());
  const bool own_first = std::less<obs_source_t *>()(&filter_, &second_source_);
  int asked = 0;
  host_double::Change([&](HostSwitches &switches) { switches.on_async_asked = [&] { SetAsync(++asked == 2); }; });
  control_->SetLookupIntensity(0.5F);
  host_double::Change([](HostSwitches &switches) { switches.on_async_asked = nullptr; });
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(Heard(own_first ? 1 : 2), (Texts{"setLookupIntensity(0.50)"})) << "at once, as the first answer said";
  EXPECT_TRUE(Heard(own_first ? 2 : 1).empty()) << "queued, as the second one said";
  Settle();
  EXPECT_EQ(Heard(own_first ? 2 : 1), (Texts{"setLookupIntensity(0.50)"}));
}

TEST_F(FanOut, WorkerRemovedDuringACommandIsNotKeptForIt) {
  AddSecond();
  const bool own_first = std::less<obs_source_t *>()(&filter_, &second_source_);
  std::shared_ptr<FaceBeautyFilterWorker> &later = own_first ? second_ : worker_;
  obs_source *const later_source = own_first ? &second_source_ : &filter_;
  const std::weak_ptr<FaceBeautyFilterWorker> watch = later;
  host_double::Change([&](HostSwitches &switches) {
    switches.on_async_asked = [&] {
      control_->RemoveWorker(later_source);
      later.reset();
      EXPECT_TRUE(watch.expired());
    };
  });
  control_->SetLookupIntensity(0.5F);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
  EXPECT_TRUE(WaitUntil([] { return scripted_engine::Alive() == 1; }, "the removed worker's end"));
}

// All other references go while a command holds a worker.
class FanOutHoldingTheLastReference : public FanOut {
 protected:
  void SetUp() override {
    host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
    FanOut::SetUp();
    host_double::Change([this](HostSwitches &switches) {
      switches.async_beauty = true;
      switches.on_async_asked = [this] {
        control_->RemoveWorker(&filter_);
        worker_.reset();
      };
    });
  }
  // While a frame is in progress.
  void ExpectNoWait(const std::function<void()> &command) {
    std::atomic<bool> returned{false};
    std::thread control([&] {
      command();
      returned = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return returned.load(); }, "the command's return"));
    scripted_engine::Open(Gate::kProcess);
    control.join();
    ExpectItsEnd();
  }
  static void ExpectItsEnd() {
    EXPECT_TRUE(scripted_engine::WaitForCalls("destroyGLFWWindow(window)", 1));
    EXPECT_EQ(scripted_engine::Alive(), 0);
    EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 0u);
  }
};

TEST_F(FanOutHoldingTheLastReference, CommandDoesNotWaitForTheFrameInProgress) {
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  ExpectNoWait([this] { control_->SetLookupIntensity(0.5F); });
}

TEST_F(FanOutHoldingTheLastReference, EffectForItsSourceDoesNotWaitForTheFrameInProgress) {
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  filter_.refs = 2;
  ExpectNoWait([this] { control_->SetMagicEffectForSources({&filter_}, {"cat", kMainEffectSlot, true, ""}); });
}

TEST_F(FanOutHoldingTheLastReference, AbilityHandlerMayAnswerOnTheWorkersOwnThread) {
  struct Handler final : ILiveEffectJsonAbilityHandler {
    void Reserved() override {}
    void PostGameData(const std::string &, const std::string &, const std::string &) override {
      FacelessInstance::GetInstance()->SetLookupIntensity(0.5F);
    }
    void PostSignalAfterLoadInteractiveBoxResource() override {}
    void PostSignalAfterUnloadInteractiveBoxResource() override {}
  } handler;
  const std::function<void()> drop_the_others = host_double::Switches().on_async_asked;
  host_double::Change([](HostSwitches &switches) { switches.on_async_asked = nullptr; });
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_int(settings, "effect_json_ability_handler",
                   static_cast<long long>(reinterpret_cast<intptr_t>(&handler)));
  worker_->update(settings);
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  scripted_engine::Change([](EngineScript &script) {
    script.on_frame = [](LX::FrameData &) {
      scripted_engine::Callbacks(1).game_data(LX::BoomGameData{R"({"reqType":10005})"});
    };
  });
  host_double::Change([&](HostSwitches &switches) { switches.on_async_asked = drop_the_others; });
  scripted_engine::Open(Gate::kProcess);
  ExpectItsEnd();
  EXPECT_EQ(worker_, nullptr) << "the handler was not asked";
}

}  // namespace
