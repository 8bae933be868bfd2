// What a command of the host application costs the thread that gives it while a frame takes 200 ms: queued, against the
// same with an idle worker, and against the direct way, which waits for the frame.
#include <obs.h>
#include <util/base.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "beauty/face_beauty_filter_worker.h"
#include "engine/faceless_instance.h"
#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "ratio.h"

namespace {

using vanta_bench::Milliseconds;

constexpr uint32_t kWidth = 64;
constexpr uint32_t kHeight = 48;
constexpr int kTurns = 15;
constexpr int kCommands = 1000;
constexpr std::chrono::milliseconds kFrameTime{200};
constexpr double kBusyBar = 1.5;
constexpr double kDirectBar = 0.01;

using Command = std::function<void(vanta::FacelessInstance &)>;

// One worker in the control object's list, and an engine that takes as long for a frame as it is told.
class Bench {
 public:
  Bench() : frame_(obs_source_frame_create(VIDEO_FORMAT_NV12, kWidth, kHeight), obs_source_frame_destroy) {
    vanta_test::scripted_engine::Change([this](vanta_test::EngineScript &script) {
      script.on_frame = [this](LX::FrameData &) {
        in_frame_ = true;
        if (slow_) std::this_thread::sleep_for(kFrameTime);
        in_frame_ = false;
        ++frames_;
      };
    });
    worker_ = vanta::FaceBeautyFilterWorker::Create(&source_);
    worker_->start();
    control_->AddWorker(&source_, worker_);
  }
  ~Bench() {
    control_->RemoveWorker(&source_);
    worker_->stop();
  }

  // Milliseconds of a thousand commands on this thread, with nothing for the worker to do.
  double Idle(const Command &command) {
    RunQueue();
    return Cost(command, kCommands);
  }
  // The same in the middle of a frame; nothing when the frame ended too early.
  std::optional<double> Busy(const Command &command) {
    RunQueue();
    BeginSlowFrame();
    const double cost = Cost(command, kCommands);
    const bool in_time = in_frame_;
    EndSlowFrame();
    return in_time ? std::optional(cost) : std::nullopt;
  }
  // One command the direct way, in the middle of a frame.
  double Direct(const Command &command) {
    RunQueue();
    SetAsync(false);
    BeginSlowFrame();
    const double cost = Cost(command, 1);
    SetAsync(true);
    EndSlowFrame();
    return cost;
  }

 private:
  double Cost(const Command &command, int count) {
    return Milliseconds([&] {
      for (int i = 0; i < count; ++i) command(*control_);
    });
  }
  static void SetAsync(bool on) {
    vanta_test::host_double::Change([on](vanta_test::HostSwitches &switches) { switches.async_beauty = on; });
  }
  // A frame through the worker, ahead of which it runs what was queued.
  void RunQueue() {
    const uint64_t before = frames_;
    while (frames_ == before) Exchange();
    while (in_frame_) std::this_thread::yield();
    Settle();
  }
  void BeginSlowFrame() {
    slow_ = true;
    while (!in_frame_) Exchange();
  }
  void EndSlowFrame() {
    slow_ = false;
    while (in_frame_) std::this_thread::yield();
    Settle();
  }
  // Until nothing waits for the engine any more.
  void Settle() {
    uint64_t seen = 0;
    do {
      seen = frames_;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    } while (in_frame_ || frames_ != seen);
  }
  void Exchange() {
    int32_t type = 2;
    std::shared_ptr<LX::FrameData> bgra;
    worker_->DequeueFrame(frame_.get(), &type, &bgra);
    worker_->EnqueueFrame(frame_.get());
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  obs_source source_;
  const std::shared_ptr<obs_source_frame> frame_;
  const std::shared_ptr<vanta::FacelessInstance> control_ = vanta::FacelessInstance::GetInstance();
  std::shared_ptr<vanta::FaceBeautyFilterWorker> worker_;
  std::atomic<bool> slow_{false};
  std::atomic<bool> in_frame_{false};
  std::atomic<uint64_t> frames_{0};
};

vanta_bench::Row BusyAgainstIdle(Bench &bench, const char *name, const Command &command) {
  vanta_bench::Turns turns;
  while (turns.Count() < kTurns) {
    const double idle_before = bench.Idle(command);
    const std::optional<double> busy = bench.Busy(command);
    const double idle = (idle_before + bench.Idle(command)) / 2;
    if (busy) turns.Add(*busy, idle);
  }
  return turns.Result(name, kBusyBar);
}

vanta_bench::Row QueuedAgainstDirect(Bench &bench, const char *name, const Command &command) {
  vanta_bench::Turns turns;
  while (turns.Count() < kTurns) {
    const std::optional<double> queued = bench.Busy(command);
    if (queued) turns.Add(*queued, bench.Direct(command));
  }
  return turns.Result(name, kDirectBar);
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  vanta_test::gs_recorder::Reset();
  vanta_test::gs_recorder::SetRecording(false);
  vanta_test::host_double::Reset();
  vanta_test::host_double::SetRecording(false);
  vanta_test::scripted_engine::SetRecording(false);

  const Command slider = [](vanta::FacelessInstance &control) {
    control.SetBeautyIntensityWithType(LXBeautyType(1), 0.5F);
  };
  const Command record = [](vanta::FacelessInstance &control) { control.SetBeautyGroupPath(LXGroupConfig{}); };
  Bench bench;
  std::vector<vanta_bench::Row> rows;
  const auto add = [&rows](const vanta_bench::Row &row) {
    rows.push_back(row);
    vanta_bench::PrintRow(row);
  };
  add(BusyAgainstIdle(bench, "1,000 queued commands, frame of 200 ms / idle worker", slider));
  add(BusyAgainstIdle(bench, "1,000 queued records of 1 KiB, 200 ms / idle worker", record));
  add(QueuedAgainstDirect(bench, "1,000 commands queued / one direct, frame of 200 ms", slider));
  return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
}
