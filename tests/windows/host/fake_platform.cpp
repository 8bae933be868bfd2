// Time, paths, text and thread names as libobs has them on Windows.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>

#include <util/bmem.h>
#include <util/platform.h>

#include "fake_host.h"
#include "thread_description.h"

extern "C" void os_set_thread_name(const char *name);

namespace {

std::mutex mutex;
std::vector<vanta_test::fake_host::ThreadName> names;

std::string config_folder = "C:\\config\\";  // guarded by mutex

std::wstring Wide(const char *text, size_t size, UINT code_page) {
  const int count = MultiByteToWideChar(code_page, 0, text, static_cast<int>(size), nullptr, 0);
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(code_page, 0, text, static_cast<int>(size), wide.data(), count);
  return wide;
}

size_t Narrow(const std::wstring &wide, UINT code_page, char **out) {
  const int size = static_cast<int>(wide.size());
  const int count = WideCharToMultiByte(code_page, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
  *out = static_cast<char *>(bmalloc(static_cast<size_t>(count) + 1));
  WideCharToMultiByte(code_page, 0, wide.data(), size, *out, count, nullptr, nullptr);
  (*out)[count] = '\0';
  return static_cast<size_t>(count);
}

}  // namespace

namespace vanta_test::fake_host {

void SetConfigFolder(const std::string &folder) {
  std::lock_guard<std::mutex> lock(mutex);
  config_folder = folder;
}

std::vector<ThreadName> ThreadNames() {
  std::lock_guard<std::mutex> lock(mutex);
  return names;
}

}  // namespace vanta_test::fake_host

extern "C" {

uint64_t os_gettime_ns(void) {
  return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1));
}

int os_get_config_path(char *out, size_t size, const char *name) {
  std::lock_guard<std::mutex> lock(mutex);
  const std::string path = config_folder + name;
  if (path.size() + 1 > size) return -1;
  std::memcpy(out, path.c_str(), path.size() + 1);
  return static_cast<int>(path.size());
}

void os_set_thread_name(const char *name) {
  vanta_test::SetThreadDescription(GetCurrentThread(), Wide(name, std::strlen(name), CP_UTF8).c_str());
  std::lock_guard<std::mutex> lock(mutex);
  names.push_back({GetCurrentThreadId(), name});
}

size_t os_utf8_to_mbs_ptr(const char *text, size_t size, char **out) {
  *out = nullptr;
  if (size == 0) size = std::strlen(text);
  return Narrow(Wide(text, size, CP_UTF8), CP_ACP, out);
}

size_t os_mbs_to_wcs(const char *text, size_t size, wchar_t *out, size_t out_size) {
  const std::wstring wide = Wide(text, size, CP_ACP);
  if (!out) return wide.size();
  if (out_size == 0) return 0;
  const size_t count = std::min(wide.size(), out_size - 1);
  std::memcpy(out, wide.data(), count * sizeof(wchar_t));
  out[count] = 0;
  return count;
}

size_t os_mbs_to_utf8_ptr(const char *text, size_t size, char **out) {
  *out = nullptr;
  if (size == 0) size = std::strlen(text);
  return Narrow(Wide(text, size, CP_ACP), CP_UTF8, out);
}
}
