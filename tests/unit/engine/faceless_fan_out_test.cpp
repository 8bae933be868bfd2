// Commands on their way to several workers.
#include "engine/faceless_instance.h"
#include "worker_bench.h"

namespace {

using namespace vanta_test;
using vanta::FaceBeautyFilterWorker;
using vanta::FacelessInstance;

class FanOut : public WorkerBench {
 protected:
  void SetUp() override {
    host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
    StartWorker();
    ASSERT_TRUE(Feed());
    control_->AddWorker(&filter_, worker_);
  }
  void TearDown() override {
    control_->RemoveWorker(&filter_);
    control_->RemoveWorker(&second_source_);
    if (second_) second_->stop();
  }
  // A second worker with an engine of its own, number 2.
  void AddSecond() {
    second_source_.parent = &parent_;
    second_ = std::make_shared<FaceBeautyFilterWorker>(&second_source_);
    ASSERT_TRUE(second_->start());
    const TestFrame frame = MakeFrame(kWidth, kHeight);
    ASSERT_TRUE(scripted_engine::WaitForFrames(1));
    for (;;) {  // a frame that comes before the worker runs is processed as well; a lost wake-up takes another
      second_->EnqueueFrame(frame.get());
      if (scripted_engine::FramesProcessed() > 1) break;
    }
    control_->AddWorker(&second_source_, second_);
  }

  const std::shared_ptr<FacelessInstance> control_ = FacelessInstance::GetInstance();
  obs_source second_source_;
  std::shared_ptr<FaceBeautyFilterWorker> second_;
};

TEST_F(FanOut, EveryWorkerGetsTheCommand) {
  AddSecond();
  control_->SetLookupIntensity(0.5F);
  EXPECT_EQ(CommandsOf(1), (std::vector<std::string>{"setLookupIntensity(0.50)"}));
  EXPECT_EQ(CommandsOf(2), (std::vector<std::string>{"setLookupIntensity(0.50)"}));
}

TEST_F(FanOut, SecondWorkerOfOneSourceIsNotTaken) {
  const auto other = std::make_shared<FaceBeautyFilterWorker>(&filter_);
  control_->AddWorker(&filter_, other);
  EXPECT_EQ(other.use_count(), 1);
  control_->SetLookupIntensity(0.5F);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
}

TEST_F(FanOut, NullEntryDisappearsAndTheOthersGetTheCommand) {
  control_->AddWorker(&second_source_, nullptr);
  control_->SetLookupIntensity(0.5F);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
  // The entry is gone: the source can be added again.
  AddSecond();
  control_->SetLookupIntensity(0.25F);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity(0.25)"), 2u);
}

TEST_F(FanOut, RegistryKeepsAWorkerAlive) {
  const std::weak_ptr<FaceBeautyFilterWorker> watch = worker_;
  worker_->stop();
  worker_.reset();
  EXPECT_FALSE(watch.expired());
  control_->RemoveWorker(&filter_);
  EXPECT_TRUE(watch.expired());
}

TEST_F(FanOut, RootPathReachesNoEngine) {
  control_->SetModelRootPath("root");
  EXPECT_TRUE(CommandsOf(1).empty());
}

TEST_F(FanOut, EffectForSourcesReachesTheNamedWorkerAlone) {
  AddSecond();
  filter_.refs = 2;
  control_->SetMagicEffectForSources({&filter_}, {"cat", kMainEffectSlot, true, ""});
  EXPECT_EQ(CommandsOf(1), (std::vector<std::string>{"setMagicEffectWithPath(cat, 0, 1)"}));
  EXPECT_TRUE(CommandsOf(2).empty());
  EXPECT_EQ(filter_.refs, 1);
}

TEST_F(FanOut, EffectForSourcesWithAnEventRemembersItsName) {
  filter_.refs = 2;
  control_->SetMagicEffectForSources({&filter_}, {"cat", kMainEffectSlot, true, "done"});
  scripted_engine::Callbacks(1).effect_description("text", false);
  EXPECT_TRUE(log_.Has(300, "[beauty] event_name= done desc=text success=0"));
}

TEST_F(FanOut, OptionIsAskedAnewForEachCommand) {
  control_->SetLookupIntensity(0.5F);
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = true; });
  control_->SetLookupIntensity(0.25F);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 2u);
}

}  // namespace
