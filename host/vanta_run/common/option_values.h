// Values of command-line options: text in, number or list out. Empty where the text is no such value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/options.h"

namespace vanta_run {

std::optional<double> ParseNumber(std::string_view text);
std::optional<uint64_t> ParseCount(std::string_view text);    // from 1
std::optional<PictureSize> ParseSize(std::string_view text);  // "1280x720", 16 to 8192 each way
std::optional<FrameRate> ParseRate(std::string_view text);    // "30", "29.97", "30000/1001"; 1 to 240
std::optional<bool> ParseOnOff(std::string_view text);        // on, off, true, false, 1, 0
std::optional<uint32_t> ParseColor(std::string_view text);    // "RRGGBB"

// "a=1,b=2" as pairs of texts; empty where an item lacks its name or its value.
std::optional<std::vector<std::pair<std::string, std::string>>> ParsePairs(std::string_view text);

}  // namespace vanta_run
