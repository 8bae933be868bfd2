// Drivers that lack something of what shared textures need.
#include <string>

#include "fakes/graphics/scripted_driver.h"
#include "fixtures/host/shared_textures.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

struct Lack {
  const char *extension;
  const char *version;  // of GL, that has it not of its own
};
constexpr Lack kLacks[] = {{"GL_KHR_debug", "4.2"},
                           {"GL_ARB_sync", "3.1"},
                           {"GL_OES_EGL_image", "4.6"},
                           {"EGL_KHR_image_base", "4.6"},
                           {"EGL_KHR_gl_texture_2D_image", "4.6"},
                           {"EGL_KHR_surfaceless_context", "4.6"}};

// Without labels, for one, every end would count as destroyed.
TEST_F(SharedTextures, AreNotMadeByADriverThatLacksWhatTheyNeed) {
  const GLuint name = [this] {
    const Bound bound(*context);
    return MakeTexture(kSide, kSide);
  }();
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  for (const Lack &lack : kLacks) {
    const ScriptedDriver driver({{lack.extension}, lack.version});
    EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE) << lack.extension;
    EXPECT_EQ(vanta_host_texture_publish(name, kSide, kSide), nullptr) << lack.extension;
  }
  EXPECT_NE(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, NeedNoExtensionForWhatTheVersionBrings) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const ScriptedDriver driver({{"GL_KHR_debug", "GL_ARB_sync"}, "4.3"});
  EXPECT_NE(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, NeedNoVersionForWhatExtensionsBring) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const ScriptedDriver driver({{}, "3.0"});
  EXPECT_NE(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, AreNotMadeByADriverOfAnotherKindOfGl) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  for (const char *version : {"2.1", "OpenGL ES 3.2"}) {
    const ScriptedDriver driver({{}, version});
    EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE) << version;
  }
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, SayOnceWhatTheDriverLacks) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const ScriptedDriver driver({{"GL_KHR_debug"}, "4.2"});
  LogCapture log;
  EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  EXPECT_EQ(log.Count("[vanta_host] no shared textures: the driver lacks GL_KHR_debug"), 1u);
  gs_texture_destroy(texture);
}

// So an engine hands its frames out in memory.
TEST_F(SharedTextures, ThatADriverCannotMakeGetNoContextEither) {
  LogCapture log;
  for (const Lack &lack : kLacks) {
    const ScriptedDriver driver({{lack.extension}, lack.version});
    EXPECT_EQ(vanta_host_gl_context_create(), nullptr) << lack.extension;
    EXPECT_TRUE(
        log.Has(LOG_INFO, std::string("[vanta_host] no off-screen GL context: the driver lacks ") + lack.extension));
  }
}

// A landmark filter maps its pictures then without them.
TEST_F(SharedTextures, ThatADriverCannotMakeAreNotMappedInThisSession) {
  EXPECT_TRUE(EnableAsyncGpuTextureMap());
  {
    const ScriptedDriver driver({{"GL_KHR_debug"}, "4.2"});
    vanta_host_gl_context_destroy(vanta_host_gl_context_create());
  }
  EXPECT_FALSE(EnableAsyncGpuTextureMap());
  vanta_host_gl_context_destroy(vanta_host_gl_context_create());
  EXPECT_FALSE(EnableAsyncGpuTextureMap()) << "a filter has set itself up without them";
  EXPECT_TRUE(vanta_host_get_switch(VANTA_SWITCH_ASYNC_GPU_MAP));
  vanta_host_detach();
  EXPECT_TRUE(EnableAsyncGpuTextureMap());
}

}  // namespace
