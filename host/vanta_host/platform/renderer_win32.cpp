// Direct3D 11 or OpenGL, as the user has chosen. Textures are shared by libobs itself, where it draws with Direct3D.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <dxgi.h>

#include "platform/renderer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <string>

#include <graphics/graphics.h>
#include <obs.h>

#include "vanta_base/utf16.h"

namespace {

std::atomic<bool> was_useless{false};

// Inside graphics.
bool DrawsWith(int device_type) {
  return gs_get_context() && gs_get_device_type() == device_type;
}

// libobs's device is the one of Direct3D, and knows its adapter.
void DescribeDirect3D(HostAdapterDesc &desc) {
  auto *device = static_cast<IUnknown *>(gs_get_device_obj());
  IDXGIDevice *dxgi = nullptr;
  if (!device || FAILED(device->QueryInterface(IID_IDXGIDevice, reinterpret_cast<void **>(&dxgi)))) return;
  IDXGIAdapter *adapter = nullptr;
  if (SUCCEEDED(dxgi->GetAdapter(&adapter))) {
    DXGI_ADAPTER_DESC found;
    static_assert(sizeof(found) == sizeof(desc));
    if (SUCCEEDED(adapter->GetDesc(&found))) std::memcpy(&desc, &found, sizeof(desc));
    adapter->Release();
  }
  dxgi->Release();
}

// OpenGL tells a name and no more.
void DescribeOpenGl(HostAdapterDesc &desc) {
  constexpr unsigned int kRenderer = 0x1F01;  // GL_RENDERER
  using GetString = const unsigned char *(__stdcall *)(unsigned int name);
  const HMODULE library = GetModuleHandleW(L"opengl32.dll");
  const auto get_string =
      library ? reinterpret_cast<GetString>(reinterpret_cast<void *>(GetProcAddress(library, "glGetString"))) : nullptr;
  const unsigned char *text = get_string ? get_string(kRenderer) : nullptr;
  if (!text) return;
  const std::u16string units =
      vanta::Utf16FromUtf8(reinterpret_cast<const char *>(text), std::size(desc.description) - 1);
  *std::copy(units.begin(), units.end(), desc.description) = 0;
}

}  // namespace

namespace vanta_host {

void LearnRenderer() {
  if (!obs_initialized()) return;
  obs_enter_graphics();
  if (!DrawsWith(GS_DEVICE_DIRECT3D_11)) was_useless = true;
  obs_leave_graphics();
}

void ForgetRenderer() {
  was_useless = false;
}

bool HasRendererBeenUseless() {
  return was_useless;
}

HostAdapterDesc PresentAdapter() {
  HostAdapterDesc desc;
  std::memset(&desc, 0, sizeof(desc));
  if (DrawsWith(GS_DEVICE_DIRECT3D_11)) DescribeDirect3D(desc);
  if (DrawsWith(GS_DEVICE_OPENGL)) DescribeOpenGl(desc);
  return desc;
}

}  // namespace vanta_host
