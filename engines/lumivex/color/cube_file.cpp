#include "color/cube_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

#include "platform/regular_file.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

constexpr std::string_view kBlank = " \t\r";
constexpr uintmax_t kMostBytes = uintmax_t{64} << 20;
constexpr size_t kShortestEntry = 6;  // bytes: "0 0 0" and the line's end
constexpr const char *kRemedy = "export the table again as a 3D .cube file";

// Takes the next word off the line; empty at its end.
std::string_view NextWord(std::string_view &line) {
  const size_t start = line.find_first_not_of(kBlank);
  if (start == std::string_view::npos) {
    line = {};
    return {};
  }
  line.remove_prefix(start);
  const std::string_view word = line.substr(0, line.find_first_of(kBlank));
  line.remove_prefix(word.size());
  return word;
}

// Does not depend on the program's locale.
template <typename Number>
std::optional<Number> ToNumber(std::string_view word) {
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  Number value{};
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

std::optional<Rgb> ToRgbTriple(std::string_view line) {
  Rgb rgb;
  for (float &value : rgb) {
    const auto number = ToNumber<float>(NextWord(line));
    if (!number || !std::isfinite(*number)) return std::nullopt;
    value = *number;
  }
  return NextWord(line).empty() ? std::optional(rgb) : std::nullopt;
}

// Owns: the table under construction. Threads: one.
class CubeParser {
 public:
  explicit CubeParser(size_t text_bytes) : text_bytes_(text_bytes) {}

  // False when the line is wrong; `Reason` then says why.
  bool TakeLine(std::string_view line) {
    const std::string_view whole = line;
    const std::string_view word = NextWord(line);
    if (word.empty() || word.front() == '#' || word == "TITLE") return true;
    if (word == "LUT_3D_SIZE") return TakeSize(line);
    if (word == "LUT_1D_SIZE") return Fail("it holds a 1D table");
    if (word == "DOMAIN_MIN") return TakeTriple(line, table_.domain_min);
    if (word == "DOMAIN_MAX") return TakeTriple(line, table_.domain_max);
    if (word == "LUT_3D_INPUT_RANGE") return TakeRange(line);
    if (std::isalpha(static_cast<unsigned char>(word.front()))) return Fail("unknown keyword");
    return TakeEntry(whole);
  }

  bool Finish() {
    if (table_.side == 0) return Fail("LUT_3D_SIZE is missing");
    if (table_.entries.size() != wanted_) {
      return Fail("it holds " + std::to_string(table_.entries.size()) + " of " + std::to_string(wanted_) + " entries");
    }
    for (size_t i = 0; i < 3; ++i) {
      if (!(table_.domain_max[i] > table_.domain_min[i])) return Fail("its domain is empty");
    }
    return true;
  }

  const std::string &Reason() const { return reason_; }
  LookupTable Take() { return std::move(table_); }

 private:
  bool Fail(std::string reason) {
    reason_ = std::move(reason);
    return false;
  }

  bool TakeSize(std::string_view rest) {
    const auto side = ToNumber<int>(NextWord(rest));
    if (!side || *side < 2 || *side > kMaxLookupSide) return Fail("LUT_3D_SIZE is not a number from 2 to 256");
    if (table_.side != 0) return Fail("LUT_3D_SIZE stands there twice");
    table_.side = *side;
    wanted_ = static_cast<size_t>(*side) * *side * *side;
    // No more than the text can hold, whatever size it tells.
    table_.entries.reserve(std::min(wanted_, text_bytes_ / kShortestEntry + 1));
    return true;
  }

  bool TakeTriple(std::string_view rest, Rgb &target) {
    const auto rgb = ToRgbTriple(rest);
    if (!rgb) return Fail("a domain is not three numbers");
    target = *rgb;
    return true;
  }

  bool TakeRange(std::string_view rest) {
    const auto low = ToNumber<float>(NextWord(rest));
    const auto high = ToNumber<float>(NextWord(rest));
    if (!low || !high || !std::isfinite(*low) || !std::isfinite(*high))
      return Fail("an input range is not two numbers");
    table_.domain_min = {*low, *low, *low};
    table_.domain_max = {*high, *high, *high};
    return true;
  }

  bool TakeEntry(std::string_view line) {
    if (table_.side == 0) return Fail("entries come before LUT_3D_SIZE");
    if (table_.entries.size() == wanted_) return Fail("it holds more entries than its size tells");
    const auto rgb = ToRgbTriple(line);
    if (!rgb) return Fail("an entry is not three numbers");
    table_.entries.push_back(*rgb);
    return true;
  }

  const size_t text_bytes_;
  LookupTable table_;
  size_t wanted_ = 0;  // entries
  std::string reason_;
};

}  // namespace

LookupFile ParseCube(std::string_view text) {
  CubeParser parser(text.size());
  for (int number = 1; !text.empty(); ++number) {
    const size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!parser.TakeLine(line)) return {nullptr, "line " + std::to_string(number) + ": " + parser.Reason(), kRemedy};
  }
  if (!parser.Finish()) return {nullptr, parser.Reason(), kRemedy};
  return {std::make_shared<const LookupTable>(parser.Take()), {}, {}};
}

LookupFile ReadCubeFile(const std::string &path) {
  const auto [fault, bytes] = ReadRegularFile(vanta::PathFromUtf8(path), kMostBytes);
  if (fault == FileFault::kTooLong) return {nullptr, "it is larger than 64 MiB", "export it with fewer entries"};
  if (fault != FileFault::kNone) return {nullptr, "it cannot be read", "check the file's permissions"};
  return ParseCube({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
}

}  // namespace lumivex
