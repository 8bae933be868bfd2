#include "platform/large_pages.h"

namespace lumivex {

// Large pages take a right there that users do not have.
void AskForLargePages(std::span<std::byte>) {}

}  // namespace lumivex
