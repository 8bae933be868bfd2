#include "engine/magic_signal.h"

#include <callback/calldata.h>
#include <callback/signal.h>
#include <obs.h>

namespace vanta {

void SendMagicFlags(const MagicFlags &flags) {
  calldata_t data;
  calldata_init(&data);
  calldata_set_bool(&data, "disable_beautify", flags.disable_beautify);
  calldata_set_bool(&data, "disable_deform", flags.disable_deform);
  calldata_set_bool(&data, "disable_makeup", flags.disable_makeup);
  calldata_set_bool(&data, "disable_filter", flags.disable_filter);
  calldata_set_bool(&data, "disable_body", flags.disable_body);
  signal_handler_signal(obs_get_signal_handler(), "zt_magic_callback", &data);
  calldata_free(&data);
}

}  // namespace vanta
