// Whether a cascade is sound. OpenCV takes for true what the file says of features, nodes and leaves, and reads beside
// its own memory where that is wrong.
#pragma once

#include <opencv2/core/persistence.hpp>
#include <string_view>

namespace tessera {

// XML that nests no deeper than a cascade does: OpenCV's parser calls itself for each level. Throws std::runtime_error,
// which says what is wrong in a few words.
void RequireFlatXml(std::string_view text);

// `root` is what OpenCV's classifier would be made from. Throws std::runtime_error, likewise, or what OpenCV throws.
void RequireSoundCascade(const cv::FileNode &root);

}  // namespace tessera
