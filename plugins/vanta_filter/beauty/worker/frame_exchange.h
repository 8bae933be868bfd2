// `FrameExchange` is the host's side of the frame queues: frames go in, and finished ones come out.
#pragma once

#include <obs.h>

#include <cstdint>
#include <memory>
#include <string>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

class DelayStats;
class FaceBeautyFrameFactory;
class Stattistics;
class WorkerState;

// Nothing here waits for the engine: only the factory's short queue locks are taken.
// Borrows: the factory, the statistics; the state, to wake the thread. Threads: [video], but SetTick [control].
class FrameExchange {
 public:
  FrameExchange(FaceBeautyFrameFactory &frames, DelayStats &stats, WorkerState &state)
      : frames_(frames), stats_(stats), state_(state) {}
  FrameExchange(const FrameExchange &) = delete;
  FrameExchange &operator=(const FrameExchange &) = delete;

  // Frames are counted for `tick` too. Before the first frame, or not at all.
  void SetTick(Stattistics *tick) { tick_ = tick; }

  // As the worker's operations of these names.
  bool EnqueueFrame(obs_source_frame *frame);
  bool DequeueFrame(obs_source_frame *frame, int32_t *type, std::shared_ptr<LX::FrameData> *bgra_frame);
  std::string &GetDumpJson(std::string &out, uint32_t id) const;

 private:
  void KeepDump(const LX::FrameData &data, obs_source_frame *frame);

  FaceBeautyFrameFactory &frames_;
  DelayStats &stats_;
  WorkerState &state_;
  Stattistics *tick_ = nullptr;
  int32_t dump_id_ = 0;  // of the last dumped frame delivered
  std::string dump_json_;
};

}  // namespace vanta
