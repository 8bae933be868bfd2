// Lets the system run out of threads: the program that links this has a `pthread_create` of its own, which stands
// before the C library's.
#pragma once

namespace vanta_test::failing_threads {

// Until its end the thread that made it can make no more threads than these.
class Limit {
 public:
  explicit Limit(int threads);
  ~Limit();
  Limit(const Limit &) = delete;
  Limit &operator=(const Limit &) = delete;
};

}  // namespace vanta_test::failing_threads
