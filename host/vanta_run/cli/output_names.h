// The files that runs write: their names, and that none of them is another one or an input.
#pragma once

#include <string>
#include <vector>

#include "common/options.h"

namespace vanta_run {

// With {name} and {number} replaced: the input's name without folder and ending (of "color:RRGGBB" the digits), and its
// place among the inputs, from 1.
std::string NamedFor(const std::string &pattern, const std::string &input, size_t number);

// The same run for one of several inputs.
Options ForInput(const Options &options, const std::string &input, size_t number);

struct NamedFile {
  std::string option;  // that names it, with its dashes
  std::string path;
};
// Without the log, which is begun anew by every run, and without standard output.
std::vector<NamedFile> Results(const Options &options);

// Throws Failure(kExitUsage) where a run would write a file that one of them reads, or one that is there already in a
// folder that it reads, or two would write the same. Names are compared by what they lead to.
void RefuseSharedFiles(const std::vector<Options> &runs);

}  // namespace vanta_run
