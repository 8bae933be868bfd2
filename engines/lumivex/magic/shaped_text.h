// One line of text in any script, as FreeType draws it and HarfBuzz arranges it.
#pragma once

#include <opencv2/core.hpp>
#include <string>

namespace lumivex {

// How much of each pixel the text covers: CV_8U, with a margin, as high for every text. Empty where there is no font,
// or where the engine was built without the two libraries. `text`: UTF-8; what no font has is drawn as '?'.
// Right-to-left words stand in their order; brackets and digits among them are not nested as a page would have it.
// Threads: any.
cv::Mat ShapedText(const std::string &text);

}  // namespace lumivex
