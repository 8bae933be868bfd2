#include "settings/engine_control.h"

#include <atomic>
#include <chrono>
#include <thread>

#include "files/loading.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {
namespace {

std::atomic<bool> g_available{true};
std::atomic<int> g_frame_delay{0};
std::atomic<int> g_start_delay{0};
std::atomic<int> g_stop_delay{0};
std::atomic<int> g_frames_left{-1};  // negative: frames do not fail
std::atomic<bool> g_frames_await_loads{false};
std::atomic<int> g_pixel_buffer_format{0};
std::atomic<int> g_texture_fault{LUMIVEX_TEXTURE_GOOD};

void Delay(const std::atomic<int> &milliseconds) {
  const int wait = milliseconds.load(std::memory_order_relaxed);
  if (wait > 0) std::this_thread::sleep_for(std::chrono::milliseconds(wait));
}

}  // namespace

void DelayStart() {
  Delay(g_start_delay);
}
void DelayStop() {
  Delay(g_stop_delay);
}
void DelayFrame() {
  Delay(g_frame_delay);
}

int PixelBufferFormat() {
  return g_pixel_buffer_format.load(std::memory_order_relaxed);
}
int TextureFault() {
  return g_texture_fault.load(std::memory_order_relaxed);
}

bool FramesAwaitLoads() {
  return g_frames_await_loads;
}

bool FailThisFrame() {
  int left = g_frames_left.load(std::memory_order_relaxed);
  while (left > 0) {
    if (g_frames_left.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return false;
  }
  return left == 0;
}

}  // namespace lumivex

void lumivex_set_available(bool available) {
  lumivex::g_available = available;
}
bool lumivex_is_available() {
  return lumivex::g_available;
}
void lumivex_set_delay_ms(int milliseconds) {
  lumivex::g_frame_delay = milliseconds;
}
void lumivex_set_start_delay_ms(int milliseconds) {
  lumivex::g_start_delay = milliseconds;
}
void lumivex_set_stop_delay_ms(int milliseconds) {
  lumivex::g_stop_delay = milliseconds;
}
void lumivex_set_frames_await_loads(bool await) {
  lumivex::g_frames_await_loads = await;
}
int lumivex_pending_loads() {
  return lumivex::PendingLoad::Count();
}
void lumivex_set_fail_after_frames(int frames) {
  lumivex::g_frames_left = frames;
}
void lumivex_set_pixel_buffer_output(int pixel_format) {
  const bool known = pixel_format == LX::PixelFormat::kPixelBuffer || pixel_format == LX::PixelFormat::kPixelBuffer4;
  lumivex::g_pixel_buffer_format = known ? pixel_format : 0;
}
void lumivex_set_texture_fault(int fault) {
  lumivex::g_texture_fault = fault;
}
