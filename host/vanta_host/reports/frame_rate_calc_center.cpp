// The host's half of FrameRateCalcCenter; the module exports the other.
#include "vanta_filter/module/host_extensions.h"

FrameRateCalcCenter &FrameRateCalcCenter::Instance() {
  // Never destroyed: the module's threads may report while the process ends.
  static FrameRateCalcCenter *center = new FrameRateCalcCenter;
  return *center;
}
