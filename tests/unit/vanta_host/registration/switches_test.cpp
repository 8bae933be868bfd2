
#include <gtest/gtest.h>
#include <obs.hpp>

#include "fakes/control/fake_filter.h"
#include "fakes/graphics/scripted_driver.h"
#include "fixtures/host/headless_session.h"
#include "registration/registration.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

struct Case {
  vanta_host_switch which;
  bool (*asked)();
  bool at_first;
  const char *name;
};

const Case kCases[] = {
    {VANTA_SWITCH_ASYNC_BEAUTY, EnableAsyncBeautyOption, true, "async-commands"},
    {VANTA_SWITCH_CREATE_GL_CONTEXT, EnableCreateLXGLContext, true, "gl-context"},
    {VANTA_SWITCH_DESTROY_GL_WINDOW, EnableDestroyGLFWWindow, true, "destroy-gl-window"},
    {VANTA_SWITCH_FRAME_FLIP, EnableOBSFrameFilp, true, "frame-flip"},
    {VANTA_SWITCH_JUMP_TEXTURE_RENDER, JumpTextureRenderEnable, true, "skip-chain-render"},
    {VANTA_SWITCH_ASYNC_GPU_MAP, EnableAsyncGpuTextureMap, true, "async-gpu-map"},
    {VANTA_SWITCH_FACE_POINT_BY_LX, FacePointByLX, false, "engine-face-points"},
};

TEST(Switches, StandAsTheHeaderSaysAtFirst) {
  for (const Case &c : kCases) {
    EXPECT_EQ(c.asked(), c.at_first) << c.name;
    EXPECT_EQ(vanta_host_get_switch(c.which), c.at_first) << c.name;
  }
}

TEST(Switches, EachAnswersForItselfAlone) {
  for (const Case &set : kCases) {
    vanta_host_set_switch(set.which, !set.at_first);
    for (const Case &c : kCases) {
      EXPECT_EQ(c.asked(), (&c == &set) != c.at_first) << set.name << " " << c.name;
      EXPECT_EQ(vanta_host_get_switch(c.which), c.asked()) << set.name << " " << c.name;
    }
    vanta_host_set_switch(set.which, set.at_first);
  }
}

TEST(Switches, HaveTheNamesOfTheHeader) {
  for (const Case &c : kCases) EXPECT_STREQ(vanta_host_switch_name(c.which), c.name);
}

TEST(Switches, PastTheEndNothingIsThere) {
  const auto past = static_cast<vanta_host_switch>(VANTA_SWITCH_COUNT);
  EXPECT_EQ(vanta_host_switch_name(past), nullptr);
  vanta_host_set_switch(past, true);
  EXPECT_FALSE(vanta_host_get_switch(past));
}

// What the module is told when it makes a filter: in `create`, where its worker asks.
bool GpuOutputOfANewFilter() {
  static bool answer;
  answer = false;
  HostSourceInfo record = vanta_test::FakeRecord("fake_filter");
  record.create = [](obs_data_t *, obs_source_t *) -> void * {
    answer = EnableCreateLXGLContext();
    return &answer;
  };
  record.destroy = [](void *) {};
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  const OBSSourceAutoRelease source = obs_source_create_private("fake_filter", "one", nullptr);
  return answer;
}

class GpuSwitch : public testing::Test {
 protected:
  // With video, on a renderer that goes by that name.
  static bool GpuOutputOn(const std::string &renderer) {
    const vanta_test::ScriptedDriver driver({{}, "", renderer});
    const vanta_test::HeadlessSession obs;
    vanta_host_attach();
    EXPECT_TRUE(vanta_test::StartVideo());
    return GpuOutputOfANewFilter();
  }
};

TEST_F(GpuSwitch, IsOffByItselfOnASoftwareRenderer) {
  for (const char *renderer : {"llvmpipe (LLVM 15.0.6, 256 bits)", "softpipe", "Mesa SWRast"}) {
    EXPECT_FALSE(GpuOutputOn(renderer)) << renderer;
    EXPECT_FALSE(vanta_host_get_switch(VANTA_SWITCH_CREATE_GL_CONTEXT)) << renderer;
  }
}

TEST_F(GpuSwitch, IsOnByItselfOnAGpu) {
  EXPECT_TRUE(GpuOutputOn("Mesa Intel(R) UHD Graphics 620 (KBL GT2)"));
}

TEST_F(GpuSwitch, FollowsTheRendererOfEachSession) {
  EXPECT_FALSE(GpuOutputOn("llvmpipe (LLVM 15.0.6, 256 bits)"));
  EXPECT_TRUE(GpuOutputOn("NVIDIA GeForce RTX 3060/PCIe/SSE2"));
  EXPECT_FALSE(GpuOutputOn("llvmpipe (LLVM 15.0.6, 256 bits)"));
}

TEST_F(GpuSwitch, StaysOnByItselfWhereTheRendererIsNotKnown) {
  const vanta_test::HeadlessSession obs;
  vanta_host_attach();
  EXPECT_TRUE(GpuOutputOfANewFilter());
}

TEST_F(GpuSwitch, SaidToBeOnIsOnOnASoftwareRenderer) {
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, true);
  EXPECT_TRUE(GpuOutputOn("llvmpipe (LLVM 15.0.6, 256 bits)"));
}

TEST_F(GpuSwitch, SaidToBeOffIsOffOnAGpu) {
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, false);
  EXPECT_FALSE(GpuOutputOn("NVIDIA GeForce RTX 3060/PCIe/SSE2"));
}

TEST(Flags, AreClearAtFirst) {
  EXPECT_FALSE(IsBeautySharedTexture());
  EXPECT_FALSE(IsBeautySharedTextureFallback());
  for (int i = 0; i < VANTA_FLAG_COUNT; ++i) EXPECT_FALSE(vanta_host_get_flag(static_cast<vanta_host_flag>(i)));
}

TEST(Flags, OfTheModuleReachTheApplication) {
  SetBeautySharedTexture(true);
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE));
  EXPECT_FALSE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK));
  SetBeautySharedTextureFallback(true);
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK));
  EXPECT_FALSE(vanta_host_get_flag(VANTA_FLAG_DEINTERLACE));
  SetIsDeinterlace(true);
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_DEINTERLACE));
}

TEST(Flags, OfTheApplicationReachTheModule) {
  vanta_host_set_flag(VANTA_FLAG_SHARED_TEXTURE, true);
  EXPECT_TRUE(IsBeautySharedTexture());
  EXPECT_FALSE(IsBeautySharedTextureFallback());
  vanta_host_set_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK, true);
  EXPECT_TRUE(IsBeautySharedTextureFallback());
}

TEST(Flags, PastTheEndNothingIsThere) {
  const auto past = static_cast<vanta_host_flag>(VANTA_FLAG_COUNT);
  vanta_host_set_flag(past, true);
  EXPECT_FALSE(vanta_host_get_flag(past));
}

}  // namespace
