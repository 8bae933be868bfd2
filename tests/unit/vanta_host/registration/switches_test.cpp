
#include <gtest/gtest.h>

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
