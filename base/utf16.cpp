#include "vanta_base/utf16.h"

#include <cstdint>

namespace vanta {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsHigh(char16_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLow(char16_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

// Takes one code point off the front; of malformed text one byte.
char32_t TakeCodePoint(std::string_view &text) {
  const auto byte = [&text](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t first = byte(0);
  const size_t count = first < 0x80 ? 1 : first >> 5 == 6 ? 2 : first >> 4 == 14 ? 3 : first >> 3 == 30 ? 4 : 0;
  char32_t code = count <= 1 ? first : first & (0x7Fu >> count);
  bool whole = count > 0 && count <= text.size();
  for (size_t i = 1; whole && i < count; ++i) {
    whole = (byte(i) & 0xC0) == 0x80;
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  whole = whole && code >= kLeast[count] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
  text.remove_prefix(whole ? count : 1);
  return whole ? code : kReplacement;
}

void AppendUtf8(std::string &out, char32_t code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
    return;
  }
  constexpr char32_t kLeadMarks[] = {0, 0xC0, 0xE0, 0xF0};
  const int rest = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  out += static_cast<char>(kLeadMarks[rest] | code >> (6 * rest));
  for (int i = rest - 1; i >= 0; --i) out += static_cast<char>(0x80u | (code >> (6 * i) & 0x3Fu));
}

}  // namespace

std::u16string Utf16FromUtf8(std::string_view utf8, size_t limit) {
  std::u16string out;
  while (!utf8.empty()) {
    const char32_t code = TakeCodePoint(utf8);
    if (out.size() + (code > 0xFFFF ? 2 : 1) > limit) break;
    if (code > 0xFFFF) {
      out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(code);
    }
  }
  return out;
}

std::string Utf8FromUtf16(std::u16string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1])) {
      AppendUtf8(out, 0x10000 + (static_cast<char32_t>(unit - 0xD800) << 10) + (text[++i] - 0xDC00u));
    } else {
      AppendUtf8(out, IsHigh(unit) || IsLow(unit) ? kReplacement : unit);
    }
  }
  return out;
}

}  // namespace vanta
