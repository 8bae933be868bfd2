// Memory that ends, or begins, at a page that nobody may touch: a byte out of bounds ends the test process.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace vanta_test {

enum class GuardSide { kBehind, kBefore };

// Owns: the mapping. Threads: confined by the owner.
class GuardedMemory {
 public:
  GuardedMemory(size_t size, GuardSide side) {
    constexpr size_t kPage = 4096;
    const size_t usable = (size + kPage - 1) / kPage * kPage;
    mapped_ = usable + kPage;
    void *mapping = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) throw std::bad_alloc();
    mapping_ = static_cast<uint8_t *>(mapping);
    mprotect(side == GuardSide::kBehind ? mapping_ + usable : mapping_, kPage, PROT_NONE);
    data_ = side == GuardSide::kBehind ? mapping_ + usable - size : mapping_ + kPage;
  }
  GuardedMemory(GuardedMemory &&other) noexcept
      : mapping_(std::exchange(other.mapping_, nullptr)), mapped_(other.mapped_), data_(other.data_) {}
  GuardedMemory &operator=(GuardedMemory &&) = delete;
  ~GuardedMemory() {
    if (mapping_) munmap(mapping_, mapped_);
  }

  uint8_t *data() const { return data_; }

 private:
  uint8_t *mapping_ = nullptr;
  size_t mapped_ = 0;
  uint8_t *data_ = nullptr;
};

}  // namespace vanta_test
