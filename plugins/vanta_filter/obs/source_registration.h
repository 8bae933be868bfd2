// How a filter gets its registration record to the host.
// Threads: [control], while the module loads.
#pragma once

#include "vanta_filter/module/source_record.h"

namespace vanta {

// A record with all of its bytes zero but `id`, `type` (filter) and `output_flags` (video).
HostSourceInfo VideoFilterRecord(const char *id);
// Hands the record to the host, which copies it. A refusal is not observed.
void RegisterSource(const HostSourceInfo &record);

}  // namespace vanta
