// Hair from near, as the host draws the keyed take at half and at one and a half its size.
#pragma once

#include <string>

namespace keyer_bench {

// `other_effect`: an effect file to compare with, drawn in the left column; empty: no such column. 0 when `path` was
// written.
int WriteScaledSheet(const std::string &path, const std::string &other_effect);

}  // namespace keyer_bench
