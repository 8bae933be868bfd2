// A fake of the customised host: the functions of module/host_extensions.h, defined in the test program, so that they
// win over vanta_host's. Each call is noted in order.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "fixtures/process/log_capture.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/module/source_record.h"

namespace vanta_test {

// What the host answers; the defaults are those of vanta_host.
struct HostSwitches {
  bool async_beauty = true;
  bool create_gl_context = false;
  bool destroy_gl_window = true;
  bool frame_flip = true;
  bool jump_texture_render = true;
  bool async_gpu_map = true;
  bool face_point_by_lx = false;
  bool shared_texture = false;
  bool shared_texture_fallback = false;
  bool deinterlace = false;
  video_colorspace colorspace = VIDEO_CS_709;  // of every matrix
  HostAdapterDesc adapter{};
  std::function<void()> on_async_asked;  // called before each answer of EnableAsyncBeautyOption
};

struct HostReport {
  int32_t id = 0;
  std::string body;
  bool operator==(const HostReport &) const = default;
};

// Threads: any.
namespace host_double {

void Reset();
HostSwitches Switches();
void Change(const std::function<void(HostSwitches &)> &change);

// Thread supervision and flag writes, as text: "AddThread", "ThreadId(self)", "ThreadId(0)", "ThreadTimestamp(now)",
// "ThreadTimestamp(0)", "ThreadSleep", "RemoveThread", "SetBeautySharedTexture(1)"; the landmark filter's GPU worker
// has "GpuThreadId(self)" and so on.
std::vector<std::string> Calls();
void ClearCalls();
void SetRecording(bool on);
size_t Count(const std::string &text);
bool WaitForCalls(const std::string &text, size_t count);  // false fails the test

std::vector<HostReport> Reports();
std::vector<LogLine> CorvidLines();

// The registration records that reached the host, byte for byte.
std::vector<std::vector<uint8_t>> Registrations();
// The record of `id` as the customised host reads it; fails the test when there is none of that length.
HostSourceInfo Registered(const std::string &id);

}  // namespace host_double
}  // namespace vanta_test
