// One picture that shows, for each setting that changes what comes out, a crop of the take before and after.
#pragma once

#include <string>

namespace keyer_bench {

// The file's ending names its kind. The exit status of the program.
int WriteKeySheet(const std::string &path);

}  // namespace keyer_bench
