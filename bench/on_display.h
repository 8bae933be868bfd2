#pragma once

#include <functional>

namespace vanta_bench {

// What main() of a program on whole libobs does: libobs silent, a virtual display for its sessions, then `measure`,
// whose exit status it returns. A failure is one line of standard error that begins with `program`, and status 1.
int RunOnDisplay(const char *program, const std::function<int()> &measure);

}  // namespace vanta_bench
