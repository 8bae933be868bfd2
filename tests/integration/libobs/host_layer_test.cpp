// What vanta_host does around the module where other libraries, subscribers and settings could get in its way.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <util/platform.h>
#include <obs.hpp>

#include <atomic>
#include <cstdint>
#include <functional>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/engine/ability_handler.h"
#include "vanta_filter/module/source_record.h"
#include "vanta_host.h"

extern "C" void __wrap_obs_register_source_s(const obs_source_info *info, size_t size);

namespace {

std::atomic<bool> code_page_lacks_it{false};

}  // namespace

// As in a locale without that character: this machine may have none.
size_t os_utf8_to_mbs_ptr(const char *text, size_t size, char **converted) {
  static const auto next = reinterpret_cast<decltype(&os_utf8_to_mbs_ptr)>(dlsym(RTLD_NEXT, "os_utf8_to_mbs_ptr"));
  if (!code_page_lacks_it) return next(text, size, converted);
  *converted = nullptr;
  return static_cast<size_t>(-1);
}

namespace vanta_integration {
namespace {

using vanta_test::EngineScript;
namespace scripted_engine = vanta_test::scripted_engine;

constexpr int32_t kEngineReport = 8;
constexpr char kNoHandler[] = "[beauty] ILiveEffectJsonAbilityHandler is nullptr";

TEST(HostLayer, ALongRecordOfAnotherLibraryLeavesTheControlObjectWhereItIs) {
  const ObsSession session;
  void *const control = vanta_host_get_faceless();
  ASSERT_NE(control, nullptr);
  // This program has no control object of its own.
  HostSourceInfo record{};
  record.id = "somebody_elses_filter";
  record.type = OBS_SOURCE_TYPE_FILTER;
  record.output_flags = OBS_SOURCE_VIDEO;
  record.get_name = [](void *) { return "somebody else's"; };
  record.create = [](obs_data_t *, obs_source_t *) -> void * { return new char; };
  record.destroy = [](void *data) { delete static_cast<char *>(data); };
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  const OBSSourceAutoRelease filter = obs_source_create_private(record.id, "one", nullptr);
  ASSERT_TRUE(filter);
  EXPECT_EQ(vanta_host_get_faceless(), control);
}

TEST(HostLayer, ADataFolderThatTheCodePageCannotNameIsOneLogLine) {
  const vanta_test::LogCapture log;
  for (const bool lacks_it : {false, true}) {
    code_page_lacks_it = lacks_it;
    const ObsSession session;
    EXPECT_EQ(log.CountWith("a folder with plain letters would do"), lacks_it ? 1U : 0U);
  }
  code_page_lacks_it = false;
}

struct CommandSender {
  ILumivex &control;
  std::atomic<int> sent{0};

  static void OnReport(void *param, int32_t id, const char *, uint64_t) {
    if (id != kEngineReport) return;
    auto &sender = *static_cast<CommandSender *>(param);
    sender.control.SetLookupIntensity(0.5F);
    ++sender.sent;
  }
};

// The worker holds the lock that such a command waits for while it reports that there is no engine.
TEST(HostLayer, AReportsSubscriberMaySendACommandThatWaitsForTheWorker) {
  const ObsSession session;
  vanta_host_set_switch(VANTA_SWITCH_ASYNC_BEAUTY, false);
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  CommandSender sender{session.Control()};
  vanta_host_set_report_callback(CommandSender::OnReport, &sender);
  FedSource source;
  BeautyChain chain(source.Get());
  EXPECT_TRUE(FeedUntil(
      source, chain, [&] { return sender.sent > 0; }, "the subscriber's command"));
  EXPECT_TRUE(vanta_test::WaitUntil(vanta_host_is_passing_through, "the worker to go on"));
  vanta_host_set_report_callback(nullptr, nullptr);
  vanta_host_set_switch(VANTA_SWITCH_ASYNC_BEAUTY, true);
}

// A handler in its place is harmless: one that the module calls although it must not only counts.
struct CountingHandler final : ILiveEffectJsonAbilityHandler {
  std::atomic<int> asked{0};

  void Reserved() override {}
  void PostGameData(const std::string &, const std::string &, const std::string &) override { ++asked; }
  void PostSignalAfterLoadInteractiveBoxResource() override {}
  void PostSignalAfterUnloadInteractiveBoxResource() override {}
};

class AbilityAddress : public testing::Test {
 protected:
  AbilityAddress() : chain_(source_.Get()) {
    EXPECT_TRUE(FeedUntil(
        source_, chain_, [] { return scripted_engine::FramesProcessed() > 0; }, "a running engine"));
  }
  ~AbilityAddress() override { vanta_host_unregister_ability_handler(Address()); }

  const void *Address() const { return static_cast<const ILiveEffectJsonAbilityHandler *>(&handler_); }

  // An update with the handler's address that has reached the engine, and then an effect that asks for something.
  void UpdateAndAsk() {
    const size_t before = log_.CountWith("] SetOBSData");
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, "effect_json_ability_handler", reinterpret_cast<intptr_t>(Address()));
    obs_source_update(chain_.Filter(), settings);
    ASSERT_TRUE(FeedUntil(
        source_, chain_, [&] { return log_.CountWith("] SetOBSData") > before; }, "the settings at the engine"));
    scripted_engine::Callbacks(scripted_engine::Created()).game_data({R"({"reqType":10005})"});
  }

  const ObsSession session_;
  const vanta_test::LogCapture log_;
  CountingHandler handler_;
  FedSource source_;
  BeautyChain chain_;
};

TEST_F(AbilityAddress, IsCalledOnceTheApplicationHasRegisteredIt) {
  vanta_host_register_ability_handler(Address());
  UpdateAndAsk();
  EXPECT_EQ(handler_.asked, 1);
}

TEST_F(AbilityAddress, IsNotCalledWhereNobodyHasRegisteredIt) {
  UpdateAndAsk();
  EXPECT_EQ(handler_.asked, 0);
  EXPECT_EQ(log_.Count(kNoHandler), 1u);
}

}  // namespace
}  // namespace vanta_integration
