// `TesseraStatLog` writes the vision runner's statistics to its log, now and then.
#pragma once

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Threads: [worker], with render_mutex held.
class TesseraStatLog {
 public:
  // Every 301st call writes, counted over all engines.
  static void CountFrame(LX::LumivexSync &engine);
  // Writes what the engine tells; nothing for an empty text.
  static void Write(LX::LumivexSync &engine);
};

}  // namespace vanta
