#include "filter_bench.h"

#include <chrono>

#include "beauty/beauty_filter_source.h"
#include "support/wait.h"

namespace vanta_test {

using namespace std::chrono_literals;

FilterBench::FilterBench() : settings_(obs_data_create()) {
  parent_.name = "parent";
  parent_.width = kWidth;
  parent_.height = kHeight;
  target_.name = "target";
  filter_.name = "filter";
  filter_.id = "face_beauty_filter_v2";
  filter_.parent = &parent_;
  filter_.target = &target_;
  vanta::RegisterBeautyFilter();
  record_ = host_double::Registered("face_beauty_filter_v2");
}

FilterBench::~FilterBench() {
  scripted_engine::Open(Gate::kCreate);
  scripted_engine::Open(Gate::kProcess);
  DestroyFilter();
}

void FilterBench::CreateFilter() {
  instance_ = record_.create(settings_, &filter_);
  ASSERT_NE(instance_, nullptr);
  ASSERT_TRUE(WaitUntil([&] { return data().worker->IsRunning(); }, "a running worker"));
}

void FilterBench::DestroyFilter() {
  if (instance_) record_.destroy(instance_);
  instance_ = nullptr;
}

obs_source_frame *FilterBench::Video(obs_source_frame *frame) {
  const bool closed = scripted_engine::IsClosed(Gate::kProcess);
  if (!closed) scripted_engine::Close(Gate::kProcess);
  obs_source_frame *out = record_.filter_video(instance_, frame);
  if (!closed) scripted_engine::Open(Gate::kProcess);
  return out;
}

bool FilterBench::Pass(uint64_t timestamp, uint32_t width, uint32_t height, uint8_t fill) {
  const TestFrame frame = MakeFrame(width, height, fill, timestamp);
  obs_source_frame *out = Video(frame.get());
  EXPECT_TRUE(WaitForPasses(++passes_));
  return out != nullptr;
}

bool FilterBench::WaitForPasses(size_t passes) {
  const auto nudge_time = std::chrono::steady_clock::now() + 500ms;
  bool nudged = false;
  return WaitUntil(
      [&] {
        if (host_double::Count("ThreadSleep") >= passes) return true;
        if (!nudged && std::chrono::steady_clock::now() > nudge_time) {
          nudged = true;  // a wake-up was lost: the one command that reaches no engine wakes the worker
          data().worker->Command(&IFaceless::SetBasicAdjustIntensity, 0, 0.0F);
        }
        return false;
      },
      "the worker's passes over frames");
}

void FilterBench::Render() {
  const gs_recorder::InGraphics inside;
  record_.video_render(instance_, nullptr);
}

void FilterBench::Deliver(int32_t format) {
  scripted_engine::Change([format](EngineScript &script) { script.out_format = format; });
  Pass();  // the engine gets it
  ASSERT_TRUE(Pass());
  ASSERT_EQ(data().frame_type, format);
  gs_recorder::Clear();
}

}  // namespace vanta_test
