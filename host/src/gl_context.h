// What is known of libobs's own GL context.
#pragma once

namespace vanta_host {

// Enters graphics, which no worker thread of the module may do: for the roads of creation and control.
void LearnRenderer();
void ForgetRenderer();

}  // namespace vanta_host
