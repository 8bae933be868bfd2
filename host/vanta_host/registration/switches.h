// What the host layer decides itself of the host's switches, as long as the application has not.
#pragma once

#include <string_view>

namespace vanta_host {

// Frames stay on the GPU where there is one: to a software renderer a texture is one more copy. `renderer` is
// GL_RENDERER's text; an empty one decides nothing. Called where a filter is created, before the module asks
// EnableCreateLXGLContext; without effect once vanta_host_set_switch has told. Threads: any.
void ChooseGpuOutput(std::string_view renderer);

}  // namespace vanta_host
