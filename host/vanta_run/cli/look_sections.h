// The rows of a run's table that say what is done to the picture: beauty, faces, green screen.
#pragma once

#include "cli/option_table.h"
#include "common/options.h"

namespace vanta_run {

// The rows write into `options`, which must outlive them.
OptionSection BeautySection(Options &options);
OptionSection FacesSection(Options &options);
OptionSection GreenScreenSection(Options &options);

}  // namespace vanta_run
