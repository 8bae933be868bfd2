// Memory and the log.
#include <malloc.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <util/base.h>
#include <util/bmem.h>

#include "fake_host.h"

namespace {

constexpr size_t kAlignment = 32;  // libobs's own
std::atomic<long> blocks{0};

void PrintToStandardError(int, const char *format, va_list args, void *) {
  std::vfprintf(stderr, format, args);
  std::fputc('\n', stderr);
}

std::mutex log_mutex;
log_handler_t log_handler = PrintToStandardError;
void *log_param = nullptr;

}  // namespace

namespace vanta_test::fake_host {

long BlocksAlive() {
  return blocks;
}

}  // namespace vanta_test::fake_host

extern "C" {

int base_get_alignment(void) {
  return static_cast<int>(kAlignment);
}

void *bmalloc(size_t size) {
  ++blocks;
  return _aligned_malloc(size == 0 ? 1 : size, kAlignment);
}

void *brealloc(void *block, size_t size) {
  if (!block) ++blocks;
  return _aligned_realloc(block, size == 0 ? 1 : size, kAlignment);
}

void bfree(void *block) {
  if (!block) return;
  --blocks;
  _aligned_free(block);
}

void *bmemdup(const void *block, size_t size) {
  void *copy = bmalloc(size);
  if (size != 0) std::memcpy(copy, block, size);
  return copy;
}

void base_get_log_handler(log_handler_t *handler, void **param) {
  std::lock_guard<std::mutex> lock(log_mutex);
  if (handler) *handler = log_handler;
  if (param) *param = log_param;
}

void base_set_log_handler(log_handler_t handler, void *param) {
  std::lock_guard<std::mutex> lock(log_mutex);
  log_param = param;
  log_handler = handler ? handler : PrintToStandardError;
}

void blogva(int level, const char *format, va_list args) {
  log_handler_t handler;
  void *param;
  base_get_log_handler(&handler, &param);
  handler(level, format, args, param);
}

void blog(int level, const char *format, ...) {
  va_list args;
  va_start(args, format);
  blogva(level, format, args);
  va_end(args);
}
}
