#include "fake_graphics.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "com_doubles.h"

namespace vanta_test {
namespace {

using CreateFactory = int32_t (*)(const void *, void **);
using CreateDevice = int32_t (*)(void *, int, void *, unsigned, const void *, unsigned, unsigned, void **, void *,
                                 void **);

HMODULE LoadFakeDll(const char *file, const char *name) {
  HMODULE module = LoadLibraryA(file);
  EXPECT_NE(module, nullptr) << file;
  EXPECT_EQ(GetModuleHandleA(name), module) << "another " << name << " was there before";
  return module;
}

template <typename Call>
void Lead(HMODULE module, Call target) {
  auto *place = reinterpret_cast<Call *>(reinterpret_cast<void *>(GetProcAddress(module, "vanta_test_target")));
  ASSERT_NE(place, nullptr);
  *place = target;
}

}  // namespace

void LoadFakeGraphics() {
  Lead<CreateFactory>(LoadFakeDll(VANTA_TEST_FAKE_DXGI, "DXGI.dll"), &com_create_factory);
  Lead<CreateDevice>(LoadFakeDll(VANTA_TEST_FAKE_D3D11, "D3D11.dll"), &com_create_device);
}

void LoadFakeGraphicsWithoutDevices() {
  Lead<CreateFactory>(LoadFakeDll(VANTA_TEST_FAKE_DXGI, "DXGI.dll"), &com_create_factory);
  LoadFakeDll(VANTA_TEST_EMPTY_D3D11, "D3D11.dll");
}

}  // namespace vanta_test
