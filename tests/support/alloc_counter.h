// Counts heap allocations: operator new always, malloc and its relatives too except under a sanitizer, which needs them
// for itself.
#pragma once

#include <cstdint>

namespace vanta_test {

// Counts from construction on. Threads: reads from the constructing thread.
class AllocCounter {
 public:
  AllocCounter();
  uint64_t OnThisThread() const;  // allocations of the constructing thread
  uint64_t InProcess() const;     // of all threads

 private:
  uint64_t thread_before_;
  uint64_t process_before_;
};

// Whether malloc counts as well.
bool CountsMalloc();

}  // namespace vanta_test
