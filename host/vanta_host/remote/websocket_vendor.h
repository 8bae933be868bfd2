// OBS Studio's websocket: requests and events of the vendor "vanta_filter". docs/websocket.md is their manual.
#pragma once

#include <cstdint>

namespace vanta_host {

// Registers the vendor as soon as the websocket's plug-in is there, and sends the events. Threads: [tick].
void TickWebsocket(uint64_t now_ns);
// The websocket's handler is about to go, or libobs with it: nothing more is sent.
void StopWebsocket();
// A new start of libobs.
void ForgetWebsocket();

}  // namespace vanta_host
