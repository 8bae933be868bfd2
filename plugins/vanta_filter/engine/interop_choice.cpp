#include "engine/interop_choice.h"

#include <util/base.h>

#include <atomic>
#include <chrono>
#include <nlohmann/json.hpp>

#include "obs/host_report.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr std::chrono::milliseconds kProbeTimeout{500};

std::atomic<bool> no_green_matting_{false};
std::atomic<bool> fallback_to_nv12{false};  // never cleared

}  // namespace

int32_t InteropChoice::FormatToAsk(LX::LumivexSync *engine) {
  if (IsUsable(engine)) return LX::PixelFormat::kSharedTexture;
  return no_green_matting_.load(std::memory_order_relaxed) ? LX::PixelFormat::kNoGreenMatting : LX::PixelFormat::kFresh;
}

bool InteropChoice::IsUsable(LX::LumivexSync *engine) {
  if (IsFallbackToNV12()) return false;
  if (answer_) return *answer_;
  if (!engine) return false;
  answer_ = engine->isNVDXInteropSupported(true, kProbeTimeout);
  blog(LOG_INFO, "[lx_enable_nvdx_interop] result %d", *answer_);
  if (!*answer_) SendReport(kReportPictures, {{"lx_enable_nvdx_interop", false}});
  return *answer_;
}

void InteropChoice::RecordDelivery(const LX::FrameData &result) {
  bool well_delivered;
  if (answer_.value_or(false)) {
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

void InteropChoice::FallbackToNV12() {
  if (!fallback_to_nv12.exchange(true, std::memory_order_relaxed))
    blog(LOG_INFO, "[lx_enable_nvdx_interop] FallbackToNV12");
}

bool InteropChoice::IsFallbackToNV12() {
  return fallback_to_nv12.load(std::memory_order_relaxed);
}

void InteropChoice::SetNoGreenMatting(bool on) {
  no_green_matting_.store(on, std::memory_order_relaxed);
  blog(LOG_INFO, "SetNoGreenMatting no_green_matting_ :%d", on);
}

}  // namespace vanta
