#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "platform/large_pages.h"

namespace lumivex {

void AskForLargePages(std::span<std::byte> memory) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t before = (page - reinterpret_cast<uintptr_t>(memory.data()) % page) % page;
  if (before >= memory.size()) return;
  // Where it is refused, the pages are small ones.
  madvise(memory.data() + before, (memory.size() - before) / page * page, MADV_HUGEPAGE);
}

}  // namespace lumivex
