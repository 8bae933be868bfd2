// The landmark filter of the module's DLL: both roads into the runner, the second with a Direct3D on paper.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/paper_host.h"
#include "landmark/com_doubles.h"
#include "landmark/paper_graphics.h"
#include "module_dll.h"
#include "support/gs_recorder.h"
#include "support/host_double.h"
#include "support/log_capture.h"
#include "support/scripted_runner.h"
#include "support/wait.h"

using namespace vanta_test;

namespace {

constexpr uint32_t kVendor = 0x10de;
constexpr uint32_t kDevice = 0x1234;
// Small enough for the paper staging texture.
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
    EXPECT_EQ(scripted_runner::Alive(), 0);
    EXPECT_EQ(gs_recorder::Misuse(), std::vector<std::string>{});
  }

  void Create(bool gpu_road) {
    host_double::Change([=](HostSwitches &host) { host.async_gpu_map = gpu_road; });
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
    const std::vector<paper_host::ThreadName> names = paper_host::ThreadNames();
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

TEST_F(LandmarkFilter, PictureGoesToTheRunnerThroughDirect3D) {
  LoadPaperGraphics();
  com_script.adapters = 1;
  com_script.vendor_ids[0] = kVendor;
  com_script.device_ids[0] = kDevice;
  host_double::Change([](HostSwitches &host) {
    host.adapter.vendor_id = kVendor;
    host.adapter.device_id = kDevice;
  });
  std::fill(std::begin(com_pixels), std::end(com_pixels), uint8_t{255});
  Create(true);
  RenderUntil(HasRun, "a run");
  Destroy();
  const RunnerPicture picture = scripted_runner::Pictures().front();
  EXPECT_EQ(picture.width, static_cast<int>(kSourceWidth));
  EXPECT_EQ(picture.height, static_cast<int>(kSourceHeight));
  EXPECT_EQ(picture.y, std::vector<uint8_t>(size_t{kSourceWidth} * kSourceHeight, 235));
  const std::string calls = com_calls();
  EXPECT_NE(calls.find("OpenSharedResource(6, ID3D11Texture2D)\nQueryInterface(IDXGIKeyedMutex)\nAcquireSync(1, 200)\n"
                       "CopyResource(staging, shared)\nReleaseSync(0)\nMap(staging, 0, read, 0)\nUnmap(staging, 0)\n"),
            std::string::npos)
      << calls;
  EXPECT_EQ(com_references(), 0);
  EXPECT_TRUE(HasThread("TesseraLandmarkFilterGpuWorker"));
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
