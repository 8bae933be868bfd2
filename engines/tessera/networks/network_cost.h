// What one look through a network may take: such a file is the user's, and may be anything.
#pragma once

#include <opencv2/dnn.hpp>

namespace tessera {

// Throws std::runtime_error for a network that would take a gigabyte of memory, or seconds, for a colour picture of
// that size. Before its first look.
void RequireModestNetwork(const cv::dnn::Net &net, cv::Size picture);

}  // namespace tessera
