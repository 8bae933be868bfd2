#include "common/option_values.h"

#include <charconv>
#include <cmath>

namespace vanta_run {
namespace {

template <typename T>
std::optional<T> Whole(std::string_view text, int base = 10) {
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) {
  double value = 0;
  // from_chars knows no locale: a decimal point is a point everywhere.
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<uint64_t> ParseCount(std::string_view text) {
  const auto value = Whole<uint64_t>(text);
  if (!value || *value == 0) return std::nullopt;
  return value;
}

std::optional<PictureSize> ParseSize(std::string_view text) {
  const size_t cross = text.find_first_of("xX");
  if (cross == std::string_view::npos) return std::nullopt;
  const auto width = Whole<uint32_t>(text.substr(0, cross));
  const auto height = Whole<uint32_t>(text.substr(cross + 1));
  const auto sane = [](const std::optional<uint32_t> &side) { return side && *side >= 16 && *side <= 8192; };
  if (!sane(width) || !sane(height)) return std::nullopt;
  return PictureSize{*width, *height};
}

std::optional<FrameRate> ParseRate(std::string_view text) {
  FrameRate rate;
  if (const size_t slash = text.find('/'); slash != std::string_view::npos) {
    const auto num = Whole<uint32_t>(text.substr(0, slash));
    const auto den = Whole<uint32_t>(text.substr(slash + 1));
    if (!num || !den || *den == 0) return std::nullopt;
    rate = {*num, *den};
  } else {
    const auto value = ParseNumber(text);
    if (!value || *value < 1 || *value > 240) return std::nullopt;
    // 23.98, 29.97 and 59.94 are rounded names of rates a thousand-and-first below the whole number.
    const double above = std::ceil(*value);
    if (above != *value && std::fabs(above * 1000 / 1001 - *value) < 0.006) {
      rate = {static_cast<uint32_t>(above) * 1000, 1001};
    } else if (above == *value) {
      rate = {static_cast<uint32_t>(above), 1};
    } else {
      rate = {static_cast<uint32_t>(std::lround(*value * 1000)), 1000};
    }
  }
  const double fps = static_cast<double>(rate.num) / rate.den;
  if (fps < 1 || fps > 240) return std::nullopt;
  return rate;
}

std::optional<bool> ParseOnOff(std::string_view text) {
  if (text == "on" || text == "true" || text == "1") return true;
  if (text == "off" || text == "false" || text == "0") return false;
  return std::nullopt;
}

std::optional<uint32_t> ParseColor(std::string_view text) {
  if (text.size() != 6) return std::nullopt;
  return Whole<uint32_t>(text, 16);
}

std::optional<std::vector<std::pair<std::string, std::string>>> ParsePairs(std::string_view text) {
  std::vector<std::pair<std::string, std::string>> pairs;
  while (!text.empty()) {
    const size_t comma = text.find(',');
    const std::string_view item = text.substr(0, comma);
    const size_t equals = item.find('=');
    if (equals == std::string_view::npos || equals == 0 || equals + 1 == item.size()) return std::nullopt;
    pairs.emplace_back(item.substr(0, equals), item.substr(equals + 1));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  if (pairs.empty()) return std::nullopt;
  return pairs;
}

}  // namespace vanta_run
