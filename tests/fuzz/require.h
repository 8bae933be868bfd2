// What a fuzzer holds to be true of everything that was read.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process, which libFuzzer takes for a finding.
inline void Require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}
