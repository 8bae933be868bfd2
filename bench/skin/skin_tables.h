// The tables of the program. `only`: that tone alone, 1 to 10; 0: all ten. `part`: lines with that text in their name
// alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

#include "engine_pictures.h"

namespace skin_bench {

// A line for each tone in one light. `folder` gets a picture for each, before beside after, `sheet` is a file for all
// of them; empty: none. False where the file cannot be written.
bool PrintTones(const cv::Mat &portrait, bool dim, const Look &look, size_t only, const std::string &folder,
                const std::string &sheet);
// One line for each of many lights before many backdrops: means over the tones, and the worst.
void PrintScenes(const cv::Mat &portrait, bool second_half, uint64_t seed, const Look &look, size_t only,
                 const std::string &part);
// One line for a way to recolour in a condition: what is left of the spots of each tone, and in which it is the most.
void PrintWays(const cv::Mat &portrait, const Look &look, size_t only, const std::string &part,
               const std::string &folder);
// One line for each scene and each way to hide the second person's face: what is left of their spots beside a known
// face, and where no face is known; means over the tones.
void PrintBeside(const cv::Mat &portrait, bool second_half, uint64_t seed, const Look &look, size_t only,
                 const std::string &part, const std::string &folder);

}  // namespace skin_bench
