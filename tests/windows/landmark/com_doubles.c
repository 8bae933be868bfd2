#include "com_doubles.h"

#define CINTERFACE
#include <windows.h>

#include <d3d11.h>
#include <dxgi.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

struct com_script com_script;
unsigned char com_pixels[256];

static char calls[16384];
static int references;
static struct com_texture_desc texture_desc;

static void note(const char *format, ...) {
  const size_t length = strlen(calls);
  va_list args;
  va_start(args, format);
  vsnprintf(calls + length, sizeof(calls) - length, format, args);
  va_end(args);
  strncat(calls, "\n", sizeof(calls) - strlen(calls) - 1);
}

/* Every interface begins with a pointer to its table: `self` is any of them. */
static ULONG STDMETHODCALLTYPE add_ref(void *self) {
  (void)self;
  return (ULONG)++references;
}
static ULONG release(const char *name) {
  note("%s.Release", name);
  return (ULONG)--references;
}

/* ---- Keyed mutex ---- */

static ULONG STDMETHODCALLTYPE mutex_release(IDXGIKeyedMutex *self) {
  (void)self;
  return release("mutex");
}
static HRESULT STDMETHODCALLTYPE mutex_acquire(IDXGIKeyedMutex *self, UINT64 key, DWORD timeout_ms) {
  (void)self;
  note("AcquireSync(%u, %u)", (unsigned)key, (unsigned)timeout_ms);
  return com_script.acquire_result;
}
static HRESULT STDMETHODCALLTYPE mutex_release_sync(IDXGIKeyedMutex *self, UINT64 key) {
  (void)self;
  note("ReleaseSync(%u)", (unsigned)key);
  return com_script.release_result;
}
static IDXGIKeyedMutexVtbl mutex_table = {
    .Release = mutex_release, .AcquireSync = mutex_acquire, .ReleaseSync = mutex_release_sync};
static IDXGIKeyedMutex keyed_mutex = {&mutex_table};

/* ---- Textures ---- */

static ULONG STDMETHODCALLTYPE shared_release(ID3D11Texture2D *self) {
  (void)self;
  return release("shared");
}
static HRESULT STDMETHODCALLTYPE shared_query(ID3D11Texture2D *self, REFIID iid, void **out) {
  (void)self;
  note("QueryInterface(%s)", IsEqualGUID(iid, &IID_IDXGIKeyedMutex) ? "IDXGIKeyedMutex" : "other");
  *out = NULL;
  if (FAILED(com_script.query_result)) return com_script.query_result;
  add_ref(&keyed_mutex);
  *out = &keyed_mutex;
  return S_OK;
}
static ID3D11Texture2DVtbl shared_table = {.QueryInterface = shared_query, .Release = shared_release};
static ID3D11Texture2D shared = {&shared_table};

static ULONG STDMETHODCALLTYPE staging_release(ID3D11Texture2D *self) {
  (void)self;
  return release("staging");
}
static void STDMETHODCALLTYPE staging_priority(ID3D11Texture2D *self, UINT priority) {
  (void)self;
  note("SetEvictionPriority(0x%08X)", priority);
}
static ID3D11Texture2DVtbl staging_table = {.Release = staging_release, .SetEvictionPriority = staging_priority};
static ID3D11Texture2D staging = {&staging_table};

/* ---- Device and context ---- */

static ULONG STDMETHODCALLTYPE device_release(ID3D11Device *self) {
  (void)self;
  return release("device");
}
static HRESULT STDMETHODCALLTYPE device_removed_reason(ID3D11Device *self) {
  (void)self;
  note("GetDeviceRemovedReason");
  return com_script.removed_reason;
}
static HRESULT STDMETHODCALLTYPE device_create_texture(ID3D11Device *self, const D3D11_TEXTURE2D_DESC *desc,
                                                       const D3D11_SUBRESOURCE_DATA *data, ID3D11Texture2D **out) {
  (void)self;
  note("CreateTexture2D(%u, %u)", desc->Width, desc->Height);
  const struct com_texture_desc seen = {
      desc->Width,     desc->Height,           desc->MipLevels,          desc->ArraySize,
      desc->Format,    desc->SampleDesc.Count, desc->SampleDesc.Quality, desc->Usage,
      desc->BindFlags, desc->CPUAccessFlags,   desc->MiscFlags,          data != NULL};
  texture_desc = seen;
  *out = NULL;
  if (FAILED(com_script.texture_result)) return com_script.texture_result;
  add_ref(&staging);
  *out = &staging;
  return S_OK;
}
static HRESULT STDMETHODCALLTYPE device_open(ID3D11Device *self, HANDLE handle, REFIID iid, void **out) {
  (void)self;
  note("OpenSharedResource(%u, %s)", (unsigned)(uintptr_t)handle,
       IsEqualGUID(iid, &IID_ID3D11Texture2D) ? "ID3D11Texture2D" : "other");
  *out = NULL;
  if (FAILED(com_script.open_result) || com_script.open_gives_null) return com_script.open_result;
  add_ref(&shared);
  *out = &shared;
  return S_OK;
}
static ID3D11DeviceVtbl device_table = {.Release = device_release,
                                        .CreateTexture2D = device_create_texture,
                                        .OpenSharedResource = device_open,
                                        .GetDeviceRemovedReason = device_removed_reason};
static ID3D11Device device = {&device_table};

static ULONG STDMETHODCALLTYPE context_release(ID3D11DeviceContext *self) {
  (void)self;
  return release("context");
}
static void STDMETHODCALLTYPE context_copy(ID3D11DeviceContext *self, ID3D11Resource *to, ID3D11Resource *from) {
  (void)self;
  note("CopyResource(%s, %s)", (void *)to == (void *)&staging ? "staging" : "other",
       (void *)from == (void *)&shared ? "shared" : "other");
}
static HRESULT STDMETHODCALLTYPE context_map(ID3D11DeviceContext *self, ID3D11Resource *resource, UINT index,
                                             D3D11_MAP type, UINT flags, D3D11_MAPPED_SUBRESOURCE *out) {
  (void)self;
  note("Map(%s, %u, %s, %u)", (void *)resource == (void *)&staging ? "staging" : "other", index,
       type == D3D11_MAP_READ ? "read" : "other", flags);
  if (FAILED(com_script.map_result)) return com_script.map_result;
  out->pData = com_pixels;
  out->RowPitch = COM_PITCH;
  return S_OK;
}
static void STDMETHODCALLTYPE context_unmap(ID3D11DeviceContext *self, ID3D11Resource *resource, UINT index) {
  (void)self;
  note("Unmap(%s, %u)", (void *)resource == (void *)&staging ? "staging" : "other", index);
}
static ID3D11DeviceContextVtbl context_table = {
    .Release = context_release, .CopyResource = context_copy, .Map = context_map, .Unmap = context_unmap};
static ID3D11DeviceContext context = {&context_table};

/* ---- Factory and adapters ---- */

struct adapter {
  IDXGIAdapter com; /* first: the interface's address is the record's */
  int index;
};

static ULONG STDMETHODCALLTYPE adapter_release(IDXGIAdapter *self) {
  note("adapter%d.Release", ((struct adapter *)self)->index);
  return (ULONG)--references;
}
static HRESULT STDMETHODCALLTYPE adapter_desc(IDXGIAdapter *self, DXGI_ADAPTER_DESC *desc) {
  const int index = ((struct adapter *)self)->index;
  note("adapter%d.GetDesc", index);
  if (FAILED(com_script.desc_result)) return com_script.desc_result;
  memset(desc, 0, sizeof(*desc));
  desc->VendorId = com_script.vendor_ids[index];
  desc->DeviceId = com_script.device_ids[index];
  return S_OK;
}
static IDXGIAdapterVtbl adapter_table = {.Release = adapter_release, .GetDesc = adapter_desc};
static struct adapter adapters[COM_MOST_ADAPTERS] = {
    {{&adapter_table}, 0}, {{&adapter_table}, 1}, {{&adapter_table}, 2}, {{&adapter_table}, 3}};

static ULONG STDMETHODCALLTYPE factory_release(IDXGIFactory1 *self) {
  (void)self;
  return release("factory");
}
static HRESULT STDMETHODCALLTYPE factory_enum(IDXGIFactory1 *self, UINT index, IDXGIAdapter **out) {
  (void)self;
  note("EnumAdapters(%u)", index);
  *out = NULL;
  if (index >= (UINT)com_script.adapters) return DXGI_ERROR_NOT_FOUND;
  add_ref(&adapters[index]);
  *out = &adapters[index].com;
  return S_OK;
}
static IDXGIFactory1Vtbl factory_table = {.Release = factory_release, .EnumAdapters = factory_enum};
static IDXGIFactory1 factory = {&factory_table};

/* ---- For the test ---- */

void com_reset(void) {
  memset(&com_script, 0, sizeof(com_script));
  memset(&texture_desc, 0, sizeof(texture_desc));
  calls[0] = '\0';
  references = 0;
}
const char *com_calls(void) {
  return calls;
}
int com_references(void) {
  return references;
}
struct com_texture_desc com_texture_desc(void) {
  return texture_desc;
}

int32_t com_create_factory(const void *iid, void **out) {
  note("CreateDXGIFactory1(%s)", IsEqualGUID((const GUID *)iid, &IID_IDXGIFactory1) ? "IDXGIFactory1" : "other");
  *out = NULL;
  if (FAILED(com_script.factory_result)) return com_script.factory_result;
  add_ref(&factory);
  *out = &factory;
  return S_OK;
}

int32_t com_create_device(void *adapter, int driver_type, void *software, unsigned flags, const void *levels,
                          unsigned level_count, unsigned sdk_version, void **device_out, void *level,
                          void **context_out) {
  note("D3D11CreateDevice(adapter%d, %d, %s, %u, %s, %u, %u, %s)", ((struct adapter *)adapter)->index, driver_type,
       software ? "software" : "null", flags, levels ? "levels" : "null", level_count, sdk_version,
       level ? "level" : "null");
  if (FAILED(com_script.device_result)) return com_script.device_result;
  *device_out = com_device();
  *context_out = com_context();
  return S_OK;
}

void *com_device(void) {
  add_ref(&device);
  return &device;
}
void *com_context(void) {
  add_ref(&context);
  return &context;
}
void *com_staging(void) {
  add_ref(&staging);
  return &staging;
}
