#include "engine_bench.h"

#include <callback/signal.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstddef>

namespace {
bool config_path_fails = false;
}

// libobs's own ends the process where the user has no home.
extern "C" __attribute__((visibility("default"))) int os_get_config_path(char *path, size_t size, const char *name) {
  if (config_path_fails) return -1;
  static const auto real =
      reinterpret_cast<int (*)(char *, size_t, const char *)>(dlsym(RTLD_NEXT, "os_get_config_path"));
  return real(path, size, name);
}

namespace vanta_test {

NoConfigFolder::NoConfigFolder() {
  config_path_fails = true;
}

NoConfigFolder::~NoConfigFolder() {
  config_path_fails = false;
}

EngineBench::EngineBench() {
  signal_handler_t *handler = obs_get_signal_handler();
  signal_handler_connect(handler, "vanta_filter_callback", OnFilterCallback, this);
  signal_handler_connect(handler, "zt_magic_callback", OnMagicCallback, this);
  signal_handler_connect(handler, "body_slimming_status", OnBodySlimming, this);
}

EngineBench::~EngineBench() {
  signal_handler_t *handler = obs_get_signal_handler();
  signal_handler_disconnect(handler, "vanta_filter_callback", OnFilterCallback, this);
  signal_handler_disconnect(handler, "zt_magic_callback", OnMagicCallback, this);
  signal_handler_disconnect(handler, "body_slimming_status", OnBodySlimming, this);
}

void EngineBench::Start(uint32_t width, uint32_t height) {
  processor_ = std::make_unique<vanta::LumivexProcessor>();
  EXPECT_TRUE(processor_->Initialize(width, height, nullptr));
}

vanta::PooledFrame EngineBench::MakePooled(int width, int height) {
  vanta::PooledFrame frame;
  frame.data = pool_.takeFrameDataNV12(width, height, 0, 0);
  return frame;
}

std::vector<std::string> EngineBench::CallsAfterStart() {
  std::vector<std::string> texts = scripted_engine::Texts();
  const auto last = std::find(texts.begin(), texts.end(), "setEffectDescriptionCallback()");
  if (last != texts.end()) texts.erase(texts.begin(), last + 1);
  std::erase_if(texts, [](const std::string &text) { return text.rfind("takeFrameDataNV12", 0) == 0; });
  return texts;
}

void EngineBench::OnFilterCallback(void *param, calldata_t *data) {
  static_cast<EngineBench *>(param)->signals_.push_back(
      "vanta_filter_callback(" + std::to_string(calldata_int(data, "type")) + ", " +
      calldata_string(data, "type_func") + ", " + calldata_string(data, "data_str") + ")");
}

void EngineBench::OnMagicCallback(void *param, calldata_t *data) {
  std::string text = "zt_magic_callback(";
  for (const char *name : {"disable_beautify", "disable_deform", "disable_makeup", "disable_filter", "disable_body"}) {
    bool value = true;
    text += calldata_get_bool(data, name, &value) ? (value ? "1" : "0") : "?";
  }
  static_cast<EngineBench *>(param)->signals_.push_back(text + ")");
  static_cast<EngineBench *>(param)->calls_at_signal_ = CallsAfterStart();
}

void EngineBench::OnBodySlimming(void *param, calldata_t *data) {
  static_cast<EngineBench *>(param)->signals_.push_back("body_slimming_status(" +
                                                        std::to_string(calldata_int(data, "status")) + ")");
}

}  // namespace vanta_test
