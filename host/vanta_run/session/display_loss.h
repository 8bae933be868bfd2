// What becomes of a run whose X server ends before it does: it goes on. libobs draws on surfaces of its own, which need
// no X server any more.
#pragma once

namespace vanta_run {

// From now on no lost connection ends the process, neither this program's nor libobs's. Before the first of them is
// opened. Threads: [control].
void OutliveDisplays();

// Somebody has asked the X server in vain. libobs's hotkey thread asks every 25 ms. Threads: any.
bool DisplayIsGone();

}  // namespace vanta_run
