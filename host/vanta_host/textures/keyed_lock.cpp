#include "textures/keyed_lock.h"

#include <chrono>

namespace vanta_host {

void KeyedLock::Join(uint64_t) {
  std::lock_guard<std::mutex> lock(mutex_);
  ++parties_;
  had_peers_ = had_peers_ || parties_ > 1;
}

void KeyedLock::Leave(uint64_t party) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    --parties_;
    if (holder_ == party) {
      holder_ = 0;
      abandoned_ = true;
    }
  }
  changed_.notify_all();
}

int KeyedLock::TryLocked(uint64_t party, uint64_t key) {
  if (abandoned_) return kKeyedAbandoned;
  if (holder_ == party) return kKeyedMisuse;
  if (holder_ == 0 && key_ == key) {
    holder_ = party;
    return kKeyedSuccess;
  }
  // Alone with a lock of another key: nobody is left who could ever release it with this one.
  return had_peers_ && parties_ < 2 ? kKeyedAbandoned : kKeyedTimeout;
}

int KeyedLock::Acquire(uint64_t party, uint64_t key, uint32_t timeout_ms) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    const int result = TryLocked(party, key);
    if (result != kKeyedTimeout || timeout_ms == 0) return result;
    if (timeout_ms == kKeyedInfinite)
      changed_.wait(lock);
    else if (changed_.wait_until(lock, deadline) == std::cv_status::timeout)
      return TryLocked(party, key);
  }
}

int KeyedLock::Release(uint64_t party, uint64_t key) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (holder_ != party || party == 0) return kKeyedMisuse;
    holder_ = 0;
    key_ = key;
  }
  changed_.notify_all();
  return kKeyedSuccess;
}

bool KeyedLock::Holds(uint64_t party) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return party != 0 && holder_ == party;
}

}  // namespace vanta_host
