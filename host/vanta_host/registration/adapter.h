// The adapter that libobs renders on.
#pragma once

namespace vanta_host {

// Asks the graphics driver for its adapter's name unless that is known already or video is not up. It enters the
// graphics context, which no worker thread of the module may do, so it stands on the paths of creation and control.
void LearnAdapter();
void ForgetAdapter();

}  // namespace vanta_host
