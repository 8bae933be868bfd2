// A command's description as text for a terminal and as a manual page.
#pragma once

#include <string>
#include <vector>

#include "cli/option_table.h"

namespace vanta_run {

// In lines of at most so many characters, cut between words.
std::vector<std::string> Wrapped(const std::string &text, size_t width);

std::string HelpText(const CommandPage &page);

// A page for man, of section 1. `page` first; `others` are described in sections of their own.
std::string ManualText(const CommandPage &page, const std::vector<CommandPage> &others);

}  // namespace vanta_run
