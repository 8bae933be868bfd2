// The X display of the test process: the one that DISPLAY names, else a virtual one of its own.
#pragma once

struct _XDisplay;

namespace vanta_integration {

// Null where there is none. Opened by the program's main function.
_XDisplay *Display();

}  // namespace vanta_integration
