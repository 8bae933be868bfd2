// Where the engine finds its resources and models.
// Threads: [worker].
#pragma once

#include <map>
#include <string>

namespace vanta {

// The module's data folder "faceless_builtin" in the multibyte code page; empty when there is none.
std::string FaceBeautyPath();
// The model folder below the host's configuration, in the multibyte code page; empty when it has no path.
std::string AiPath();
// The same folder in UTF-8. The dictionary and the root path go to the engine in these two encodings.
std::string ModelFolder();
// Model key to folder, below `ModelFolder`.
std::map<std::string, std::string> BuildModelDictionary();

}  // namespace vanta
