// From the customised host's registration record to public libobs's.
#pragma once

#include <obs.h>

#include "vanta_filter/module/source_record.h"

namespace vanta_host {

// Bytes of the public record that the long one covers; a later libobs's may be longer.
inline constexpr size_t kPublicSourceInfoSize = 400;

// Every field that both records have. The host's own slots fall away.
obs_source_info PublicRecord(const HostSourceInfo &record);

}  // namespace vanta_host
