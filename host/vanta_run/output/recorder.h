// Records the canvas and the sound into a file, with libobs's own encoders and muxer.
#pragma once

#include <obs.hpp>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "common/pending_file.h"

namespace vanta_run {

// Throws Failure(kExitUsage) for a name whose ending is no format that the muxer knows.
void RequireRecordingFormat(const std::string &path);

// Owns: the encoders and the output, which libobs wants back before it shuts down. Borrows: the unfinished file.
// Threads: [control]; the output's word comes on a thread of its own.
class Recorder {
 public:
  // `same_bytes`: the same pictures and sound give the same streams each time on this machine.
  Recorder(PendingFile &file, bool verbose, bool same_bytes)
      : file_(file), verbose_(verbose), same_bytes_(same_bytes) {}
  ~Recorder();
  Recorder(const Recorder &) = delete;
  Recorder &operator=(const Recorder &) = delete;

  // After libobs's video is up. Throws Failure(kExitOutput).
  void Start();
  // The output has ended by itself, which it only does when writing fails, or there is no more room to write.
  bool Failed();
  bool started() const { return started_; }
  // What is drawn from now on is not recorded any more. The file is whole once Stopped.
  void Stop();
  bool Stopped();
  // Ends the file and gives it its name; with `same_bytes` its sound ends with its picture. Throws Failure(kExitOutput)
  // when it is not whole.
  void Finish();

  uint64_t frames() const { return frames_; }
  uint64_t bytes() const { return bytes_; }

 private:
  static void OnStop(void *param, calldata_t *data);
  [[noreturn]] void ThrowBroken(const std::string &detail) const;
  void AwaitRest() const;
  std::string PathForMuxer();
  std::string LastError() const;

  PendingFile &file_;
  const bool verbose_;  // the muxer may speak on standard error
  const bool same_bytes_;
  int folder_ = -1;  // a descriptor of the file's, while its name cannot be said to a shell
  OBSEncoderAutoRelease video_, audio_;
  OBSOutputAutoRelease output_;
  OBSSignal stop_signal_;
  bool started_ = false;
  std::string early_reason_;  // why no more can be written; empty: it can
  std::chrono::steady_clock::time_point last_look_;
  uint64_t frames_ = 0;
  uint64_t bytes_ = 0;

  std::mutex mutex_;  // guards stop_code_
  std::condition_variable stopped_;
  std::optional<long long> stop_code_;
};

}  // namespace vanta_run
