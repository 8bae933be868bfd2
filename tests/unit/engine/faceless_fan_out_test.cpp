// Commands on their way to several workers, queued and direct.
#include "engine/faceless_instance.h"
#include "support/wait.h"
#include "worker_bench.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;
using vanta::FaceBeautyFilterWorker;
using vanta::FacelessInstance;

class FanOut : public WorkerBench {
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
    second_ = std::make_shared<FaceBeautyFilterWorker>(&second_source_);
    ASSERT_TRUE(second_->start());
    ASSERT_TRUE(PassFramesUntil([] { return scripted_engine::Created() == 2; }));
    control_->AddWorker(&second_source_, second_);
  }
  // Frames through all workers. A frame that comes before a worker runs is processed as well, and a lost wake-up takes
  // another.
  bool PassFramesUntil(const std::function<bool()> &condition) {
    const TestFrame frame = MakeFrame(kWidth, kHeight);
    return WaitUntil(
        [&] {
          for (FaceBeautyFilterWorker *worker : {worker_.get(), second_.get()}) {
            if (!worker) continue;
            int32_t type = 2;
            std::shared_ptr<LX::FrameData> bgra;
            worker->EnqueueFrame(frame.get());
            worker->DequeueFrame(frame.get(), &type, &bgra);
          }
          return condition();
        },
        "what frames bring about");
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
  const auto other = std::make_shared<FaceBeautyFilterWorker>(&filter_);
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

}  // namespace
