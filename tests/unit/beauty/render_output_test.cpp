// What video_render draws, call by call.
#include "engine/lumivex_render.h"
#include "fakes/call_order.h"
#include "fixtures/module/filter_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kError;
using vanta_test::kInfo;
using vanta_test::kWarning;
constexpr char kTag[] = "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  ";

class RenderOutput : public FilterFixture {
 protected:
  void SetUp() override { CreateFilter(); }

  // A pixel buffer of RGBA at the source's size.
  void DeliverPixelBuffer(int32_t format = 3) {
    AnswerWithPixels();
    Deliver(format);
  }
  void AnswerWithPixels() {
    scripted_engine::Change([this](EngineScript &script) {
      script.on_frame = [this](LX::FrameData &frame) {
        frame.planes[0] = pixels_.data();
        frame.strides[0] = frame.width * 4;
      };
    });
  }
  void DeliverSharedTexture(uint64_t handle, uint64_t key) {
    texture_ = std::make_shared<ScriptedTexture>(handle, key);
    scripted_engine::Change([this](EngineScript &script) { script.shared_texture = texture_; });
    Deliver(5);
    scripted_engine::ClearCalls();
  }
  // The calls of one render, without the worker thread's own.
  Texts RenderCalls() {
    gs_recorder::Clear();
    Render();
    EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
    EXPECT_EQ(gs_recorder::Misuse(), Texts{});
    return gs_recorder::CallsWithout({"obs_find_module_file"});
  }
  // Of the calls of one render, those that begin so, the engine's texture's and the host's in one order.
  Texts CallsInOrder(const Texts &prefixes) {
    call_order::Clear();
    Render();
    Texts calls = call_order::Calls();
    std::erase_if(calls, [&](const std::string &call) {
      return std::none_of(prefixes.begin(), prefixes.end(),
                          [&](const std::string &prefix) { return call.rfind(prefix, 0) == 0; });
    });
    return calls;
  }
  static HostReport FallbackReport(const char *reason) {
    return {12, std::string("{\"fall_back_to_nv12\":true,\"reason\":\"") + reason + "\"}"};
  }
  static void SetChainRender(bool on) {
    host_double::Change([on](HostSwitches &switches) { switches.jump_texture_render = !on; });
  }

  std::vector<uint8_t> pixels_ = std::vector<uint8_t>(size_t{kWidth} * kHeight * 4, 7);
  std::shared_ptr<ScriptedTexture> texture_;
};

// ---- Skipping ----

TEST_F(RenderOutput, SourceIsSkippedThroughBeforeTheFirstDelivery) {
  EXPECT_EQ(RenderCalls(), (Texts{"obs_filter_get_parent(filter)", "obs_source_skip_video_filter(filter)"}));
}

TEST_F(RenderOutput, MemoryFrameIsSkippedThrough) {
  Deliver(1);
  EXPECT_EQ(RenderCalls(), (Texts{"obs_filter_get_parent(filter)", "obs_source_skip_video_filter(filter)"}));
}

TEST_F(RenderOutput, EveryOtherTypeIsSkippedThrough) {
  for (const int32_t type : {-1, 0, 2, 6, 77}) {
    data().frame_type = type;
    EXPECT_EQ(RenderCalls().back(), "obs_source_skip_video_filter(filter)") << type;
  }
}

TEST_F(RenderOutput, FilterWithoutAParentIsNotSkipped) {
  filter_.parent = nullptr;
  EXPECT_EQ(RenderCalls(), (Texts{"obs_filter_get_parent(filter)"}));
}

TEST_F(RenderOutput, MemoryFrameOnAGpuPathFallsBackAndReportsEachTime) {
  DeliverPixelBuffer();
  data().bgra_frame->pixel_format = 1;
  EXPECT_EQ(RenderCalls().back(), "obs_source_skip_video_filter(filter)");
  Render();
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>{{12, "{\"lx_enable_nvdx_interop\":false}"},
                                                             FallbackReport("format_nv12"),
                                                             FallbackReport("format_nv12")}));
  EXPECT_TRUE(vanta::LumivexRender::IsFallbackToNV12());
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] FallbackToNV12"), 1u);
}

// ---- Upload ----

TEST_F(RenderOutput, PixelBufferIsUploadedAndDrawn) {
  DeliverPixelBuffer();
  EXPECT_EQ(
      RenderCalls(),
      (Texts{"obs_filter_get_target(filter)", "obs_filter_get_parent(filter)", "obs_source_get_base_width(parent)",
             "obs_source_get_base_height(parent)", "gs_viewport_push()", "gs_projection_push()",
             // The texture of `create` goes on the first render.
             "gs_texrender_destroy(null)", "gs_texrender_create(GS_RGBA, GS_ZS_NONE)", "obs_enter_graphics()",
             "gs_texture_destroy(texture1)", "gs_texture_create(64, 48, GS_RGBA, 1, null, GS_DYNAMIC)",
             "obs_leave_graphics()",
             // Upload and draw.
             "gs_texture_set_image(texture2, data, 256, 0)", "gs_effect_get_param_by_name(effect1, image)",
             "gs_effect_set_texture(image, texture2)", "gs_effect_loop(effect1, Draw)",
             "gs_draw_sprite(texture2, 0, 64, 48)", "gs_effect_loop(effect1, Draw)", "gs_projection_pop()",
             "gs_viewport_pop()"}));
  EXPECT_EQ(data().texture->pixels, pixels_);
}

TEST_F(RenderOutput, TypeFourIsUploadedLikeTypeThree) {
  DeliverPixelBuffer(4);
  const Texts calls = RenderCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "gs_texture_set_image(texture2, data, 256, 0)"), 1);
}

TEST_F(RenderOutput, SecondRenderOfOneSizeMakesNothingAnew) {
  DeliverPixelBuffer();
  RenderCalls();
  EXPECT_EQ(RenderCalls(),
            (Texts{"obs_filter_get_target(filter)", "obs_filter_get_parent(filter)",
                   "obs_source_get_base_width(parent)", "obs_source_get_base_height(parent)", "gs_viewport_push()",
                   "gs_projection_push()", "gs_texture_set_image(texture2, data, 256, 0)",
                   "gs_effect_get_param_by_name(effect1, image)", "gs_effect_set_texture(image, texture2)",
                   "gs_effect_loop(effect1, Draw)", "gs_draw_sprite(texture2, 0, 64, 48)",
                   "gs_effect_loop(effect1, Draw)", "gs_projection_pop()", "gs_viewport_pop()"}));
}

TEST_F(RenderOutput, NewSourceSizeReplacesTargetAndTextureOnTheNextRender) {
  DeliverPixelBuffer();
  RenderCalls();
  parent_.width = 32;
  parent_.height = 16;
  const Texts calls = RenderCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "gs_texrender_destroy(texrender1)"), 1);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "gs_texture_destroy(texture2)"), 1);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "gs_texture_create(32, 16, GS_RGBA, 1, null, GS_DYNAMIC)"), 1);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 3u);  // effect, target, texture
}

TEST_F(RenderOutput, FlippedInputIsUploadedUpsideDown) {
  DeliverPixelBuffer();
  data().flip = true;
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_texture_set_image(texture2, data, 256, 1)"), 1u);
}

TEST_F(RenderOutput, PixelsTooFewForTheTextureAreNotRead) {
  DeliverPixelBuffer();
  parent_.width = kWidth * 2;  // the source has grown, the pixels are of an older frame
  parent_.height = kHeight * 2;
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_texture_set_image"), 0u);
}

TEST_F(RenderOutput, SourceThatHasGrownIsSkippedThroughUntilAFrameOfItsSizeComes) {
  DeliverPixelBuffer();
  RenderCalls();
  parent_.width = kWidth * 2;
  parent_.height = kHeight * 2;
  for (int i = 0; i < 2; ++i) {
    RenderCalls();
    EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter(filter)"), 1u) << i;
    EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 0u) << "the new texture holds nothing yet";
  }
  pixels_.assign(size_t{parent_.width} * parent_.height * 4, 9);
  Pass(3, parent_.width, parent_.height);  // takes the last frame of the old size out
  ASSERT_TRUE(Pass(4, parent_.width, parent_.height));
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite(texture3, 0, 128, 96)"), 1u);
  EXPECT_EQ(gs_recorder::DrawnPixels(), pixels_);
}

TEST_F(RenderOutput, PixelBufferWithoutPixelsIsDrawnWithTheOldContent) {
  DeliverPixelBuffer();
  RenderCalls();
  data().bgra_frame->planes[0] = nullptr;
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_texture_set_image"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 1u);
  EXPECT_EQ(gs_recorder::DrawnPixels(), pixels_);
}

TEST_F(RenderOutput, PixelBufferWithoutPixelsIsSkippedThroughBeforeTheFirstUpload) {
  DeliverPixelBuffer();
  data().bgra_frame->planes[0] = nullptr;
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter(filter)"), 1u);
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 0u);
}

TEST_F(RenderOutput, SourceOfNoHeightUploadsNothing) {
  DeliverPixelBuffer();
  parent_.height = 0;
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_texture_set_image"), 0u);
}

TEST_F(RenderOutput, EffectWithTwoPassesDrawsTwice) {
  DeliverPixelBuffer();
  gs_recorder::SetEffectPasses(2);
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 2u);
}

TEST_F(RenderOutput, ParentLostMeanwhileEndsWithoutASkip) {
  DeliverPixelBuffer();
  filter_.parent = nullptr;
  EXPECT_EQ(RenderCalls(), (Texts{"obs_filter_get_target(filter)", "obs_filter_get_parent(filter)"}));
}

// ---- The upstream chain ----

TEST_F(RenderOutput, ChainIsRenderedIntoTheTarget) {
  SetChainRender(true);
  DeliverPixelBuffer();
  RenderCalls();
  const Texts calls = RenderCalls();
  const auto reset = std::find(calls.begin(), calls.end(), "gs_texrender_reset(texrender1)");
  ASSERT_NE(reset, calls.end());
  EXPECT_EQ(Texts(reset, reset + 7), (Texts{"gs_texrender_reset(texrender1)", "gs_texrender_begin(texrender1, 64, 48)",
                                            "gs_clear(GS_CLEAR_COLOR, (1, 0, 0, 1), 0, 0)",
                                            "gs_ortho(0, 64, 0, 48, -100, 100)", "gs_set_viewport(0, 0, 64, 48)",
                                            "obs_source_video_render(target)", "gs_texrender_end(texrender1)"}));
}

TEST_F(RenderOutput, ChainThatCannotBeginIsLeftOutAndTheFrameIsDrawn) {
  SetChainRender(true);
  DeliverPixelBuffer();
  gs_recorder::FailAll("gs_texrender_begin");
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("obs_source_video_render"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_texrender_end"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 1u);
}

TEST_F(RenderOutput, HostCanSaveTheChain) {
  SetChainRender(false);
  DeliverPixelBuffer();
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_texrender_reset"), 0u);
  EXPECT_EQ(gs_recorder::Count("obs_source_video_render"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 1u);
}

// ---- Shared textures ----

TEST_F(RenderOutput, SharedTextureIsDrawnUnderItsKey) {
  DeliverSharedTexture(0x1234, 5);
  RenderCalls();
  const Texts calls = RenderCalls();
  EXPECT_EQ(calls, (Texts{"obs_filter_get_target(filter)", "obs_filter_get_parent(filter)",
                          "obs_source_get_base_width(parent)", "obs_source_get_base_height(parent)",
                          "gs_viewport_push()", "gs_projection_push()", "obs_get_base_effect(OBS_EFFECT_DEFAULT)",
                          "gs_texture_acquire_sync(shared1, 6, 4294967295)", "gs_effect_loop(base effect, Draw)",
                          "obs_source_draw(shared1, 0, 0, 0, 0, 0)", "gs_effect_loop(base effect, Draw)",
                          "gs_texture_release_sync(shared1, 7)", "gs_projection_pop()", "gs_viewport_pop()"}));
  EXPECT_EQ(texture_->Key(), 7u);
}

TEST_F(RenderOutput, EngineIsWaitedForBeforeTheTextureIsOpenedAndItsKeyReadAfter) {
  DeliverSharedTexture(0x1234, 5);
  EXPECT_EQ(CallsInOrder({"waitSync", "gs_texture_open_shared", "getKeyValue"}),
            (Texts{"waitSync()", "gs_texture_open_shared(4660)", "getKeyValue()"}));
}

TEST_F(RenderOutput, TextureIsReleasedBeforeTheEngineLearnsOfTheNextKey) {
  DeliverSharedTexture(0x1234, 5);
  EXPECT_EQ(
      CallsInOrder({"obs_source_draw", "gs_texture_release_sync", "setKeyValue"}),
      (Texts{"obs_source_draw(shared1, 0, 0, 0, 0, 0)", "gs_texture_release_sync(shared1, 6)", "setKeyValue(6)"}));
}

TEST_F(RenderOutput, HandleIsOpenedOnceAndStaysOpenUntilDestroy) {
  DeliverSharedTexture(0x1234, 1);
  for (int i = 0; i < 3; ++i) Render();
  EXPECT_EQ(gs_recorder::Count("gs_texture_open_shared"), 1u);
  texture_.reset();
  DestroyFilter();
  EXPECT_EQ(gs_recorder::Count("gs_texture_destroy(shared1)"), 1u);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

TEST_F(RenderOutput, HandlesThatDifferInTheHighWordAreKeptApart) {
  DeliverSharedTexture(0x1'0000'0007, 1);
  Render();
  DeliverSharedTexture(0x2'0000'0007, 1);
  Render();
  EXPECT_EQ(data().shared_textures.size(), 2u);
  EXPECT_EQ(data().shared_textures.count(0x1'0000'0007), 1u);
  for (const auto &[handle, texture] : data().shared_textures) EXPECT_EQ(texture->shared_handle, 7u);
}

TEST_F(RenderOutput, KeyZeroMeansNoLock) {
  DeliverSharedTexture(0x1234, 0);
  Render();
  EXPECT_EQ(gs_recorder::Count("gs_texture_acquire_sync"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_texture_release_sync"), 0u);
  EXPECT_EQ(gs_recorder::Count("obs_source_draw(shared1"), 1u);
  EXPECT_EQ(texture_->Key(), 0u);
}

TEST_F(RenderOutput, FailedLockDrawsNothingAndLeavesTheKey) {
  DeliverSharedTexture(0x1234, 5);
  gs_recorder::SetAcquireResult(258);
  RenderCalls();
  EXPECT_TRUE(log_.Has(kWarning, std::string(kTag) + "gs_texture_acquire_sync failed, ret=258, skip"));
  EXPECT_EQ(gs_recorder::Count("obs_source_draw"), 0u);
  EXPECT_EQ(gs_recorder::Count("gs_texture_release_sync"), 0u);
  EXPECT_EQ(texture_->Key(), 5u);
}

TEST_F(RenderOutput, FrameAfterAFailedLockUsesTheSameKey) {
  DeliverSharedTexture(0x1234, 5);
  gs_recorder::SetAcquireResult(-1);
  RenderCalls();
  gs_recorder::SetAcquireResult(0);
  RenderCalls();
  EXPECT_EQ(gs_recorder::Count("gs_texture_acquire_sync(shared1, 5, 4294967295)"), 1u);
  EXPECT_EQ(gs_recorder::Count("obs_source_draw(shared1"), 1u);
  EXPECT_EQ(texture_->Key(), 6u);
}

TEST_F(RenderOutput, FailedLockFallsBackOnNothing) {
  DeliverSharedTexture(0x1234, 5);
  const std::vector<HostReport> before = host_double::Reports();
  gs_recorder::SetAcquireResult(258);
  RenderCalls();
  EXPECT_EQ(host_double::Reports(), before);
  EXPECT_FALSE(vanta::LumivexRender::IsFallbackToNV12());
}

TEST_F(RenderOutput, HostThatSavesTheChainStillGetsTheSharedTexture) {
  for (const bool chain : {true, false}) {
    SetChainRender(chain);
    DeliverSharedTexture(0x1234, 0);
    RenderCalls();
    EXPECT_EQ(gs_recorder::Count("obs_source_video_render(target)"), chain ? 1u : 0u);
    EXPECT_EQ(gs_recorder::Count("obs_source_draw(shared1"), 1u);
  }
}

TEST_F(RenderOutput, FlippedInputIsDrawnFlipped) {
  DeliverSharedTexture(0x1234, 0);
  data().flip = true;
  Render();
  EXPECT_EQ(gs_recorder::Count("obs_source_draw(shared1, 0, 0, 0, 0, 1)"), 1u);
}

TEST_F(RenderOutput, MissingFrameIsAWarning) {
  DeliverSharedTexture(0x1234, 1);
  data().bgra_frame = nullptr;
  RenderCalls();
  EXPECT_TRUE(log_.Has(kWarning, std::string(kTag) + "bgra_frame is null"));
  EXPECT_EQ(gs_recorder::Count("obs_source_draw"), 0u);
}

TEST_F(RenderOutput, MissingTextureIsAWarning) {
  Deliver(5);
  RenderCalls();
  EXPECT_TRUE(log_.Has(kWarning, std::string(kTag) + "output_texture is null"));
}

TEST_F(RenderOutput, EmptyHandleFallsBack) {
  DeliverSharedTexture(0, 1);
  RenderCalls();
  EXPECT_TRUE(log_.Has(kError, std::string(kTag) + "handle empty, downgrade to mem copy"));
  EXPECT_EQ(host_double::Reports().back(), FallbackReport("handle empty"));
  EXPECT_TRUE(vanta::LumivexRender::IsFallbackToNV12());
  EXPECT_EQ(texture_->Waits(), 0);
}

TEST_F(RenderOutput, HandleThatCannotBeOpenedFallsBack) {
  DeliverSharedTexture(0x1234, 1);
  gs_recorder::FailAll("gs_texture_open_shared");
  RenderCalls();
  EXPECT_TRUE(log_.Has(kError, std::string(kTag) + "gs_texture_open_shared failed, downgrade to mem copy"));
  EXPECT_EQ(host_double::Reports().back(), FallbackReport("gs_texture_open_shared failed"));
  EXPECT_TRUE(data().shared_textures.empty());
  EXPECT_EQ(texture_->Waits(), 1);
}

TEST_F(RenderOutput, FramesAfterAFallBackAskForMemory) {
  DeliverSharedTexture(0, 1);
  Render();
  scripted_engine::Change([](EngineScript &script) {
    script.out_format = 1;
    script.shared_texture = nullptr;
  });
  Pass();
  EXPECT_EQ(scripted_engine::Texts().back(), "processFrameData(64x48, format -1, rotation 0, flip 0)");
  EXPECT_TRUE(host_double::Switches().shared_texture_fallback);
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] fall back change from 0 to 1"));
}

// ---- Each call failing in turn ----

class RenderFailure : public RenderOutput {
 protected:
  // Renders so often, each time with the next call failing; afterwards renders soundly.
  void FailEachCall(const char *draw) {
    gs_recorder::FailCall(0);
    Render();
    const size_t calls = gs_recorder::CallsSinceFailCall();
    ASSERT_GT(calls, 10u);
    for (size_t k = 1; k <= calls + 5; ++k) {
      SCOPED_TRACE("call " + std::to_string(k));
      data().width = 0;  // as on a first render: target and texture are made anew
      gs_recorder::FailCall(k);
      Render();
      EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
      EXPECT_EQ(gs_recorder::GraphicsDepth(), 0);
      EXPECT_EQ(gs_recorder::Misuse(), Texts{});
      gs_recorder::FailCall(0);
      data().width = 0;
      gs_recorder::Clear();
      Render();
      EXPECT_EQ(gs_recorder::Count(draw), 1u) << "the picture did not come back";
    }
  }
};

TEST_F(RenderFailure, UploadPathBearsEachOne) {
  SetChainRender(true);
  DeliverPixelBuffer();
  FailEachCall("gs_draw_sprite");
}

TEST_F(RenderFailure, SharedTexturePathBearsEachOne) {
  SetChainRender(true);
  DeliverSharedTexture(0x1234, 1);
  FailEachCall("obs_source_draw");
}

TEST_F(RenderFailure, LostEffectParameterIsBorne) {
  DeliverPixelBuffer();
  gs_recorder::SetEffectHasParameters(false);
  RenderCalls();
}

TEST_F(RenderFailure, CreationBearsALostTextureAndLaterMakesItAnew) {
  DestroyFilter();
  passes_ = 0;
  host_double::ClearCalls();
  gs_recorder::FailAll("gs_texture_create");
  CreateFilter();
  EXPECT_EQ(data().texture, nullptr);
  DeliverPixelBuffer();
  Render();
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 0u);
  gs_recorder::AllowAll();
  parent_.width = 60;
  Render();
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 1u);
}

}  // namespace
