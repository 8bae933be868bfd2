#include "worker_bench.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>

#include "engine/faceless_instance.h"
#include "support/wait.h"

namespace vanta_test {

using namespace std::chrono_literals;

// The letter behind the thread's bracketed name says so.
bool IsAsleep(uint64_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const size_t state = text.rfind(") ");
  return state != std::string::npos && text.compare(state + 2, 1, "S") == 0;
}

WorkerBench::WorkerBench() {
  parent_.name = "parent";
  filter_.name = "filter";
  filter_.id = "face_beauty_filter_v2";
  filter_.parent = &parent_;
}

WorkerBench::~WorkerBench() {
  scripted_engine::Open(Gate::kCreate);
  scripted_engine::Open(Gate::kProcess);
  scripted_engine::Open(Gate::kDestroy);
  StopWorker();
}

void WorkerBench::MakeWorker() {
  worker_ = vanta::FaceBeautyFilterWorker::Create(&filter_);
}

void WorkerBench::StartWorker() {
  if (!worker_) MakeWorker();
  ASSERT_TRUE(worker_->start());
  ASSERT_TRUE(WaitUntil([&] { return worker_->IsRunning(); }, "a running worker"));
  // A frame that came before the tick's first wait would be its first second.
  ASSERT_TRUE(MovableClock::WaitForSleepers(1));
}

void WorkerBench::StopWorker() {
  if (!worker_) return;
  worker_->stop();
  worker_.reset();
}

bool WorkerBench::Feed(uint64_t timestamp, uint32_t width, uint32_t height, uint8_t fill) {
  const TestFrame frame = MakeFrame(width, height, fill, timestamp);
  return FeedFrame(frame.get());
}

bool WorkerBench::FeedFrame(obs_source_frame *frame) {
  ++entered_;
  if (!worker_->EnqueueFrame(frame)) return false;
  return WaitForPasses(++passes_);
}

bool WorkerBench::WaitForPasses(size_t passes) {
  return WaitWithNudge([passes] { return host_double::Count("ThreadSleep") >= passes; },
                       "the worker's passes over frames");
}

bool WorkerBench::HoldAt(Gate gate, uint32_t width, uint32_t height) {
  scripted_engine::Close(gate);
  const TestFrame frame = MakeFrame(width, height);
  return worker_->EnqueueFrame(frame.get()) &&
         WaitWithNudge([gate] { return scripted_engine::Waiting(gate) > 0; }, "the worker at a gate of the engine");
}

bool WorkerBench::WaitWithNudge(const std::function<bool()> &condition, const char *what) {
  const auto nudge_time = std::chrono::steady_clock::now() + 500ms;
  bool nudged = false;
  return WaitUntil(
      [&] {
        if (condition()) return true;
        if (!nudged && std::chrono::steady_clock::now() > nudge_time) {
          nudged = true;
          Nudge();
        }
        return false;
      },
      what);
}

// The one command that reaches no engine; it only wakes the worker.
void WorkerBench::Nudge() {
  ++nudges_;
  const bool async = host_double::Switches().async_beauty;
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = true; });
  worker_->Command(&IFaceless::SetBasicAdjustIntensity, 0, 0.0F);
  host_double::Change([async](HostSwitches &switches) { switches.async_beauty = async; });
}

WorkerBench::Dequeued WorkerBench::Dequeue(uint32_t width, uint32_t height) {
  Dequeued result{false, 2, nullptr, MakeFrame(width, height, 0, 77)};
  result.success = worker_->DequeueFrame(result.frame.get(), &result.type, &result.bgra);
  return result;
}

void WorkerBench::Tick(int times) {
  if (times > 0 && first_tick_) {
    // The tick waits ten seconds for the first frames; where some have entered, its first step follows at once.
    first_tick_ = false;
    ASSERT_TRUE(MovableClock::AdvanceAndLetOneSleeperWork(10s));
    if (entered_ > 0) --times;
  }
  for (; times > 0; --times) ASSERT_TRUE(MovableClock::AdvanceAndLetOneSleeperWork(1s));
}

StatisticsSample WorkerBench::TenSecondReport() {
  Tick(10);
  const std::vector<StatisticsSample> reports = vanta::FacelessInstance::GetInstance()->GetBeautyStatistics();
  EXPECT_EQ(reports.size(), 1u);
  return reports.empty() ? StatisticsSample() : reports.front();
}

std::vector<std::string> WorkerBench::CommandsOf(int engine) {
  std::vector<std::string> texts = scripted_engine::Texts(engine);
  const auto last_of_start = std::find(texts.begin(), texts.end(), "setEffectDescriptionCallback()");
  if (last_of_start != texts.end()) texts.erase(texts.begin(), last_of_start + 1);
  std::erase_if(texts, [](const std::string &text) {
    return text.rfind("processFrameData", 0) == 0 || text.rfind("isNVDXInteropSupported", 0) == 0;
  });
  return texts;
}

}  // namespace vanta_test
