// Watches libobs itself: which threads enter graphics, and when the module captures. The program's functions stand
// before libobs's own, and pass on to them.
#pragma once

#include <cstdint>
#include <set>
#include <thread>
#include <vector>

namespace vanta_integration::graphics_watch {

std::set<std::thread::id> ThreadsInGraphics();  // that ever called obs_enter_graphics
std::vector<uint64_t> CaptureTimes();           // os_gettime_ns() of each render of a filter's target by the module
void Clear();

}  // namespace vanta_integration::graphics_watch
