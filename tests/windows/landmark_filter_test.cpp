// The landmark filter of the module's DLL: both paths into the runner, the second with a fake Direct3D.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fakes/runner/scripted_runner.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "host/fake_host.h"
#include "landmark/com_doubles.h"
#include "landmark/fake_graphics.h"
#include "module_dll.h"

using namespace vanta_test;

namespace {

constexpr uint32_t kVendor = 0x10de;
constexpr uint32_t kDevice = 0x1234;
constexpr char kConfigFolder[] = "C:\\config\\";
// Small enough for the fake staging texture.
constexpr uint32_t kSourceWidth = 4;
constexpr uint32_t kSourceHeight = 2;

class LandmarkFilter : public testing::Test {
 protected:
  LandmarkFilter() {
    dll_.Load();
    com_reset();
    parent_.name = "parent";
    parent_.width = kSourceWidth;
    parent_.height = kSourceHeight;
    target_.name = "target";
    filter_.name = "filter";
    filter_.id = "tessera_landmark_filter";
    filter_.parent = &parent_;
    filter_.target = &target_;
    RunnerScript script;
    script.tree = [] { return FaceTree({ScriptedFace()}); };
    scripted_runner::SetScript(script);
  }
  ~LandmarkFilter() override {
    Destroy();
    fake_host::SetConfigFolder(kConfigFolder);
    EXPECT_EQ(scripted_runner::Alive(), 0);
    EXPECT_EQ(gs_recorder::Misuse(), std::vector<std::string>{});
  }

  // With an adapter that is the host's, and every pixel red.
  void UseFakeGraphics() {
    LoadFakeGraphics();
    com_script.adapters = 1;
    com_script.vendor_ids[0] = kVendor;
    com_script.device_ids[0] = kDevice;
    host_double::Change([](HostSwitches &host) {
      host.adapter.vendor_id = kVendor;
      host.adapter.device_id = kDevice;
    });
    for (size_t i = 0; i < sizeof(com_pixels); ++i) com_pixels[i] = i % 4 == 0 || i % 4 == 3 ? 255 : 0;
  }
  void SetSize(uint32_t width, uint32_t height) {
    parent_.width = width;
    parent_.height = height;
  }
  void Create(bool gpu_path) {
    host_double::Change([=](HostSwitches &host) { host.async_gpu_map = gpu_path; });
    record_ = host_double::Registered("tessera_landmark_filter");
    const gs_recorder::InGraphics inside;
    instance_ = record_.create(nullptr, &filter_);
    ASSERT_NE(instance_, nullptr);
  }
  void Destroy() {
    if (!instance_) return;
    record_.filter_remove(instance_, &parent_);
    record_.destroy(instance_);
    instance_ = nullptr;
  }
  void Render() {
    const gs_recorder::InGraphics inside;
    record_.video_render(instance_, nullptr);
  }
  // The filter captures fifteen times a second by the real clock.
  void RenderUntil(const std::function<bool()> &condition, const char *what) {
    WaitUntil(
        [&] {
          Render();
          return condition();
        },
        what);
  }
  static bool HasRun() { return scripted_runner::Runs() > 0; }
  static bool HasThread(const std::string &name) {
    const std::vector<fake_host::ThreadName> names = fake_host::ThreadNames();
    return std::any_of(names.begin(), names.end(), [&](const auto &each) { return each.name == name; });
  }

  LogCapture log_;
  ModuleDll dll_;
  obs_source parent_;
  obs_source target_;
  obs_source filter_;
  HostSourceInfo record_{};
  void *instance_ = nullptr;
};

TEST_F(LandmarkFilter, PictureGoesToTheRunnerThroughMemory) {
  Create(false);
  RenderUntil(HasRun, "a run");
  const RunnerPicture picture = scripted_runner::Pictures().front();
  EXPECT_EQ(picture.width, static_cast<int>(kSourceWidth));
  EXPECT_EQ(picture.height, static_cast<int>(kSourceHeight));
  EXPECT_TRUE(HasThread("TesseraLandmarkFilterWorker"));
  EXPECT_FALSE(HasThread("TesseraLandmarkFilterGpuWorker"));
}

TEST_F(LandmarkFilter, ModelsAreLookedForInTheCodePage) {
  Create(false);
  RenderUntil(HasRun, "a run");
  const std::vector<std::string> texts = scripted_runner::Texts();
  EXPECT_NE(
      std::find(texts.begin(), texts.end(),
                "setModelFolderPath(C:\\config\\VantaLive\\basic\\default\\CorvidModel/magic_qnet_model_landmark)"),
      texts.end());
}

TEST_F(LandmarkFilter, ModelFolderOutsideAsciiIsGivenInTheCodePage) {
  const std::string config = "C:\\K\xC3\xB6nfig\\";
  char in_code_page[32] = {};
  ASSERT_NE(
      WideCharToMultiByte(CP_ACP, 0, L"C:\\K\u00F6nfig\\", -1, in_code_page, sizeof(in_code_page), nullptr, nullptr),
      0);
  ASSERT_NE(in_code_page, config) << "the code page is UTF-8";
  fake_host::SetConfigFolder(config);
  Create(false);
  RenderUntil(HasRun, "a run");
  const std::string models = std::string(in_code_page) + "VantaLive\\basic\\default\\CorvidModel";
  const std::vector<std::string> texts = scripted_runner::Texts();
  for (const std::string &text : {"setModelFolderPath(" + models + "/magic_qnet_model_landmark)",
                                  "setModelFilePaths(" + models + "/magic_qnet_model_landmark/landmarks_cfg.txt)"})
    EXPECT_NE(std::find(texts.begin(), texts.end(), text), texts.end()) << text;
}

TEST_F(LandmarkFilter, PictureGoesToTheRunnerThroughDirect3D) {
  UseFakeGraphics();
  Create(true);
  RenderUntil(HasRun, "a run");
  Destroy();
  const RunnerPicture picture = scripted_runner::Pictures().front();
  EXPECT_EQ(picture.width, static_cast<int>(kSourceWidth));
  EXPECT_EQ(picture.height, static_cast<int>(kSourceHeight));
  for (const uint8_t byte : picture.y) EXPECT_NEAR(byte, 82, 1);
  for (const uint8_t byte : picture.u) EXPECT_NEAR(byte, 90, 1);
  for (const uint8_t byte : picture.v) EXPECT_NEAR(byte, 240, 1);
  const std::string calls = com_calls();
  EXPECT_NE(calls.find("OpenSharedResource(6, ID3D11Texture2D)\nQueryInterface(IDXGIKeyedMutex)\nAcquireSync(1, 200)\n"
                       "CopyResource(staging, shared)\nReleaseSync(0)\nMap(staging, 0, read, 0)\nUnmap(staging, 0)\n"),
            std::string::npos)
      << calls;
  EXPECT_EQ(com_references(), 0);
  EXPECT_TRUE(HasThread("TesseraLandmarkFilterGpuWorker"));
}

TEST_F(LandmarkFilter, NewSizeReplacesTheStagingTextureBeforeTheTextureIsOpened) {
  UseFakeGraphics();
  Create(true);
  RenderUntil(HasRun, "a run");
  for (const auto &[width, height] : {std::pair{4, 4}, {8, 4}}) {
    SetSize(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    RenderUntil(
        [w = width, h = height] {
          const RunnerPicture picture = scripted_runner::Pictures().back();
          return picture.width == w && picture.height == h;
        },
        "a run in the new size");
  }
  Destroy();
  const std::string calls = com_calls();
  const std::string made = "GetDeviceRemovedReason\nCreateTexture2D(";
  const std::string opened = ")\nSetEvictionPriority(0xC8000000)\nOpenSharedResource(";
  for (const std::string &part : {made + "4, 2" + opened, "staging.Release\n" + made + "4, 4" + opened,
                                  "staging.Release\n" + made + "8, 4" + opened})
    EXPECT_NE(calls.find(part), std::string::npos) << part << "is not in\n" << calls;
  EXPECT_EQ(com_references(), 0);
}

TEST_F(LandmarkFilter, TextureWithoutAStagingTextureKeepsItsKey) {
  UseFakeGraphics();
  com_script.texture_result = E_OUTOFMEMORY;
  Create(true);
  // The first texture comes round again after the six of the pool.
  RenderUntil([] { return gs_recorder::Count("gs_texture_acquire_sync(") >= 7; }, "a second round");
  Destroy();
  EXPECT_EQ(gs_recorder::Count("gs_texture_acquire_sync(texture6, 1, "), 1u);
  EXPECT_EQ(scripted_runner::Runs(), 0u);
}

TEST_F(LandmarkFilter, WithoutTheHostsAdapterItShowsThePictureAndFindsNothing) {
  Create(true);  // on Wine's own Direct3D, whose adapter has another number
  ASSERT_TRUE(log_.WaitFor(LOG_ERROR, "Create D3D device or context failed!"));
  EXPECT_TRUE(log_.Has(LOG_ERROR, "Find Adapters failed"));
  ASSERT_TRUE(WaitUntil([] { return host_double::Reports().size() >= 2; }, "reports"));  // each after its line
  const std::vector<HostReport> reports = host_double::Reports();
  EXPECT_EQ(reports, (std::vector<HostReport>{{19, "use gpu map."}, {19, "Create D3D device or context failed!"}}));
  RenderUntil([] { return gs_recorder::Count("gs_texrender_begin(") >= 2; }, "captures");
  EXPECT_EQ(scripted_runner::Runs(), 0u);
}

}  // namespace
