#include "support/alloc_counter.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#if defined(__GLIBC__) && !defined(VANTA_TEST_SANITIZED)
#define VANTA_TEST_COUNT_MALLOC 1
#endif

namespace {

thread_local uint64_t thread_count = 0;
std::atomic<uint64_t> process_count{0};

void CountOne() {
  ++thread_count;
  process_count.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

#if defined(VANTA_TEST_COUNT_MALLOC)
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);

[[gnu::visibility("default")]] void *malloc(size_t size) {
  CountOne();
  return __libc_malloc(size);
}
[[gnu::visibility("default")]] void *calloc(size_t count, size_t size) {
  CountOne();
  return __libc_calloc(count, size);
}
[[gnu::visibility("default")]] void *realloc(void *block, size_t size) {
  CountOne();
  return __libc_realloc(block, size);
}
[[gnu::visibility("default")]] void *memalign(size_t alignment, size_t size) {
  CountOne();
  return __libc_memalign(alignment, size);
}
[[gnu::visibility("default")]] void *aligned_alloc(size_t alignment, size_t size) {
  CountOne();
  return __libc_memalign(alignment, size);
}
[[gnu::visibility("default")]] int posix_memalign(void **out, size_t alignment, size_t size) {
  CountOne();
  *out = __libc_memalign(alignment, size);
  return *out ? 0 : ENOMEM;
}
}
#else
// Under a sanitizer malloc stays its own, and operator new counts in its place.
void *operator new(size_t size, const std::nothrow_t &) noexcept {
  CountOne();
  return std::malloc(size ? size : 1);
}
void *operator new(size_t size) {
  if (void *block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void *operator new[](size_t size) {
  return operator new(size);
}
void *operator new[](size_t size, const std::nothrow_t &) noexcept {
  return operator new(size, std::nothrow);
}
void *operator new(size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept {
  CountOne();
  const auto step = static_cast<size_t>(alignment);
  return std::aligned_alloc(step, (size + step - 1) / step * step);
}
void *operator new(size_t size, std::align_val_t alignment) {
  if (void *block = operator new(size, alignment, std::nothrow)) return block;
  throw std::bad_alloc();
}
void operator delete(void *block, std::align_val_t) noexcept {
  std::free(block);
}
void operator delete(void *block, size_t, std::align_val_t) noexcept {
  std::free(block);
}
void operator delete(void *block) noexcept {
  std::free(block);
}
void operator delete[](void *block) noexcept {
  std::free(block);
}
void operator delete(void *block, size_t) noexcept {
  std::free(block);
}
void operator delete[](void *block, size_t) noexcept {
  std::free(block);
}
#endif

namespace vanta_test {

AllocCounter::AllocCounter() : thread_before_(thread_count), process_before_(process_count.load()) {}

uint64_t AllocCounter::OnThisThread() const {
  return thread_count - thread_before_;
}

uint64_t AllocCounter::InProcess() const {
  return process_count.load() - process_before_;
}

bool CountsMalloc() {
#if defined(VANTA_TEST_COUNT_MALLOC)
  return true;
#else
  return false;
#endif
}

}  // namespace vanta_test
