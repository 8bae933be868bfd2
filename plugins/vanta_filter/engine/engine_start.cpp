#include "engine/engine_start.h"

#include <util/base.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>

#include "obs/engine_paths.h"
#include "obs/host_report.h"
#include "obs/host_signal.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr char kDefaultBeautyGroup[] = "jingdian";

void SendStartupReport(bool started) {
  const std::string text = nlohmann::json{{"createEngine", started}}.dump();
  HostSignal signal;
  calldata_set_int(signal.arguments(), "type", 1);
  calldata_set_string(signal.arguments(), "type_func", "OnLumivexInit");
  calldata_set_string(signal.arguments(), "data_str", text.c_str());
  signal.Send("vanta_filter_callback");
}

void ReportMissingEngine() {
  constexpr char kName[] = "LumivexRender::Initialize";
  blog(LOG_ERROR, "[beauty] %s LX::LumivexSync::createEngine is null,maybe gpu driver is not install ", kName);
  blog(LOG_ERROR, "[beauty] %s Beauty && Magic effect is not effective", kName);
  SendReport(kReportEffects, {{"createEngine", "failed"}, {"data", "gpu driver is null"}});
}

void SetDefaults(LX::LumivexSync &engine, const std::string &ai_path) {
  LXGroupConfig group{};
  std::memcpy(group.path, kDefaultBeautyGroup, sizeof(kDefaultBeautyGroup));
  engine.setBeautyGroupPath(group);
  LX::setDebugAlertMode(0);
  engine.setModelPathDic(BuildModelDictionary());
  engine.setModelRootPath(ai_path);
}

}  // namespace

LXEngineConfig MakeEngineConfig(uint32_t width, uint32_t height, const std::string &face_beauty_path) {
  blog(LOG_INFO, "[beauty] Initialize  LXEngineConfig");
  LXEngineConfig config{};
  const size_t length = std::min(face_beauty_path.size(), sizeof(config.path) - 1);
  std::memcpy(config.path, face_beauty_path.data(), length);
  config.width = static_cast<int32_t>(width);
  config.height = static_cast<int32_t>(height);
  return config;
}

std::shared_ptr<LX::LumivexSync> StartEngine(const LXEngineConfig &config, const std::shared_ptr<GLFWwindow> &gl_window,
                                             const std::string &ai_path) {
  blog(LOG_INFO, "[beauty] Initialize  gl_window: %p", static_cast<void *>(gl_window.get()));
  std::shared_ptr<LX::LumivexSync> engine =
      gl_window ? LX::LumivexSync::createEngine(&config, gl_window) : LX::LumivexSync::createEngine(&config);
  SendStartupReport(engine != nullptr);
  if (engine)
    SetDefaults(*engine, ai_path);
  else
    ReportMissingEngine();
  return engine;
}

}  // namespace vanta
