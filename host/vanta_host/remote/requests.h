// What other programs may ask for, apart from how they ask.
#pragma once

#include <cstdint>

#include <obs.h>

namespace vanta_host {

using Request = void (*)(obs_data_t *request, obs_data_t *response);

struct NamedRequest {
  const char *name;
  Request answer;  // a response with "error" says why nothing was done. Threads: any but the graphics thread
};

// Ended by a null name.
const NamedRequest *Requests();

// The look as GetBeauty tells it.
void TellLook(obs_data_t *response);
// The last ten seconds of each beauty filter, as "statistics".
void TellStatistics(obs_data_t *response);
// Somebody has asked for the event. Waits for nothing.
bool StatisticsAreWatched(uint64_t now_ns);

}  // namespace vanta_host
