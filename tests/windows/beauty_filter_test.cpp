// A life of the beauty filter in the module's DLL: create, frames through the engine's DLL, destroy.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <cstring>

#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "host/fake_host.h"
#include "host/thread_description.h"
#include "module_dll.h"

using namespace vanta_test;

namespace {

class BeautyFilterDll : public testing::Test {
 protected:
  BeautyFilterDll() { dll_.Load(); }
  LogCapture log_;
  ModuleDll dll_;
};

// A thread names itself, and so a little after it was made.
DWORD ThreadNamed(const std::string &name) {
  DWORD id = 0;
  WaitUntil(
      [&] {
        for (const fake_host::ThreadName &thread : fake_host::ThreadNames())
          if (thread.name == name) id = thread.thread;
        return id != 0;
      },
      name.c_str());
  return id;
}

TEST_F(BeautyFilterDll, PassesThreeHundredFramesThroughTheEngine) {
  scripted_engine::Change([](EngineScript &script) {
    script.on_frame = [](LX::FrameData &frame) { frame.planes[0][0] = static_cast<uint8_t>(frame.planes[0][0] + 100); };
  });
  BeautyFilter filter;
  const uint64_t before = scripted_engine::FramesProcessed();
  for (uint64_t i = 1; i <= 300; ++i) {
    const uint8_t fill = static_cast<uint8_t>(i % 100);
    const Frame frame = MakeFrame(fill, i);
    obs_source_frame *out = filter.VideoThroughEngine(frame.get());
    ASSERT_EQ(out, frame.get()) << "frame " << i << "; the last line: " << log_.Lines().back().text;
    EXPECT_EQ(out->timestamp, i);
    // An older frame's pixels, with the engine's mark in the first byte.
    EXPECT_EQ(out->data[0][0], out->data[0][1] + 100) << i;
  }
  EXPECT_EQ(scripted_engine::FramesProcessed(), before + 300);
}

TEST_F(BeautyFilterDll, LeavesNothingBehind) {
  const long blocks = fake_host::BlocksAlive();
  {
    BeautyFilter filter;
    for (uint64_t i = 1; i <= 10; ++i) filter.VideoThroughEngine(MakeFrame(16, i).get());
  }
  EXPECT_EQ(scripted_engine::Created(), 1);
  EXPECT_EQ(scripted_engine::Alive(), 0);
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
  EXPECT_EQ(fake_host::SettingsAlive(), 0);
  EXPECT_EQ(fake_host::BlocksAlive(), blocks);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  EXPECT_EQ(gs_recorder::Misuse(), std::vector<std::string>());
  EXPECT_EQ(host_double::Count("RemoveThread"), 1u);
}

TEST_F(BeautyFilterDll, ThreadsCarryTheirNames) {
  BeautyFilter filter;
  filter.VideoThroughEngine(MakeFrame(16, 1).get());
  for (const wchar_t *name : {L"FaceBeautyFilterWorker", L"Stattistics"}) {
    const std::wstring wide = name;
    const DWORD id = ThreadNamed(std::string(wide.begin(), wide.end()));
    ASSERT_NE(id, 0u) << std::string(wide.begin(), wide.end());
    EXPECT_EQ(ThreadDescription(id), wide);
  }
}

TEST_F(BeautyFilterDll, WorkerRunsAtTheHighestNormalPriority) {
  BeautyFilter filter;
  filter.VideoThroughEngine(MakeFrame(16, 1).get());
  const HANDLE thread = OpenThread(THREAD_QUERY_INFORMATION, FALSE, ThreadNamed("FaceBeautyFilterWorker"));
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(GetThreadPriority(thread), THREAD_PRIORITY_HIGHEST);
  CloseHandle(thread);
}

TEST_F(BeautyFilterDll, HostSupervisesTheWorkerByTheSystemsThreadId) {
  {
    BeautyFilter filter;
    filter.VideoThroughEngine(MakeFrame(16, 1).get());
  }
  EXPECT_EQ(host_double::Count("AddThread"), 1u);
  EXPECT_GE(host_double::Count("ThreadId(self)"), 1u);
  EXPECT_EQ(host_double::Count("AddThread(other)") + host_double::Count("ThreadId of another"), 0u);
}

TEST_F(BeautyFilterDll, DumpMarkAtByte220ComesBackWithTheEnginesText) {
  scripted_engine::Change([](EngineScript &script) { script.dump_text = "{\"applied\":1}"; });
  BeautyFilter filter;
  const Frame marked = MakeFrame(16, 1);
  const uint32_t id = 77;
  std::memcpy(reinterpret_cast<char *>(marked.get()) + 220, &id, sizeof(id));
  filter.VideoThroughEngine(marked.get());
  const Frame next = MakeFrame(16, 2);
  ASSERT_NE(filter.VideoThroughEngine(next.get()), nullptr);
  uint32_t returned = 0;
  std::memcpy(&returned, reinterpret_cast<const char *>(next.get()) + 220, sizeof(returned));
  EXPECT_EQ(returned, id);
  const char *text = nullptr;
  uint32_t length = 0;
  filter.record().get_dump_json(filter.instance(), &text, &length);
  EXPECT_EQ(std::string(text, length), "{\"applied\":1}");
}

TEST_F(BeautyFilterDll, CommandOfTheHostApplicationReachesTheEngine) {
  BeautyFilter filter;
  filter.VideoThroughEngine(MakeFrame(16, 1).get());
  dll_.Control()->SetLookupIntensity(0.5F);
  filter.VideoThroughEngine(MakeFrame(16, 2).get());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity(0.50)"), 1u);
}

TEST_F(BeautyFilterDll, EngineThatCannotBeMadeLeavesThePicture) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  BeautyFilter filter;
  for (uint64_t i = 1; i <= 10; ++i) {
    const Frame frame = MakeFrame(16, i);
    obs_source_frame *out = filter.Video(frame.get());
    ASSERT_TRUE(!out || out == frame.get());
    if (out) {
      EXPECT_EQ(out->data[0][0], 16);
    }
  }
}

}  // namespace
