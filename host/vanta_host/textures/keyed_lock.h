// The lock of a keyed shared texture: whoever acquires names the key that the one before released it with.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace vanta_host {

// Results of acquiring and releasing: 0 is success, a positive value a time-out, a negative value an error.
inline constexpr int kKeyedSuccess = 0;
inline constexpr int kKeyedTimeout = 0x102;
inline constexpr int kKeyedMisuse = -1;     // no party to it, held already, or not held
inline constexpr int kKeyedAbandoned = -2;  // its holder is gone, or everybody else is and the key will never come
inline constexpr uint32_t kKeyedInfinite = 0xffffffff;

// Begins free, with the key 0. Parties are told apart by their ids, not by their threads: one may acquire on one thread
// and release on another.
// Threads: any.
class KeyedLock {
 public:
  void Join(uint64_t party);
  // A party that holds the lock abandons it, for good.
  void Leave(uint64_t party);

  int Acquire(uint64_t party, uint64_t key, uint32_t timeout_ms);
  // The next one to acquire it names this key.
  int Release(uint64_t party, uint64_t key);
  bool Holds(uint64_t party) const;

 private:
  int TryLocked(uint64_t party, uint64_t key);

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  uint64_t key_ = 0;
  uint64_t holder_ = 0;  // 0: nobody
  size_t parties_ = 0;
  bool had_peers_ = false;  // there have been two parties at least
  bool abandoned_ = false;
};

}  // namespace vanta_host
