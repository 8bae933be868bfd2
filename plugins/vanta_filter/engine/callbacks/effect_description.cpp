#include "engine/callbacks/effect_description.h"

#include <util/base.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <exception>
#include <nlohmann/json.hpp>

#include "engine/callbacks/gift.h"
#include "engine/callbacks/json_number.h"
#include "engine/callbacks/magic_signal.h"

namespace vanta {
namespace {

// Empty when the text is none of the code page's.
std::string CodePageToUtf8(const std::string &text) {
  // libobs does not look at a failed first half of its conversion and would read on behind the buffer: ask before.
  const size_t wide = os_mbs_to_wcs(text.c_str(), text.size(), nullptr, 0);
  if (wide == 0 || wide == static_cast<size_t>(-1)) return {};
  char *converted = nullptr;
  const size_t count = os_mbs_to_utf8_ptr(text.c_str(), text.size(), &converted);
  std::string utf8;
  if (count != 0 && converted) utf8.assign(converted, count);
  bfree(converted);
  return utf8;
}

void ExecZtMagicCallBack(const nlohmann::json &desc) {
  MagicFlags flags;
  flags.disable_beautify = desc.at("disableCustomBeautify").get<bool>();
  flags.disable_deform = desc.at("disableCustomDeform").get<bool>();
  flags.disable_makeup = desc.at("disableCustomMakeup").get<bool>();
  flags.disable_filter = desc.at("disableCustomColorFilter").get<bool>();
  flags.disable_body = desc.at("disableCustomSlimming").get<bool>();
  blog(LOG_INFO,
       "[beauty] ExecZtMagicCallBack: disableCustomBeautify:%d,disableCustomDeform:%d,disableCustomMakeup:%d,"
       "disableCustomColorFilter:%d,disableCustomSlimming:%d",
       flags.disable_beautify, flags.disable_deform, flags.disable_makeup, flags.disable_filter, flags.disable_body);
  SendMagicFlags(flags);
}

// Throws what the parser and the readers throw.
void FormatMagicCallbackJson(const std::string &desc, bool convert, const std::string &event_name) {
  const nlohmann::json value = nlohmann::json::parse(convert ? CodePageToUtf8(desc) : desc);
  if (value.is_null()) {
    blog(LOG_ERROR, "[beauty] %s parse json text:%s fail", "LumivexRender::FormatMagicCallbackJson",
         value.dump().c_str());
    return;
  }
  if (value.is_object() && value.contains("giftDisplayTime"))
    ExecGiftCallBack(ReadWholeNumber(value["giftDisplayTime"]), event_name);
  else
    ExecZtMagicCallBack(value);
}

}  // namespace

void HandleEffectDescription(const std::string &desc, const std::string &event_name) {
  constexpr char kName[] = "LumivexRender::MagicFaceCallBack";
  try {
    FormatMagicCallbackJson(desc, false, event_name);
    return;
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[beauty] %s failed to parse config json %s", kName, error.what());
  }
  try {
    FormatMagicCallbackJson(desc, true, event_name);
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[beauty] %s ansi_to_utf8 failed to parse config json %s", kName, error.what());
  }
}

}  // namespace vanta
