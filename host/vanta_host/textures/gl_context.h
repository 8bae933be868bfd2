// What is known of libobs's own GL context.
#pragma once

namespace vanta_host {

// Enters graphics, which no worker thread of the module may do: for the paths of creation and control.
void LearnRenderer();
void ForgetRenderer();
// True once textures could not be shared when the renderer was learnt, to the session's end: a worker that has set
// itself up without them cannot take them up. Threads: any.
bool HasRendererBeenUseless();

}  // namespace vanta_host
