#pragma once

#include <string_view>

namespace vanta {

// Deeper than `limit` brackets: such a text is not worth parsing, and no walk over its values need fear for the stack.
bool NestsDeeperThan(std::string_view text, int limit);

}  // namespace vanta
