// What the plain host does otherwise on each system.
#pragma once

#include <string>
#include <vector>

namespace plain_host {

// Without the program's name.
std::vector<std::string> ArgumentsInUtf8(int count, char **arguments);
// Before libobs starts.
void PrepareDisplay();

}  // namespace plain_host
