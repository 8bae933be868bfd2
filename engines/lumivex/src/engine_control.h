// The engine's view of the process-wide controls in lumivex/lumivex_control.h.
#pragma once

#include "lumivex/lumivex_control.h"

namespace lumivex {

// Each sleeps for as long as the program asked for; at once when it did not. Threads: any.
void DelayStart();
void DelayStop();
void DelayFrame();

// True when this frame is to fail. Counts the frame. Threads: any.
bool FailThisFrame();

}  // namespace lumivex
