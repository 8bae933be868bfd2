// `WorkerLoop` is what the worker's thread does: it waits for frames and takes each through the queued commands, the
// engine and the output queue.
#pragma once

#include <cstdint>

#include "frames/pooled_frame.h"

namespace vanta {

class CommandForwarder;
class DelayReduction;
class DelayStats;
class FaceBeautyFrameFactory;
class FrameProcessing;
class ProcessorHolder;
class WorkerState;

// The processor lives from the loop's start to its end, and the host's supervision is told of both.
// Borrows: all its parts. Threads: [worker].
class WorkerLoop {
 public:
  struct Parts {
    WorkerState &state;
    FaceBeautyFrameFactory &frames;
    CommandForwarder &commands;
    FrameProcessing &processing;
    DelayReduction &delay_reduction;
    ProcessorHolder &processor;
    DelayStats &stats;
  };

  explicit WorkerLoop(const Parts &parts) : parts_(parts) {}
  WorkerLoop(const WorkerLoop &) = delete;
  WorkerLoop &operator=(const WorkerLoop &) = delete;

  // Until the state asks for a stop.
  void Run();

 private:
  void ProcessFrames(uint64_t thread_id, PooledFrameQueue &frames);

  const Parts parts_;
};

}  // namespace vanta
