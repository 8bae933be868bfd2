// The registration call of a module that was linked with -Wl,--wrap=obs_register_source_s.
#pragma once

#include <cstddef>

#include <obs.h>

#include "vanta_base/export.h"

// Registers the customised host's record of 432 bytes with public libobs; a record of another length goes on as it is.
// The first call after a start of libobs attaches the host layer.
extern "C" VANTA_HOST_API void __wrap_obs_register_source_s(const obs_source_info *info, size_t size);
