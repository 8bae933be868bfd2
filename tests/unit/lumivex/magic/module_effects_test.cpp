// The module with this engine: from a command to the host's signal, handler and named event.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <semaphore.h>
#include <unistd.h>

#include <chrono>
#include <obs.hpp>
#include <thread>

#include "engine/lumivex_processor.h"
#include "fakes/host/host_double.h"
#include "fakes/runner/scripted_runner.h"
#include "fixtures/lumivex/effect_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/engine/ability_handler.h"

namespace lumivex_test {
namespace {

using Texts = std::vector<std::string>;

// What a host application makes here in place of an event object.
struct HostEvent {
  HostEvent() : handle(sem_open(("/" + name).c_str(), O_CREAT | O_EXCL, 0600, 0)) {}
  ~HostEvent() {
    sem_close(handle);
    sem_unlink(("/" + name).c_str());
  }
  bool Take() const { return sem_trywait(handle) == 0; }
  bool Wait() const {
    timespec late{};
    clock_gettime(CLOCK_REALTIME, &late);
    late.tv_sec += 30;
    return sem_timedwait(handle, &late) == 0;
  }

  const std::string name = "lumivex_effect_" + std::to_string(getpid());
  sem_t *handle;
};

struct Handler final : ILiveEffectJsonAbilityHandler {
  void Reserved() override {}
  void PostGameData(const std::string &, const std::string &method, const std::string &params) override {
    calls.push_back(method + "(" + params + ")");
  }
  void PostSignalAfterLoadInteractiveBoxResource() override { calls.push_back("Loaded"); }
  void PostSignalAfterUnloadInteractiveBoxResource() override { calls.push_back("Unloaded"); }
  Texts calls;
};

class ModuleEffects : public ::testing::Test {
 protected:
  void SetUp() override {
    signal_handler_add(obs_get_signal_handler(), "void zt_magic_callback()");
    signal_handler_connect(obs_get_signal_handler(), "zt_magic_callback", OnMagic, this);
    ASSERT_TRUE(processor_.Initialize(64, 48, nullptr));
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, "effect_json_ability_handler",
                     static_cast<long long>(reinterpret_cast<intptr_t>(&handler_)));
    processor_.SetOBSData(settings, nullptr);
  }
  void TearDown() override { signal_handler_disconnect(obs_get_signal_handler(), "zt_magic_callback", OnMagic, this); }

  static void OnMagic(void *param, calldata_t *data) {
    static_cast<ModuleEffects *>(param)->makeup_off_.push_back(calldata_bool(data, "disable_makeup"));
  }
  void Frame(int64_t milliseconds) {
    now_ += static_cast<uint64_t>(milliseconds) * 1000000 + 1;
    vanta::PooledFrame frame;
    frame.data = pool_.takeFrameDataNV12(64, 48, 0, 0);
    frame.data->timestamp = now_;
    EXPECT_EQ(processor_.Process(frame), vanta::LumivexProcessor::kFinished);
  }
  void Await(const std::function<bool()> &condition) {
    const auto late = std::chrono::steady_clock::now() + vanta_test::kWatchdog;
    while (!condition()) {
      ASSERT_LT(std::chrono::steady_clock::now(), late);
      Frame(0);
      std::this_thread::yield();
    }
  }

  const vanta_test::LogCapture log_;
  Handler handler_;
  LX::FramePool pool_;
  vanta::LumivexProcessor processor_;
  std::vector<bool> makeup_off_;
  uint64_t now_ = 1000000000;
};

TEST_F(ModuleEffects, AnEffectsNaturalEndSetsTheHostsEvent) {
  const HostEvent event;
  json effect = OneLayer();
  effect["duration"] = 100;
  effect["disables"]["makeup"] = true;
  processor_.SetMagicEffectWithEvent(WriteEffect("effect", effect), kMainEffectSlot, false, event.name);
  Await([&] { return !makeup_off_.empty(); });
  EXPECT_EQ(makeup_off_, std::vector<bool>{true});
  Frame(90);
  EXPECT_FALSE(event.Take());
  Frame(20);
  EXPECT_TRUE(event.Take());
  EXPECT_FALSE(event.Take()) << "once";
  EXPECT_EQ(log_.Count("[beauty] kEffectMethodClearEffect: open event Success:" + event.name), 1u);
}

TEST_F(ModuleEffects, AnEndWithoutAnEventReachesTheHandler) {
  json effect = OneLayer();
  effect["duration"] = 100;
  processor_.SetMagicEffectWithPath(WriteEffect("effect", effect), kMainEffectSlot, false);
  Await([&] { return !makeup_off_.empty(); });
  Frame(110);
  EXPECT_EQ(handler_.calls, Texts{"clearEffect()"});
}

TEST_F(ModuleEffects, AGiftSetsItsEventOnce) {
  const HostEvent event;
  json effect = OneLayer();
  effect["gift_display_time"] = 1;
  processor_.SetMagicEffectWithEvent(WriteEffect("gift", effect), kRecognitionGiftSlot, false, event.name);
  Await([&] { return log_.HasText("event_name= " + event.name); });
  EXPECT_TRUE(event.Wait());
  Frame(1000);
  ASSERT_TRUE(log_.WaitForText("[beauty] ExecGiftCallBack: open event Success:" + event.name));
  EXPECT_FALSE(event.Take());
}

TEST_F(ModuleEffects, ATakenBackGiftLeavesTheMainEffect) {
  const std::string main = WriteEffect("main", OneLayer());
  json gift = OneLayer();
  gift["gift_display_time"] = 60000;
  processor_.SetMagicEffectWithPath(main, kMainEffectSlot, false);
  Await([&] { return makeup_off_.size() == 1; });
  processor_.SetMagicEffectWithPath(WriteEffect("gift", gift), kRecognitionGiftSlot, false);
  Await([&] { return log_.HasText("giftDisplayTime"); });
  processor_.SetMagicEffectWithPath("", kRecognitionGiftSlot, false);
  vanta::PooledFrame frame;
  frame.data = pool_.takeFrameDataNV12(64, 48, 0, 0);
  frame.data->timestamp = ++now_;
  frame.data->dump_flag = 1;
  processor_.Process(frame);
  const json effects = json::parse(frame.data->dump_text)["effects"];
  ASSERT_EQ(effects.size(), 1u);
  EXPECT_EQ(effects[0]["path"], main);
}

TEST_F(ModuleEffects, AFolderThatCannotBeReadIsTheModulesFailedLine) {
  processor_.SetMagicEffectWithPath("/nowhere", kMainEffectSlot, false);
  Await([&] { return log_.Count("[beauty] LumivexRender::MagicFaceCallBack CallBack failed ") == 1; });
  EXPECT_TRUE(makeup_off_.empty());
}

TEST_F(ModuleEffects, GameDataThatTheModuleCannotReadIsBorne) {
  json effect = OneLayer();
  effect["messages"] = {
      {{"at", "start"}, {"game_data", {{"data", {{"ability", 5}}}}}},
      {{"at", "start"}, {"game_data", {{"data", {{"ability", "LiveStreamInfoAbility"}, {"method", "getPkId"}}}}}}};
  processor_.SetMagicEffectWithPath(WriteEffect("effect", effect), kMainEffectSlot, false);
  Await([&] { return !handler_.calls.empty(); });
  EXPECT_EQ(handler_.calls, Texts{"getPkId()"});
  EXPECT_EQ(log_.CountWith("the game data callback failed"), 1u);
}

TEST_F(ModuleEffects, TheInteractiveBoxIsPlayedAndToldOf) {
  processor_.LoadInteractiveBoxResource(WriteEffect("box", OneLayer()));
  EXPECT_EQ(handler_.calls, Texts{"Loaded"});
  Await([&] { return !makeup_off_.empty(); });
  processor_.UnloadInteractiveBoxResource();
  EXPECT_EQ(handler_.calls, (Texts{"Loaded", "Unloaded"}));
}

TEST_F(ModuleEffects, NumberOfFacesOfTheHostReachesTheSearch) {
  processor_.UpdateTesseraParams(R"({"max_face_num": 5})");
  processor_.SetDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.5f);
  vanta_test::scripted_runner::Reset();
  Await([] { return vanta_test::scripted_runner::Runs() > 0; });
  const Texts asked = vanta_test::scripted_runner::Texts();
  EXPECT_THAT(asked, testing::Contains(testing::HasSubstr("max_face_num=5")));
  EXPECT_EQ(vanta_test::scripted_runner::Runs(), 1u);
}

}  // namespace
}  // namespace lumivex_test
