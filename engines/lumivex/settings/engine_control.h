// The engine's view of the process-wide controls in lumivex/lumivex_control.h.
#pragma once

#include "lumivex/lumivex_control.h"

namespace lumivex {

// Each sleeps for as long as the program asked for; at once when it did not. Threads: any.
void DelayStart();
void DelayStop();
void DelayFrame();

// Frames wait for what is being read. Threads: any.
bool FramesAwaitLoads();

// The format that every frame is to come back with, 3 or 4; 0 for the one that it was asked for. Threads: any.
int PixelBufferFormat();
// One of lumivex_texture_fault. Threads: any.
int TextureFault();

// True when this frame is to fail. Counts the frame. Threads: any.
bool FailThisFrame();

}  // namespace lumivex
