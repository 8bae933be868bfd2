// The green screen's source without its key.
#pragma once

#include <array>
#include <optional>

#include <obs.h>

namespace vanta_host {

// The backing's colour in what stands before `filter`; empty where there is no picture or no backing in it. Draws, so
// it enters graphics. Threads: any but workers.
std::optional<std::array<double, 3>> PickKeyColor(obs_source_t *filter);
// Puts the colour into `settings`.
void SetKeyColor(obs_data_t *settings, const std::array<double, 3> &color);

// Filters that show their source as it is for the moment; forgotten with the filter, never saved. Threads: any.
void ShowUnkeyed(obs_source_t *filter, bool on);
bool ShowsUnkeyed(const obs_source_t *filter);

}  // namespace vanta_host
