// `FrameProcessing` takes one frame through the engine, with the processor that it needs, and counts what came of it.
#pragma once

#include "frames/pooled_frame.h"
#include "stats/frame_cost_recorder.h"

namespace vanta {

class DelayStats;
class InteropRequests;
class ProcessorHolder;

// Borrows: the processor's holder, the requests, the statistics. Threads: [worker].
class FrameProcessing {
 public:
  FrameProcessing(ProcessorHolder &processor, InteropRequests &requests, DelayStats &stats)
      : processor_(processor), requests_(requests), stats_(stats) {}
  FrameProcessing(const FrameProcessing &) = delete;
  FrameProcessing &operator=(const FrameProcessing &) = delete;

  // False: the frame goes no further.
  bool Process(PooledFrame &frame);

 private:
  bool ProcessFrame(PooledFrame &frame);
  void LogRenderFailure();

  ProcessorHolder &processor_;
  InteropRequests &requests_;
  DelayStats &stats_;
  FrameCostRecorder process_cost_{"beauty_process"};
};

}  // namespace vanta
