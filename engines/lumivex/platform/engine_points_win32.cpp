#include "platform/engine_points.h"

#include <windows.h>

#include <initializer_list>

namespace lumivex {
namespace {

using Switch = bool (*)();

// The adapter to public libobs, or a host that has it in its own libobs.
Switch FindSwitch() {
  for (const wchar_t *dll : {L"vanta_host.dll", L"obs.dll"}) {
    const HMODULE module = GetModuleHandleW(dll);
    const FARPROC found = module ? GetProcAddress(module, "FacePointByLX") : nullptr;
    if (found) return reinterpret_cast<Switch>(reinterpret_cast<void *>(found));
  }
  return nullptr;
}

}  // namespace

bool HostWantsEnginePoints() {
  static const Switch host = FindSwitch();
  return host && host();
}

}  // namespace lumivex
