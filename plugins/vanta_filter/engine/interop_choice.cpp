// The choice between the two ways a frame can leave the engine: a shared texture, or NV12 memory. It is probed once for
// each processor and only moves towards memory.
#include <util/base.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "engine/lumivex_render.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr int32_t kReportInterop = 12;
constexpr int32_t kTesseraStatPeriod = 300;  // calls, over all processors
constexpr std::chrono::milliseconds kProbeTimeout{500};

// Shared by all processors for the life of the process. A lost count does no harm and the fall-back moves one way.
std::atomic<bool> no_green_matting_{false};
std::atomic<bool> fallback_to_nv12{false};
std::atomic<int32_t> stat_counter{0};

}  // namespace

std::shared_ptr<LX::FrameData> LumivexRender::ProcessFrameData(std::shared_ptr<LX::FrameData> data) {
  if (!engine_) return nullptr;
  if (IsNVDXInteropUsable())
    data->pixel_format = LX::PixelFormat::kSharedTexture;
  else
    data->pixel_format =
        no_green_matting_.load(std::memory_order_relaxed) ? LX::PixelFormat::kNoGreenMatting : LX::PixelFormat::kFresh;
  std::shared_ptr<LX::FrameData> result = engine_->processFrameData(std::move(data));
  if (result) RecordDelivery(*result);
  CountForTesseraStat();
  return result;
}

void LumivexRender::RecordDelivery(const LX::FrameData &result) {
  bool well_delivered;
  if (interop_answer_.value_or(false)) {
    if (!IsBeautySharedTexture()) {
      blog(LOG_INFO, "[lx_enable_nvdx_interop] change from 0 to 1");
      SetBeautySharedTexture(true);
    }
    well_delivered = result.pixel_format == LX::PixelFormat::kSharedTexture;
  } else {
    well_delivered = !IsFallbackToNV12();
  }
  if (well_delivered) return;
  if (!IsBeautySharedTextureFallback()) blog(LOG_INFO, "[lx_enable_nvdx_interop] fall back change from 0 to 1");
  SetBeautySharedTextureFallback(true);
}

void LumivexRender::CountForTesseraStat() {
  const int32_t count = stat_counter.load(std::memory_order_relaxed) + 1;
  const bool due = count > kTesseraStatPeriod;
  stat_counter.store(due ? 0 : count, std::memory_order_relaxed);
  if (due) GetTesseraStat();
}

bool LumivexRender::IsNVDXInteropUsable() {
  if (IsFallbackToNV12()) return false;
  if (interop_answer_) return *interop_answer_;
  if (!engine_) return false;
  interop_answer_ = engine_->isNVDXInteropSupported(true, kProbeTimeout);
  blog(LOG_INFO, "[lx_enable_nvdx_interop] result %d", *interop_answer_);
  if (!*interop_answer_) {
    const nlohmann::json report = {{"lx_enable_nvdx_interop", false}};
    blog_user_define_data_report(kReportInterop, report.dump().c_str());
  }
  return *interop_answer_;
}

void LumivexRender::FallbackToNV12() {
  if (!fallback_to_nv12.exchange(true, std::memory_order_relaxed))
    blog(LOG_INFO, "[lx_enable_nvdx_interop] FallbackToNV12");
}

bool LumivexRender::IsFallbackToNV12() {
  return fallback_to_nv12.load(std::memory_order_relaxed);
}

void LumivexRender::SetNoGreenMatting(bool on) {
  no_green_matting_.store(on, std::memory_order_relaxed);
  blog(LOG_INFO, "SetNoGreenMatting no_green_matting_ :%d", on);
}

std::string LumivexRender::GetStats() {
  return engine_ ? engine_->getStats() : std::string();
}

void LumivexRender::ClearStats() {
  if (engine_) engine_->clearStats();
}

void LumivexRender::GetTesseraStat() {
  if (!engine_) return;
  std::string text;
  engine_->getTesseraStat(text);
  if (!text.empty()) blog_corvid(LOG_INFO, "%s %s", "[beauty][Corvid][Tessera] GetStat", text.c_str());
}

}  // namespace vanta
