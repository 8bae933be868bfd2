// The names of threads as Windows 10 keeps them. Looked up at run time: the cross compiler's headers lack the two
// calls.
#pragma once

#include <string>

#include <windows.h>

namespace vanta_test {

template <typename Function>
Function *KernelFunction(const char *name) {
  return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("kernelbase"), name)));
}

inline void SetThreadDescription(HANDLE thread, const wchar_t *text) {
  if (auto *set = KernelFunction<HRESULT WINAPI(HANDLE, PCWSTR)>("SetThreadDescription")) set(thread, text);
}

// Empty where the thread has none or there is no such thread.
inline std::wstring ThreadDescription(DWORD id) {
  const HANDLE thread = OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, id);
  auto *get = KernelFunction<HRESULT WINAPI(HANDLE, PWSTR *)>("GetThreadDescription");
  PWSTR text = nullptr;
  std::wstring name;
  if (thread && get && SUCCEEDED(get(thread, &text))) name = text;
  LocalFree(text);
  if (thread) CloseHandle(thread);
  return name;
}

}  // namespace vanta_test
