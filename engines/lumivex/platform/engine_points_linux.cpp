#include "platform/engine_points.h"

#include "vanta_filter/module/host_extensions.h"

namespace lumivex {

bool HostWantsEnginePoints() {
  return FacePointByLX();
}

}  // namespace lumivex
