#include "engine/callbacks/engine_text_log.h"

#include <util/base.h>

#include <cstdint>

#include "vanta_filter/module/host_extensions.h"

namespace vanta {

void LogEngineText(const char *name, const std::string &text) {
  if (text.find('%') == std::string::npos) {
    blog_corvid(LOG_INFO, "%s: %s", name, text.c_str());
    return;
  }
  blog(LOG_ERROR, "%s____base64: %s", name, EncodeBase64(text).c_str());
}

std::string EncodeBase64(const std::string &bytes) {
  static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t left = bytes.size() - i;
    uint32_t group = static_cast<uint8_t>(bytes[i]) << 16;
    if (left > 1) group |= static_cast<uint8_t>(bytes[i + 1]) << 8;
    if (left > 2) group |= static_cast<uint8_t>(bytes[i + 2]);
    out += kAlphabet[group >> 18];
    out += kAlphabet[group >> 12 & 63];
    out += left > 1 ? kAlphabet[group >> 6 & 63] : '=';
    out += left > 2 ? kAlphabet[group & 63] : '=';
  }
  return out;
}

}  // namespace vanta
