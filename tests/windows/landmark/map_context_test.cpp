// The read-back device on Direct3D 11: each branch with a fake Direct3D, its beginning on the system's own, and
// device loss in processes of their own.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <d3d11.h>
#include <dxgi.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "com_doubles.h"
#include "device_loss.h"
#include "fake_graphics.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"
#include "landmark/map_context.h"

using namespace vanta;
using namespace vanta_test;

namespace {

using Texts = std::vector<std::string>;

constexpr uint32_t kVendor = 0x10de;
constexpr uint32_t kDevice = 0x1234;

Texts ComCalls() {
  std::istringstream all(com_calls());
  Texts calls;
  for (std::string call; std::getline(all, call);) calls.push_back(call);
  return calls;
}

std::string Line(const char *format, void *object) {
  char text[100];
  std::snprintf(text, sizeof(text), format, object);
  return text;
}

void SetHostAdapter(uint32_t vendor, uint32_t device) {
  host_double::Change([=](HostSwitches &host) {
    host.adapter.vendor_id = vendor;
    host.adapter.device_id = device;
  });
}

class Direct3D : public testing::Test {
 protected:
  Direct3D() {
    com_reset();
    host_double::Reset();
  }
  std::vector<LogLine> Lines() const { return log_.Lines(); }

  ID3D11Device *device_ = nullptr;
  ID3D11DeviceContext *context_ = nullptr;
  LogCapture log_;
};

// ---- Creation, with fake DLLs ----

class DeviceOnFakeDirect3D : public Direct3D {
 protected:
  void SetUp() override {
    LoadFakeGraphics();
    com_script.adapters = 1;
    com_script.vendor_ids[0] = kVendor;
    com_script.device_ids[0] = kDevice;
    SetHostAdapter(kVendor, kDevice);
  }
  void TearDown() override {
    DestroyD3DDevice(&device_, &context_);
    EXPECT_EQ(com_references(), 0);
  }
  bool Create() { return CreateD3DDevice(&device_, &context_); }
  void ExpectFailure(const char *message) {
    EXPECT_FALSE(Create());
    EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_ERROR, message}}));
    EXPECT_EQ(device_, nullptr);
    EXPECT_EQ(context_, nullptr);
  }
};

TEST_F(DeviceOnFakeDirect3D, IsMadeOnTheHostsAdapterStepByStep) {
  ASSERT_TRUE(Create());
  EXPECT_EQ(ComCalls(),
            (Texts{"CreateDXGIFactory1(IDXGIFactory1)", "EnumAdapters(0)", "adapter0.GetDesc", "factory.Release",
                   "D3D11CreateDevice(adapter0, 0, null, 0, null, 0, 7, null)", "adapter0.Release"}));
}

TEST_F(DeviceOnFakeDirect3D, IsLoggedAndReported) {
  ASSERT_TRUE(Create());
  const std::string line = Line("Create D3D Device %p", device_);
  EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_INFO, line}}));
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>{{19, line}}));
}

TEST_F(DeviceOnFakeDirect3D, NeedsBothAddresses) {
  EXPECT_FALSE(CreateD3DDevice(nullptr, &context_));
  EXPECT_FALSE(CreateD3DDevice(&device_, nullptr));
  EXPECT_EQ(ComCalls(), Texts{});
}

TEST_F(DeviceOnFakeDirect3D, OfTwoLikeAdaptersTheFirstIsTaken) {
  com_script.adapters = 3;
  com_script.vendor_ids[0] = 0x8086;
  com_script.device_ids[0] = kDevice;
  for (int i : {1, 2}) {
    com_script.vendor_ids[i] = kVendor;
    com_script.device_ids[i] = kDevice;
  }
  ASSERT_TRUE(Create());
  EXPECT_EQ(ComCalls(), (Texts{"CreateDXGIFactory1(IDXGIFactory1)", "EnumAdapters(0)", "adapter0.GetDesc",
                               "adapter0.Release", "EnumAdapters(1)", "adapter1.GetDesc", "factory.Release",
                               "D3D11CreateDevice(adapter1, 0, null, 0, null, 0, 7, null)", "adapter1.Release"}));
}

TEST_F(DeviceOnFakeDirect3D, OneFieldAlikeIsNotEnough) {
  SetHostAdapter(kVendor, kDevice + 1);
  ExpectFailure("Find Adapters failed");
}

TEST_F(DeviceOnFakeDirect3D, AdapterThatIsGoneIsNotFound) {
  com_script.adapters = 0;
  ExpectFailure("Find Adapters failed");
}

TEST_F(DeviceOnFakeDirect3D, AdapterThatDoesNotTellWhatItIsIsPassedOver) {
  com_script.desc_result = E_FAIL;
  ExpectFailure("Find Adapters failed");
}

TEST_F(DeviceOnFakeDirect3D, FactoryThatCannotBeMadeIsToldOf) {
  com_script.factory_result = E_FAIL;
  ExpectFailure("CreateDXGIFactory1 failed");
}

TEST_F(DeviceOnFakeDirect3D, DeviceThatCannotBeMadeIsToldOf) {
  com_script.device_result = E_FAIL;
  ExpectFailure("D3D11CreateDevice failed");
}

TEST_F(DeviceOnFakeDirect3D, EndsAfterItsContextAndBothAreToldOf) {
  ASSERT_TRUE(Create());
  const std::string context_line = Line("Destroy D3D Context %p", context_);
  const std::string device_line = Line("Destroy D3D Device %p", device_);
  log_.Clear();
  const size_t before = ComCalls().size();
  DestroyD3DDevice(&device_, &context_);
  Texts calls = ComCalls();
  calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_EQ(calls, (Texts{"context.Release", "device.Release"}));
  EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_INFO, context_line}, {LOG_INFO, device_line}}));
  const std::vector<HostReport> reports = host_double::Reports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[1], (HostReport{19, context_line}));
  EXPECT_EQ(reports[2], (HostReport{19, device_line}));
  EXPECT_EQ(device_, nullptr);
  EXPECT_EQ(context_, nullptr);
}

TEST_F(Direct3D, EndOfNoDeviceIsNotTold) {
  DestroyD3DDevice(&device_, &context_);
  EXPECT_EQ(Lines(), std::vector<LogLine>{});
}

TEST_F(Direct3D, LibraryWithoutTheCallGivesNoDevice) {
  LoadFakeGraphicsWithoutDevices();
  EXPECT_FALSE(CreateD3DDevice(&device_, &context_));
  EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_ERROR, "Failed to load D3D11/DXGI procedures"}}));
}

// ---- Staging texture ----

class StagingOnFakeDirect3D : public Direct3D {
 protected:
  StagingOnFakeDirect3D() { device_ = static_cast<ID3D11Device *>(com_device()); }
  ~StagingOnFakeDirect3D() override {
    ReleaseStagingTexture(&texture_);
    EXPECT_EQ(com_references(), 1);
  }
  bool Create() { return CreateStagingTexture(640, 360, device_, &texture_); }

  ID3D11Texture2D *texture_ = nullptr;
};

TEST_F(StagingOnFakeDirect3D, IsMadeReadableAndKeptInMemory) {
  ASSERT_TRUE(Create());
  const struct com_texture_desc desc = com_texture_desc();
  EXPECT_EQ(desc.width, 640u);
  EXPECT_EQ(desc.height, 360u);
  EXPECT_EQ(desc.mip_levels, 1u);
  EXPECT_EQ(desc.array_size, 1u);
  EXPECT_EQ(desc.format, 28u);
  EXPECT_EQ(desc.sample_count, 1u);
  EXPECT_EQ(desc.sample_quality, 0u);
  EXPECT_EQ(desc.usage, 3u);
  EXPECT_EQ(desc.bind_flags, 0u);
  EXPECT_EQ(desc.cpu_access, 0x20000u);
  EXPECT_EQ(desc.misc_flags, 0u);
  EXPECT_EQ(desc.with_data, 0);
  EXPECT_EQ(ComCalls(),
            (Texts{"GetDeviceRemovedReason", "CreateTexture2D(640, 360)", "SetEvictionPriority(0xC8000000)"}));
}

TEST_F(StagingOnFakeDirect3D, NeedsADeviceAndAnAddress) {
  EXPECT_FALSE(CreateStagingTexture(640, 360, nullptr, &texture_));
  EXPECT_FALSE(CreateStagingTexture(640, 360, device_, nullptr));
  EXPECT_EQ(ComCalls(), Texts{});
}

TEST_F(StagingOnFakeDirect3D, IsNotMadeOnALostDevice) {
  com_script.removed_reason = DXGI_ERROR_DEVICE_HUNG;
  EXPECT_FALSE(Create());
  EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_ERROR, "CreateTexture failed: device removed."}}));
  EXPECT_EQ(ComCalls(), Texts{"GetDeviceRemovedReason"});
}

TEST_F(StagingOnFakeDirect3D, ThatCannotBeMadeIsToldOf) {
  com_script.texture_result = E_OUTOFMEMORY;
  EXPECT_FALSE(Create());
  EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_ERROR, "Failed to create texture"}}));
  EXPECT_EQ(texture_, nullptr);
}

TEST_F(StagingOnFakeDirect3D, IsClearedWhenReleased) {
  ASSERT_TRUE(Create());
  ReleaseStagingTexture(&texture_);
  EXPECT_EQ(texture_, nullptr);
  ReleaseStagingTexture(&texture_);
  ReleaseStagingTexture(nullptr);
}

// ---- Mapping ----

class MapOnFakeDirect3D : public Direct3D {
 protected:
  MapOnFakeDirect3D() {
    device_ = static_cast<ID3D11Device *>(com_device());
    context_ = static_cast<ID3D11DeviceContext *>(com_context());
  }
  ~MapOnFakeDirect3D() override { EXPECT_EQ(com_references(), 3) << "an interface that was opened is still held"; }
  bool Map() { return MapSharedHandleToCPU(7, 5, 6, device_, context_, staging_, &data_, &pitch_); }
  void ExpectError(const char *message) { EXPECT_EQ(Lines(), (std::vector<LogLine>{{LOG_ERROR, message}})); }

  ID3D11Texture2D *staging_ = static_cast<ID3D11Texture2D *>(com_staging());
  uint8_t *data_ = nullptr;
  uint32_t pitch_ = 0;
};

const Texts kCopiedUnderLock = {"OpenSharedResource(7, ID3D11Texture2D)",
                                "QueryInterface(IDXGIKeyedMutex)",
                                "AcquireSync(5, 200)",
                                "CopyResource(staging, shared)",
                                "ReleaseSync(6)",
                                "Map(staging, 0, read, 0)",
                                "Unmap(staging, 0)",
                                "mutex.Release",
                                "shared.Release"};

TEST_F(MapOnFakeDirect3D, CopiesUnderTheLockThenMapsAndUnmapsAtOnce) {
  EXPECT_TRUE(Map());
  EXPECT_EQ(ComCalls(), kCopiedUnderLock);
  EXPECT_EQ(data_, com_pixels);
  EXPECT_EQ(pitch_, COM_PITCH);
  EXPECT_EQ(Lines(), std::vector<LogLine>{});
}

TEST_F(MapOnFakeDirect3D, MissingArgumentIsRefusedWithoutACall) {
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, nullptr, context_, staging_, &data_, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, nullptr, staging_, &data_, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, context_, nullptr, &data_, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, context_, staging_, nullptr, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, context_, staging_, &data_, nullptr));
  EXPECT_EQ(ComCalls(), Texts{});
}

TEST_F(MapOnFakeDirect3D, HandleThatCannotBeOpenedIsToldOf) {
  com_script.open_result = E_INVALIDARG;
  EXPECT_FALSE(Map());
  ExpectError("OpenSharedResource failed: 0x80070057");
}

TEST_F(MapOnFakeDirect3D, HandleThatOpensNothingIsToldOf) {
  com_script.open_gives_null = 1;
  EXPECT_FALSE(Map());
  ExpectError("OpenSharedResource failed: 0x00000000");
}

TEST_F(MapOnFakeDirect3D, TextureWithoutAKeyedMutexIsToldOf) {
  com_script.query_result = E_NOINTERFACE;
  EXPECT_FALSE(Map());
  ExpectError("QueryInterface for IDXGIKeyedMutex failed: 0x80004002");
}

TEST_F(MapOnFakeDirect3D, RefusedLockIsToldOfAndNothingIsCopied) {
  com_script.acquire_result = E_FAIL;
  EXPECT_FALSE(Map());
  ExpectError("AcquireSync failed: 0x80004005");
  EXPECT_EQ(ComCalls(), (Texts{"OpenSharedResource(7, ID3D11Texture2D)", "QueryInterface(IDXGIKeyedMutex)",
                               "AcquireSync(5, 200)", "mutex.Release", "shared.Release"}));
}

TEST_F(MapOnFakeDirect3D, LockThatTimesOutPassesAsHeld) {
  com_script.acquire_result = WAIT_TIMEOUT;
  EXPECT_TRUE(Map());
  EXPECT_EQ(ComCalls(), kCopiedUnderLock);
  EXPECT_EQ(data_, com_pixels);
  EXPECT_EQ(Lines(), std::vector<LogLine>{});
}

TEST_F(MapOnFakeDirect3D, AbandonedLockPassesAsHeld) {
  com_script.acquire_result = WAIT_ABANDONED;
  EXPECT_TRUE(Map());
  EXPECT_EQ(data_, com_pixels);
}

TEST_F(MapOnFakeDirect3D, RefusedReleaseIsNotLookedAt) {
  com_script.release_result = E_FAIL;
  EXPECT_TRUE(Map());
  EXPECT_EQ(data_, com_pixels);
  EXPECT_EQ(Lines(), std::vector<LogLine>{});
}

TEST_F(MapOnFakeDirect3D, FailedMapGivesNoPictureButAdvancesTheKeys) {
  com_script.map_result = E_OUTOFMEMORY;
  EXPECT_TRUE(Map());
  EXPECT_EQ(data_, nullptr);
  EXPECT_EQ(pitch_, 0u);
  ExpectError("Map failed: 0x8007000E");
  EXPECT_EQ(ComCalls(), (Texts{"OpenSharedResource(7, ID3D11Texture2D)", "QueryInterface(IDXGIKeyedMutex)",
                               "AcquireSync(5, 200)", "CopyResource(staging, shared)", "ReleaseSync(6)",
                               "Map(staging, 0, read, 0)", "mutex.Release", "shared.Release"}));
}

// ---- Device loss, in a process of its own ----

// What its parent sees of it.
DWORD ExitCodeOf(const std::string &arguments) {
  std::string command = std::string("\"") + VANTA_TEST_DEVICE_LOSS + "\" " + arguments;
  STARTUPINFOA start{};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process{};
  const BOOL made =
      CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process);
  EXPECT_TRUE(made) << command << ": " << GetLastError();
  if (!made) return 0;
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code;
}

TEST(DeviceLoss, WhileOpeningEndsTheProcessWithTheResult) {
  EXPECT_EQ(ExitCodeOf("open 887A0005"), 0x887A0005u);
  EXPECT_EQ(ExitCodeOf("open 887A0007"), 0x887A0007u);
}

TEST(DeviceLoss, WhileMappingEndsTheProcessWithTheResult) {
  EXPECT_EQ(ExitCodeOf("map 887A0005"), 0x887A0005u);
  EXPECT_EQ(ExitCodeOf("map 887A0007"), 0x887A0007u);
}

TEST(DeviceLoss, AtTheStagingTextureDoesNotEndTheProcess) {
  EXPECT_EQ(ExitCodeOf("staging 887A0005"), static_cast<DWORD>(kSurvived));
  EXPECT_EQ(ExitCodeOf("staging 887A0007"), static_cast<DWORD>(kSurvived));
}

TEST(DeviceLoss, OtherFailuresDoNotEndTheProcess) {
  EXPECT_EQ(ExitCodeOf("open 887A0006"), static_cast<DWORD>(kSurvived));
  EXPECT_EQ(ExitCodeOf("map 887A0006"), static_cast<DWORD>(kSurvived + kSucceeded));
}

// ---- The system's own Direct3D ----

class RealDirect3D : public Direct3D {
 protected:
  void SetUp() override {
    HMODULE dxgi = LoadLibraryA("DXGI.dll");
    ASSERT_NE(dxgi, nullptr);
    using Create = HRESULT(WINAPI *)(REFIID, void **);
    const auto create = reinterpret_cast<Create>(reinterpret_cast<void *>(GetProcAddress(dxgi, "CreateDXGIFactory1")));
    ASSERT_NE(create, nullptr);
    void *factory = nullptr;
    ASSERT_GE(create(IID_IDXGIFactory1, &factory), 0);
    IDXGIAdapter *adapter = nullptr;
    ASSERT_GE(static_cast<IDXGIFactory1 *>(factory)->EnumAdapters(0, &adapter), 0);
    ASSERT_GE(adapter->GetDesc(&desc_), 0);
    adapter->Release();
    static_cast<IDXGIFactory1 *>(factory)->Release();
    SetHostAdapter(desc_.VendorId, desc_.DeviceId);
  }
  void TearDown() override { DestroyD3DDevice(&device_, &context_); }

  DXGI_ADAPTER_DESC desc_{};
};

TEST_F(RealDirect3D, DeviceIsMadeOnTheAdapterThatTheHostNames) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  ID3D11DeviceContext *own = nullptr;
  device_->GetImmediateContext(&own);
  EXPECT_EQ(own, context_);
  own->Release();
  EXPECT_EQ(host_double::Reports().size(), 1u);
}

TEST_F(RealDirect3D, AdapterThatIsNotThereIsNotFound) {
  SetHostAdapter(desc_.VendorId, desc_.DeviceId + 1);
  EXPECT_FALSE(CreateD3DDevice(&device_, &context_));
  EXPECT_TRUE(log_.Has(LOG_ERROR, "Find Adapters failed"));
}

TEST_F(RealDirect3D, StagingTextureIsMadeAsAsked) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  ID3D11Texture2D *staging = nullptr;
  ASSERT_TRUE(CreateStagingTexture(320, 240, device_, &staging));
  D3D11_TEXTURE2D_DESC desc;
  staging->GetDesc(&desc);
  EXPECT_EQ(desc.Width, 320u);
  EXPECT_EQ(desc.Height, 240u);
  EXPECT_EQ(desc.Usage, D3D11_USAGE_STAGING);
  ReleaseStagingTexture(&staging);
}

TEST_F(RealDirect3D, HandleThatNamesNothingIsRefused) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  ID3D11Texture2D *staging = nullptr;
  ASSERT_TRUE(CreateStagingTexture(16, 16, device_, &staging));
  uint8_t *data = nullptr;
  uint32_t pitch = 0;
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 0, device_, context_, staging, &data, &pitch));
  EXPECT_EQ(log_.LinesWith("OpenSharedResource failed: 0x").size(), 1u);
  ReleaseStagingTexture(&staging);
}

}  // namespace
