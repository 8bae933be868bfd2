// Large pages of memory, where the system has them.
#pragma once

#include <cstddef>
#include <span>

namespace lumivex {

inline constexpr size_t kLargePage = size_t{1} << 21;  // bytes; what begins at a multiple of it may lie in large pages

// Where many places of much memory are read in no order, finding their pages costs more than reading them, unless the
// pages are large. Nothing but time changes. Before the memory is used. Threads: any.
void AskForLargePages(std::span<std::byte> memory);

}  // namespace lumivex
