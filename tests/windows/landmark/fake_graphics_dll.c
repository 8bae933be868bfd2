/* Fakes of DXGI.dll and D3D11.dll: each call goes on to a function of the test's. Built once as each DLL, and once with
 * neither call. */
#include <windows.h>

typedef HRESULT(WINAPI *create_factory_call)(const void *iid, void **factory);
typedef HRESULT(WINAPI *create_device_call)(void *, int, void *, unsigned, const void *, unsigned, unsigned, void **,
                                            void *, void **);

#if defined(VANTA_TEST_DXGI)
__declspec(dllexport) create_factory_call vanta_test_target;
__declspec(dllexport) HRESULT WINAPI CreateDXGIFactory1(const void *iid, void **factory) {
  return vanta_test_target(iid, factory);
}
#elif defined(VANTA_TEST_D3D11)
__declspec(dllexport) create_device_call vanta_test_target;
__declspec(dllexport) HRESULT WINAPI
    D3D11CreateDevice(void *adapter, int driver_type, void *software, unsigned flags, const void *levels,
                      unsigned level_count, unsigned sdk_version, void **device, void *level, void **context) {
  return vanta_test_target(adapter, driver_type, software, flags, levels, level_count, sdk_version, device, level,
                           context);
}
#else
__declspec(dllexport) int vanta_test_nothing;
#endif
