// Hears the signal with which faces go to the host.
#pragma once

#include <obs.hpp>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "faces/face_message.h"

namespace vanta_run {

struct FaceCounts {
  uint64_t signals = 0;
  uint64_t with_faces = 0;  // of these
  uint64_t most_faces = 0;  // in one
};

// Connected from construction to destruction. Threads: StartOver, TakeLines, Counts [control]; Newest [any]. The signal
// comes on a worker's thread, which must not wait for graphics: nothing here takes it.
class FaceListener {
 public:
  // `keep_lines`: a line of JSON for each signal is kept until it is taken.
  explicit FaceListener(bool keep_lines);
  FaceListener(const FaceListener &) = delete;
  FaceListener &operator=(const FaceListener &) = delete;

  // Seconds count from here, and so do signals.
  void StartOver();
  std::vector<std::string> TakeLines();
  FaceCounts Counts() const;
  // Empty where none came of late: the filter has stopped, or its picture is a second old.
  std::optional<FaceMessage> Newest() const;

 private:
  static void OnFaces(void *param, calldata_t *data);
  void Keep(obs_data_t *message);

  const bool keep_lines_;
  mutable std::mutex mutex_;
  uint64_t start_ns_ = 0;           // guarded by mutex_; 0: not started, nothing is counted
  uint64_t newest_ns_ = 0;          // guarded by mutex_
  FaceMessage newest_;              // guarded by mutex_
  FaceCounts counts_;               // guarded by mutex_
  std::vector<std::string> lines_;  // guarded by mutex_
  const OBSSignal signal_;          // last: no signal comes to an unfinished listener
};

}  // namespace vanta_run
