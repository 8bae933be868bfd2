#include "engine/callbacks/magic_signal.h"

#include "obs/host_signal.h"

namespace vanta {

void SendMagicFlags(const MagicFlags &flags) {
  HostSignal signal;
  calldata_set_bool(signal.arguments(), "disable_beautify", flags.disable_beautify);
  calldata_set_bool(signal.arguments(), "disable_deform", flags.disable_deform);
  calldata_set_bool(signal.arguments(), "disable_makeup", flags.disable_makeup);
  calldata_set_bool(signal.arguments(), "disable_filter", flags.disable_filter);
  calldata_set_bool(signal.arguments(), "disable_body", flags.disable_body);
  signal.Send("zt_magic_callback");
}

}  // namespace vanta
