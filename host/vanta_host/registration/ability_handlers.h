// Which addresses of ability handlers may stand in a beauty filter's settings.
#pragma once

#include <obs.h>

namespace vanta_host {

// Puts 0 in the place of an address that the application has not registered (vanta_host_register_ability_handler), and
// says so. Threads: any.
void RemoveForeignHandler(obs_data_t *settings);

}  // namespace vanta_host
