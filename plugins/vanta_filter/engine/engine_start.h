// `StartEngine` makes an effect engine with its defaults and models, and tells the host whether there is one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// For frames of `width` by `height` pixels. `face_beauty_path` is the data folder; what is too long for the record is
// cut. Threads: any.
LXEngineConfig MakeEngineConfig(uint32_t width, uint32_t height, const std::string &face_beauty_path);

// Null where no engine can run; the log and two reports say so. `gl_window` may be null: no shared textures then.
// `ai_path` is the folder of models. Callbacks are the caller's to bind. Threads: [worker], with render_mutex held.
std::shared_ptr<LX::LumivexSync> StartEngine(const LXEngineConfig &config, const std::shared_ptr<GLFWwindow> &gl_window,
                                             const std::string &ai_path);

}  // namespace vanta
