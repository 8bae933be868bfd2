// An engine that loses the memory of its frame under the graphics thread's hands.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <algorithm>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fixtures/process/log_capture.h"
#include "module_dll.h"

using namespace vanta_test;

namespace {

constexpr char kFaultLine[] = "[beauty][Gpu copy][FaceBeautyFilterWorker] Exception caught in gs_texture_set_image";

// The engine answers with a pixel buffer on pages of the test's.
class UploadFault : public testing::Test {
 protected:
  UploadFault() {
    dll_.Load();
    scripted_engine::Change([this](EngineScript &script) {
      script.out_format = 3;
      script.on_frame = [this](LX::FrameData &frame) {
        frame.planes[0] = pages_;
        frame.strides[0] = kWidth * 4;
      };
    });
  }
  ~UploadFault() override { VirtualFree(pages_, 0, MEM_RELEASE); }

  void Protect(DWORD protection) { ProtectFrom(0, protection); }
  void ProtectFrom(size_t begin, DWORD protection) {
    DWORD before;
    ASSERT_TRUE(VirtualProtect(pages_ + begin, kSize - begin, protection, &before));
  }
  // The latest frame is a pixel buffer, and its texture has the source's size.
  void DeliverAndRender(BeautyFilter &filter) {
    filter.VideoThroughEngine(MakeFrame(16, 1).get());
    const Frame next = MakeFrame(16, 2);
    filter.VideoThroughEngine(next.get());
    filter.Render();
  }
  static size_t Draws() { return gs_recorder::Count("gs_draw_sprite("); }

  static constexpr size_t kSize = size_t{kWidth} * kHeight * 4;
  uint8_t *const pages_ = static_cast<uint8_t *>(VirtualAlloc(nullptr, kSize, MEM_COMMIT, PAGE_READWRITE));
  LogCapture log_;
  ModuleDll dll_;
};

TEST_F(UploadFault, ReadablePixelsAreUploadedWithoutALine) {
  BeautyFilter filter;
  DeliverAndRender(filter);
  EXPECT_GE(gs_recorder::Count("gs_texture_set_image("), 1u);
  EXPECT_GE(Draws(), 1u);
  EXPECT_EQ(log_.Count(kFaultLine), 0u);
}

TEST_F(UploadFault, UnreadablePixelsAreLoggedAndDrawingGoesOn) {
  BeautyFilter filter;
  DeliverAndRender(filter);
  const size_t draws = Draws();
  Protect(PAGE_NOACCESS);
  filter.Render();
  EXPECT_TRUE(log_.Has(LOG_INFO, kFaultLine));
  EXPECT_EQ(Draws(), draws + 1);
  EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
}

TEST_F(UploadFault, PictureIsUploadedAgainWhenThePixelsAreBack) {
  BeautyFilter filter;
  DeliverAndRender(filter);
  Protect(PAGE_NOACCESS);
  filter.Render();
  Protect(PAGE_READWRITE);
  log_.Clear();
  gs_recorder::Clear();
  filter.Render();
  EXPECT_EQ(log_.Count(kFaultLine), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_texture_set_image("), 1u);
}

TEST_F(UploadFault, OldPictureStaysWhereTheNextOneIsLostInPart) {
  BeautyFilter filter;
  std::memset(pages_, 1, kSize);
  DeliverAndRender(filter);
  std::memset(pages_, 2, kSize);
  ProtectFrom(kSize - 4096, PAGE_NOACCESS);
  filter.Render();
  EXPECT_TRUE(log_.Has(LOG_INFO, kFaultLine));
  EXPECT_EQ(gs_recorder::DrawnPixels(), std::vector<uint8_t>(kSize, 1));
}

TEST_F(UploadFault, TextureIsUnmappedWhenThePixelsAreLostDuringTheUpload) {
  BeautyFilter filter;
  DeliverAndRender(filter);
  const size_t draws = Draws();
  gs_recorder::SetOnMap([this] { Protect(PAGE_NOACCESS); });
  filter.Render();
  EXPECT_TRUE(log_.Has(LOG_INFO, kFaultLine));
  EXPECT_EQ(gs_recorder::Count("gs_texture_unmap("), 1u);
  EXPECT_EQ(Draws(), draws + 1);
}

TEST_F(UploadFault, PictureIsUploadedAgainAfterPixelsWereLostDuringAnUpload) {
  BeautyFilter filter;
  DeliverAndRender(filter);
  gs_recorder::SetOnMap([this] { Protect(PAGE_NOACCESS); });
  filter.Render();
  gs_recorder::SetOnMap(nullptr);
  Protect(PAGE_READWRITE);
  std::memset(pages_, 3, kSize);
  filter.Render();
  EXPECT_EQ(gs_recorder::DrawnPixels(), std::vector<uint8_t>(kSize, 3));
  EXPECT_EQ(gs_recorder::Misuse(), std::vector<std::string>());
}

TEST_F(UploadFault, SourceIsSkippedThroughWhereNoPictureHasReachedTheTextureYet) {
  BeautyFilter filter;
  filter.VideoThroughEngine(MakeFrame(16, 1).get());
  filter.VideoThroughEngine(MakeFrame(16, 2).get());
  Protect(PAGE_NOACCESS);
  filter.Render();
  EXPECT_TRUE(log_.Has(LOG_INFO, kFaultLine));
  EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter(filter)"), 1u);
  EXPECT_EQ(Draws(), 0u);
}

TEST_F(UploadFault, EveryFrameThatFaultsIsLogged) {
  BeautyFilter filter;
  DeliverAndRender(filter);
  Protect(PAGE_NOACCESS);
  for (int i = 0; i < 3; ++i) filter.Render();
  EXPECT_EQ(log_.Count(kFaultLine), 3u);
}

}  // namespace
