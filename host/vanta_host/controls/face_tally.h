// Who has found how many faces, from messages that do not name their sender.
#pragma once

#include <array>
#include <cstdint>
#include <thread>
#include <vector>

#include <obs.h>

#include "vanta_base/mutex.h"

namespace vanta_host {

struct FoundFaces {
  int count = 0;
  int tellers = 0;                           // filters that have told of pictures of this size
  uint32_t width = 0, height = 0;            // of the picture, pixels
  std::vector<std::array<float, 2>> points;  // of all faces, pixels
};

// Each filter tells from a thread of its own, so threads tell the filters apart, and the size of the picture tells
// which source it is. Filters on sources of one size cannot be told apart: their faces are counted together. What is
// older than two seconds no longer counts. Threads: any.
class FaceTally {
 public:
  // `message` is that of the signal "TesseraFacePointRet".
  void Take(obs_data_t *message, std::thread::id teller, uint64_t now_ns);
  FoundFaces OfSize(uint32_t width, uint32_t height, uint64_t now_ns) const;
  // Of the size that was told last.
  FoundFaces Newest(uint64_t now_ns) const;
  int Count(uint64_t now_ns) const;
  void Clear();

 private:
  struct Word {
    std::thread::id teller;
    uint64_t time_ns;
    FoundFaces faces;
  };

  mutable vanta::Mutex mutex_;
  std::vector<Word> words_ VANTA_GUARDED_BY(mutex_);  // the last one of each, the newest behind
};

}  // namespace vanta_host
