// The ffmpeg program as a converter of raw bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vanta_test {

// Runs "ffmpeg OPTIONS-IN -i FILE OPTIONS-OUT FILE": `in` is the first file's content, what it returns the second's.
// Empty where ffmpeg fails, which fails the test too.
std::vector<uint8_t> ThroughFfmpeg(const std::string &options_in, const std::vector<uint8_t> &in,
                                   const std::string &options_out);

inline std::string SizeText(uint32_t width, uint32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace vanta_test
