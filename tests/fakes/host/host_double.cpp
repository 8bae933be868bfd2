#include "fakes/host/host_double.h"

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

#include "fakes/fresh_start.h"
#include "fixtures/process/wait.h"
#include "platform/thread.h"

namespace vanta_test {
namespace {

struct Host {
  std::mutex mutex;
  std::condition_variable changed;
  HostSwitches switches;
  bool recording = true;
  std::vector<std::string> calls;
  std::vector<HostReport> reports;
  std::vector<LogLine> corvid;
  std::vector<std::vector<uint8_t>> registrations;
};

Host &GetHost() {
  static Host *host = new Host;
  return *host;
}

void Note(const char *text) {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  if (!host.recording) return;
  host.calls.emplace_back(text);
  host.changed.notify_all();
}

std::string Print(const char *format, va_list args) {
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  std::string text(length < 0 ? 0 : static_cast<size_t>(length), '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, args);
  return text;
}

bool Read(bool HostSwitches::*which) {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return host.switches.*which;
}

void Write(bool HostSwitches::*which, bool on) {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  host.switches.*which = on;
}

}  // namespace

namespace host_double {

void Reset() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  host.switches = HostSwitches();
  host.recording = true;
  host.calls.clear();
  host.reports.clear();
  host.corvid.clear();
  host.registrations.clear();
}

const FreshStart fresh_start(&Reset);

HostSwitches Switches() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return host.switches;
}

void Change(const std::function<void(HostSwitches &)> &change) {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  change(host.switches);
}

std::vector<std::string> Calls() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return host.calls;
}

void ClearCalls() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  host.calls.clear();
}

void SetRecording(bool on) {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  host.recording = on;
}

size_t Count(const std::string &text) {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return static_cast<size_t>(std::count(host.calls.begin(), host.calls.end(), text));
}

bool WaitForCalls(const std::string &text, size_t count) {
  Host &host = GetHost();
  std::unique_lock<std::mutex> lock(host.mutex);
  const bool came = host.changed.wait_for(lock, kWatchdog, [&] {
    return static_cast<size_t>(std::count(host.calls.begin(), host.calls.end(), text)) >= count;
  });
  EXPECT_TRUE(came) << "waited in vain for " << count << " x " << text;
  return came;
}

std::vector<HostReport> Reports() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return host.reports;
}

std::vector<LogLine> CorvidLines() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return host.corvid;
}

std::vector<std::vector<uint8_t>> Registrations() {
  Host &host = GetHost();
  std::lock_guard<std::mutex> lock(host.mutex);
  return host.registrations;
}

HostSourceInfo Registered(const std::string &id) {
  for (const std::vector<uint8_t> &bytes : Registrations()) {
    HostSourceInfo record{};
    if (bytes.size() != sizeof(record)) continue;
    std::memcpy(&record, bytes.data(), sizeof(record));
    if (record.id == id) return record;
  }
  ADD_FAILURE() << "nothing registered as " << id;
  return {};
}

}  // namespace host_double
}  // namespace vanta_test

using vanta_test::GetHost;
using vanta_test::HostSwitches;
using vanta_test::Note;
using vanta_test::Read;
using vanta_test::Write;

extern "C" {

bool EnableAsyncBeautyOption() {
  if (const std::function<void()> asked = vanta_test::host_double::Switches().on_async_asked) asked();
  return Read(&HostSwitches::async_beauty);
}
bool EnableCreateLXGLContext() {
  return Read(&HostSwitches::create_gl_context);
}
bool EnableDestroyGLFWWindow() {
  return Read(&HostSwitches::destroy_gl_window);
}
bool EnableOBSFrameFilp() {
  return Read(&HostSwitches::frame_flip);
}
bool JumpTextureRenderEnable() {
  return Read(&HostSwitches::jump_texture_render);
}
bool EnableAsyncGpuTextureMap() {
  return Read(&HostSwitches::async_gpu_map);
}
bool FacePointByLX() {
  return Read(&HostSwitches::face_point_by_lx);
}

bool IsBeautySharedTexture() {
  return Read(&HostSwitches::shared_texture);
}
void SetBeautySharedTexture(bool on) {
  Note(on ? "SetBeautySharedTexture(1)" : "SetBeautySharedTexture(0)");
  Write(&HostSwitches::shared_texture, on);
}
bool IsBeautySharedTextureFallback() {
  return Read(&HostSwitches::shared_texture_fallback);
}
void SetBeautySharedTextureFallback(bool on) {
  Note(on ? "SetBeautySharedTextureFallback(1)" : "SetBeautySharedTextureFallback(0)");
  Write(&HostSwitches::shared_texture_fallback, on);
}
void SetIsDeinterlace(bool on) {
  Note(on ? "SetIsDeinterlace(1)" : "SetIsDeinterlace(0)");
  Write(&HostSwitches::deinterlace, on);
}

void FaceBeautyThreadManagerAddThread(uint64_t id) {
  Note(id == vanta::CurrentThreadId() ? "AddThread" : "AddThread(other)");
}
void FaceBeautyThreadManagerRemoveThread(uint64_t id) {
  Note(id == vanta::CurrentThreadId() ? "RemoveThread" : "RemoveThread(other)");
}
void SetFaceBeautyFilterWorkerThreadId(uint64_t id, uint64_t value) {
  const bool own = id == vanta::CurrentThreadId();
  Note(!own ? "ThreadId of another" : value == id ? "ThreadId(self)" : value == 0 ? "ThreadId(0)" : "ThreadId(?)");
}
void SetFaceBeautyFilterWorkerThreadTimestamp(uint64_t id, uint64_t value) {
  const bool own = id == vanta::CurrentThreadId();
  Note(!own ? "ThreadTimestamp of another" : value != 0 ? "ThreadTimestamp(now)" : "ThreadTimestamp(0)");
}
void FaceBeautyFilterWorkerThreadSleep(uint64_t id) {
  Note(id == vanta::CurrentThreadId() ? "ThreadSleep" : "ThreadSleep of another");
}
void SetTesseraLandmarkFilterWorkerThreadId(uint64_t id) {
  Note(id == 0                          ? "LandmarkThreadId(0)"
       : id == vanta::CurrentThreadId() ? "LandmarkThreadId(self)"
                                        : "LandmarkThreadId of another");
}
void SetTesseraLandmarkFilterWorkerThreadTimestamp(uint64_t timestamp) {
  Note(timestamp != 0 ? "LandmarkThreadTimestamp(now)" : "LandmarkThreadTimestamp(0)");
}
void TesseraLandmarkFilterWorkerThreadSleep() {
  Note("LandmarkThreadSleep");
}
void SetTesseraLandmarkFilterGpuWorkerThreadId(uint64_t id) {
  Note(id == 0 ? "GpuThreadId(0)" : id == vanta::CurrentThreadId() ? "GpuThreadId(self)" : "GpuThreadId of another");
}
void SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(uint64_t timestamp) {
  Note(timestamp != 0 ? "GpuThreadTimestamp(now)" : "GpuThreadTimestamp(0)");
}
void TesseraLandmarkFilterGpuWorkerThreadSleep() {
  Note("GpuThreadSleep");
}

void blog_user_define_data_report(int32_t report_id, const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::string body = vanta_test::Print(format, args);
  va_end(args);
  std::lock_guard<std::mutex> lock(GetHost().mutex);
  GetHost().reports.push_back({report_id, std::move(body)});
}

void blog_corvid(int32_t level, const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::string line = vanta_test::Print(format, args);
  va_end(args);
  std::lock_guard<std::mutex> lock(GetHost().mutex);
  GetHost().corvid.push_back({level, std::move(line)});
}

// What the module's registrations turn into at link time.
void __wrap_obs_register_source_s(const obs_source_info *info, size_t size);
void __wrap_obs_register_source_s(const obs_source_info *info, size_t size) {
  const auto *bytes = reinterpret_cast<const uint8_t *>(info);
  std::lock_guard<std::mutex> lock(GetHost().mutex);
  GetHost().registrations.emplace_back(bytes, bytes + size);
}

HostAdapterDesc GetD3DAdapterInfo() {
  return vanta_test::host_double::Switches().adapter;
}
void VantaDeckV210to420P(const obs_source_frame *, uint8_t *, uint32_t, uint32_t) {}
video_colorspace video_format_get_colorspace_from_matrix(const float *, const float *, const float *, video_format,
                                                         bool) {
  std::lock_guard<std::mutex> lock(GetHost().mutex);
  return GetHost().switches.colorspace;
}
}

FrameRateCalcCenter &FrameRateCalcCenter::Instance() {
  static FrameRateCalcCenter *center = new FrameRateCalcCenter;
  return *center;
}
