// A filter whose module part cannot work, since a library that the module calls is missing.
#pragma once

#include "vanta_filter/module/source_record.h"

namespace vanta_host {

// The record of a filter of that name and kind through which pictures pass untouched. Nothing of the module is called
// but its name.
HostSourceInfo EmptyRecord(const HostSourceInfo &record);

}  // namespace vanta_host
