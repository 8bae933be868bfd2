// A request of the websocket's vendor from anywhere. The first byte chooses the request, the rest is what it carries,
// as JSON. Each answer either says in a short line why nothing was done or tells a result, and the look stays within
// its ranges. libobs is not up: there are no sources, and a beauty filter that only counts as one.
#include <util/base.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include <obs.hpp>

#include "controls/beauty_controls.h"
#include "controls/green_screen_keys.h"
#include "fakes/control/recording_control.h"
#include "module/module_control.h"
#include "module/module_files.h"
#include "module/statistics_reader.h"
#include "remote/config_check.h"
#include "remote/requests.h"
#include "require.h"

namespace {

constexpr size_t kLongestError = 203;  // 200 bytes and an ellipsis

vanta_test::RecordingControl &Control() {
  static auto *control = new vanta_test::RecordingControl;
  return *control;
}

void RequireLook() {
  const vanta_host::BeautyLook look = vanta_host::Controls().Look();
  for (size_t i = 0; i < vanta_host::kValueCount; ++i) {
    const vanta_host::BeautyValue &value = vanta_host::BeautyValues()[i];
    Require(look.percent[i] >= value.minimum && look.percent[i] <= value.maximum, "a per cent out of its range");
  }
  for (const int strength : {look.lookup_strength, look.makeup_strength})
    Require(strength >= 0 && strength <= 100, "a strength out of its range");
  for (const vanta_host::MakeupColor &color : look.colors) {
    Require(color.strength >= 0 && color.strength <= 100, "a colour's strength out of its range");
    Require(color.rgb.empty() || color.rgb.size() == 6, "a colour of other than six digits");
  }
}

// What SetKey does with a config when it has found its filter.
void TryConfig(const char *text) {
  if (vanta_host::FindConfigFault(text)) return;
  const OBSDataAutoRelease settings = obs_data_create();
  vanta_host::SetKeyDefaults(settings);
  vanta_host::TakeConfig(settings, text);
  const auto fault = vanta_host::FindConfigFault(vanta_host::CompleteConfig(settings));
  if (fault) std::fprintf(stderr, "%s\n", fault->c_str());
  Require(!fault, "a good config makes settings that are none");
}

void Ask(const vanta_host::NamedRequest &request, obs_data_t *data) {
  const OBSDataAutoRelease response = obs_data_create();
  request.answer(data, response);
  Require(std::strlen(obs_data_get_string(response, "error")) <= kLongestError, "a long reason");
  Require(obs_data_get_json(response) != nullptr, "an answer that cannot be sent");
}

}  // namespace

// In place of the parts that a module or libobs would answer.
namespace vanta_host {

void RememberModule(const void *) {}
ILumivex *FindControl() {
  return &Control();
}
bool ApplicationDrives() {
  return false;
}
void ForgetApplication() {}

const char *Text(const char *key) {
  return key;
}
std::string Filled(std::string text, const std::string &, const std::string &) {
  return text;
}
ResourceFolders ModuleFolders() {
  return {VANTA_FUZZ_DATA "/faceless_builtin", {}};
}
std::string ModuleFile(const char *) {
  return {};
}

}  // namespace vanta_host

extern "C" {

void obs_enum_sources(bool (*)(void *, obs_source_t *), void *) {}
void obs_enum_scenes(bool (*)(void *, obs_source_t *), void *) {}
obs_source_t *obs_get_source_by_name(const char *) {
  return nullptr;
}
obs_source_t *obs_source_get_ref(obs_source_t *) {
  return nullptr;
}
void obs_source_release(obs_source_t *) {}

int LLVMFuzzerInitialize(int *, char ***) {
  base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static char filter = 0;  // only its address counts
  static size_t count = 0;
  for (; vanta_host::Requests()[count].name;) ++count;
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
  const OBSDataAutoRelease carried = obs_data_create_from_json(text.c_str());
  if (!carried) return 0;
  auto *source = reinterpret_cast<obs_source_t *>(&filter);
  vanta_host::Controls().Adopt(source, nullptr);
  Ask(vanta_host::Requests()[data[0] % count], carried);
  RequireLook();
  TryConfig(text.c_str());
  vanta_host::Controls().Forget(source);
  Control().calls.clear();
  Control().jumps.clear();
  return 0;
}
}
