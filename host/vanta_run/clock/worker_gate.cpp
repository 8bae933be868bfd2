#include "clock/worker_gate.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "vanta_host.h"

namespace vanta_run {
namespace {

std::array<std::atomic<uint64_t>, 3> sleeps{};

std::atomic<uint64_t> &SleepsOf(WorkerKind kind) {
  return sleeps[static_cast<size_t>(kind)];
}

constexpr const char *kThreadNames[] = {"FaceBeautyFilterWorker", "TesseraLandmarkFilterWorker",
                                        "TesseraLandmarkFilterGpuWorker"};

// Gates that stand, for TellCapture; changed while no tick is under way.
std::vector<WorkerGate *> &Gates() {
  static std::vector<WorkerGate *> gates;
  return gates;
}

}  // namespace

uint64_t WorkerSleeps(WorkerKind kind) {
  return SleepsOf(kind);
}

void CountWorkerSleep(WorkerKind kind) {
  ++SleepsOf(kind);
  StepClock::Get().LookAtGates();
}

bool WorkerIsBusy(WorkerKind kind) {
  std::array<vanta_host_worker, 16> workers{};
  const size_t count = std::min(vanta_host_get_workers(workers.data(), workers.size()), workers.size());
  return std::any_of(workers.begin(), workers.begin() + static_cast<ptrdiff_t>(count), [kind](const auto &worker) {
    return worker.busy && std::strcmp(worker.name, kThreadNames[static_cast<size_t>(kind)]) == 0;
  });
}

void TellCapture(WorkerKind kind) {
  for (WorkerGate *gate : Gates()) {
    if (gate->kind() == kind) gate->Expect();
  }
}

WorkerGate::WorkerGate(WorkerKind kind, std::function<void()> remind) : kind_(kind), remind_(std::move(remind)) {
  StartOver();
  Gates().push_back(this);
  StepClock::Get().AddGate(*this);
}

WorkerGate::~WorkerGate() {
  StepClock::Get().RemoveGate(*this);
  std::erase(Gates(), this);
}

void WorkerGate::Remind() {
  if (remind_) remind_();
}

void WorkerGate::Forget() {
  StartOver();
}

void WorkerGate::GiveUp() {
  given_up_ += expected_ - WorkerSleeps(kind_);
  StartOver();
}

}  // namespace vanta_run
