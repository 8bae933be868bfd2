// Reading back on Direct3D 11.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <d3d11.h>
#include <dxgi.h>

#include <memory>

#include <util/base.h>

#include "landmark/map_context.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr DWORD kAcquireWaitMs = 200;

struct ReleaseCom {
  void operator()(IUnknown *object) const { object->Release(); }
};
template <typename Interface>
using ComRef = std::unique_ptr<Interface, ReleaseCom>;

using CreateFactoryCall = HRESULT(WINAPI *)(REFIID, void **);
using CreateDeviceCall = PFN_D3D11_CREATE_DEVICE;

// Never freed: the process keeps its graphics system.
HMODULE LoadOnce(const char *name) {
  HMODULE module = GetModuleHandleA(name);
  if (!module) module = LoadLibraryA(name);
  if (!module) blog(LOG_ERROR, "Failed to load %s", name);
  return module;
}

template <typename Call>
Call FindCall(HMODULE module, const char *name) {
  return reinterpret_cast<Call>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

bool IsHostAdapter(IDXGIAdapter *adapter, const HostAdapterDesc &host) {
  DXGI_ADAPTER_DESC desc;
  return SUCCEEDED(adapter->GetDesc(&desc)) && desc.VendorId == host.vendor_id && desc.DeviceId == host.device_id;
}

// Of two cards of one kind the first; null when the host's is not there.
ComRef<IDXGIAdapter> FindHostAdapter(IDXGIFactory1 *factory) {
  const HostAdapterDesc host = GetD3DAdapterInfo();
  for (UINT i = 0;; ++i) {
    IDXGIAdapter *found = nullptr;
    if (FAILED(factory->EnumAdapters(i, &found)) || !found) return nullptr;
    ComRef<IDXGIAdapter> adapter(found);
    if (IsHostAdapter(found, host)) return adapter;
  }
}

// The host cannot go on without its device: the process ends with the result as its exit code.
void EndProcessOnDeviceLoss(HRESULT result) {
  if (result == DXGI_ERROR_DEVICE_REMOVED || result == DXGI_ERROR_DEVICE_RESET)
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(result));
}

void LogResult(const char *format, HRESULT result) {
  blog(LOG_ERROR, format, static_cast<unsigned>(result));
}

ComRef<ID3D11Texture2D> OpenShared(ID3D11Device *device, uint32_t shared_handle) {
  void *opened = nullptr;
  const auto handle = reinterpret_cast<HANDLE>(static_cast<uintptr_t>(shared_handle));
  const HRESULT result = device->OpenSharedResource(handle, IID_ID3D11Texture2D, &opened);
  if (SUCCEEDED(result) && opened) return ComRef<ID3D11Texture2D>(static_cast<ID3D11Texture2D *>(opened));
  LogResult("OpenSharedResource failed: 0x%08X", result);
  EndProcessOnDeviceLoss(result);
  return nullptr;
}

ComRef<IDXGIKeyedMutex> KeyedMutexOf(ID3D11Texture2D *texture) {
  void *found = nullptr;
  const HRESULT result = texture->QueryInterface(IID_IDXGIKeyedMutex, &found);
  if (SUCCEEDED(result) && found) return ComRef<IDXGIKeyedMutex>(static_cast<IDXGIKeyedMutex *>(found));
  LogResult("QueryInterface for IDXGIKeyedMutex failed: 0x%08X", result);
  return nullptr;
}

// The memory outlives the unmapping: the caller reads it on this thread, before the next copy into this texture.
void MapStaging(ID3D11DeviceContext *context, ID3D11Texture2D *staging, uint8_t **data, uint32_t *pitch) {
  D3D11_MAPPED_SUBRESOURCE mapped{};
  const HRESULT result = context->Map(staging, 0, D3D11_MAP_READ, 0, &mapped);
  if (FAILED(result)) {
    LogResult("Map failed: 0x%08X", result);
    EndProcessOnDeviceLoss(result);
    return;
  }
  *data = static_cast<uint8_t *>(mapped.pData);
  *pitch = mapped.RowPitch;
  context->Unmap(staging, 0);
}

D3D11_TEXTURE2D_DESC StagingDesc(uint32_t width, uint32_t height) {
  D3D11_TEXTURE2D_DESC desc{};
  desc.Width = width;
  desc.Height = height;
  desc.MipLevels = 1;
  desc.ArraySize = 1;
  desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
  desc.SampleDesc.Count = 1;
  desc.Usage = D3D11_USAGE_STAGING;
  desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
  return desc;
}

template <typename Interface>
void Destroy(Interface **object, const char *format) {
  if (!object || !*object) return;
  blog(LOG_INFO, format, static_cast<void *>(*object));
  blog_user_define_data_report(kReportWorkers, format, static_cast<void *>(*object));
  (*object)->Release();
  *object = nullptr;
}

}  // namespace

bool CreateD3DDevice(ID3D11Device **device, ID3D11DeviceContext **context) {
  if (!device || !context) return false;
  HMODULE dxgi = LoadOnce("DXGI.dll");
  HMODULE d3d11 = dxgi ? LoadOnce("D3D11.dll") : nullptr;
  if (!d3d11) return false;
  const auto create_factory = FindCall<CreateFactoryCall>(dxgi, "CreateDXGIFactory1");
  const auto create_device = FindCall<CreateDeviceCall>(d3d11, "D3D11CreateDevice");
  if (!create_factory || !create_device) {
    blog(LOG_ERROR, "Failed to load D3D11/DXGI procedures");
    return false;
  }
  void *made = nullptr;
  if (FAILED(create_factory(IID_IDXGIFactory1, &made)) || !made) {
    blog(LOG_ERROR, "CreateDXGIFactory1 failed");
    return false;
  }
  ComRef<IDXGIFactory1> factory(static_cast<IDXGIFactory1 *>(made));
  ComRef<IDXGIAdapter> adapter = FindHostAdapter(factory.get());
  factory.reset();
  if (!adapter) {
    blog(LOG_ERROR, "Find Adapters failed");
    return false;
  }
  ID3D11Device *new_device = nullptr;
  ID3D11DeviceContext *new_context = nullptr;
  const HRESULT result = create_device(adapter.get(), D3D_DRIVER_TYPE_UNKNOWN, nullptr, 0, nullptr, 0,
                                       D3D11_SDK_VERSION, &new_device, nullptr, &new_context);
  adapter.reset();
  if (FAILED(result)) {
    blog(LOG_ERROR, "D3D11CreateDevice failed");
    return false;
  }
  blog(LOG_INFO, "Create D3D Device %p", static_cast<void *>(new_device));
  blog_user_define_data_report(kReportWorkers, "Create D3D Device %p", static_cast<void *>(new_device));
  *device = new_device;
  *context = new_context;
  return true;
}

bool CreateStagingTexture(uint32_t width, uint32_t height, ID3D11Device *device, ID3D11Texture2D **texture) {
  if (!device || !texture) return false;
  if (device->GetDeviceRemovedReason() != S_OK) {
    blog(LOG_ERROR, "CreateTexture failed: device removed.");
    return false;
  }
  const D3D11_TEXTURE2D_DESC desc = StagingDesc(width, height);
  ID3D11Texture2D *made = nullptr;
  if (FAILED(device->CreateTexture2D(&desc, nullptr, &made)) || !made) {
    blog(LOG_ERROR, "Failed to create texture");
    return false;
  }
  made->SetEvictionPriority(DXGI_RESOURCE_PRIORITY_MAXIMUM);
  *texture = made;
  return true;
}

bool MapSharedHandleToCPU(uint32_t shared_handle, uint64_t acquire_key, uint64_t release_key, ID3D11Device *device,
                          ID3D11DeviceContext *context, ID3D11Texture2D *staging, uint8_t **data, uint32_t *pitch) {
  if (!device || !context || !staging || !data || !pitch) return false;
  const ComRef<ID3D11Texture2D> opened = OpenShared(device, shared_handle);
  if (!opened) return false;
  const ComRef<IDXGIKeyedMutex> keyed_mutex = KeyedMutexOf(opened.get());
  if (!keyed_mutex) return false;
  // A time-out is a positive result and passes: the picture may be any, the chain of keys goes on.
  const HRESULT acquired = keyed_mutex->AcquireSync(acquire_key, kAcquireWaitMs);
  if (FAILED(acquired)) {
    LogResult("AcquireSync failed: 0x%08X", acquired);
    return false;
  }
  context->CopyResource(staging, opened.get());
  keyed_mutex->ReleaseSync(release_key);
  MapStaging(context, staging, data, pitch);
  return true;
}

void ReleaseStagingTexture(ID3D11Texture2D **texture) {
  if (!texture || !*texture) return;
  (*texture)->Release();
  *texture = nullptr;
}

void DestroyD3DDevice(ID3D11Device **device, ID3D11DeviceContext **context) {
  Destroy(context, "Destroy D3D Context %p");
  Destroy(device, "Destroy D3D Device %p");
}

}  // namespace vanta
