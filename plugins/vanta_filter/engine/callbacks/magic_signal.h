// The signal `zt_magic_callback`: which of the user's own settings an effect takes over.
#pragma once

namespace vanta {

struct MagicFlags {
  bool disable_beautify = false;
  bool disable_deform = false;
  bool disable_makeup = false;
  bool disable_filter = false;
  bool disable_body = false;
};

// The flags are for the host's sliders: no intensity changes here and no copy is kept. Threads: any.
void SendMagicFlags(const MagicFlags &flags);

}  // namespace vanta
