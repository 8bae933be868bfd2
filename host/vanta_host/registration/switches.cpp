// The host's switches and the flags that it shares with the module, for both sides.
#include <array>
#include <atomic>
#include <cstddef>

#include "textures/gl_context.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

struct Switch {
  const char *name;
  std::atomic<bool> on;
};

// In the order of vanta_host_switch.
constinit std::array<Switch, VANTA_SWITCH_COUNT> switches{{
    {"async-commands", true},
    {"gl-context", true},
    {"destroy-gl-window", true},
    {"frame-flip", true},
    {"skip-chain-render", true},
    {"async-gpu-map", true},
    {"engine-face-points", false},
}};
constinit std::array<std::atomic<bool>, VANTA_FLAG_COUNT> flags{};

bool IsSwitch(vanta_host_switch which) {
  return static_cast<size_t>(which) < switches.size();
}
bool IsFlag(vanta_host_flag which) {
  return static_cast<size_t>(which) < flags.size();
}

}  // namespace

void vanta_host_set_switch(vanta_host_switch which, bool on) {
  if (IsSwitch(which)) switches[which].on = on;
}

bool vanta_host_get_switch(vanta_host_switch which) {
  return IsSwitch(which) && switches[which].on;
}

const char *vanta_host_switch_name(vanta_host_switch which) {
  return IsSwitch(which) ? switches[which].name : nullptr;
}

void vanta_host_set_flag(vanta_host_flag which, bool on) {
  if (IsFlag(which)) flags[which] = on;
}

bool vanta_host_get_flag(vanta_host_flag which) {
  return IsFlag(which) && flags[which];
}

bool EnableAsyncBeautyOption() {
  return switches[VANTA_SWITCH_ASYNC_BEAUTY].on;
}
bool EnableCreateLXGLContext() {
  return switches[VANTA_SWITCH_CREATE_GL_CONTEXT].on;
}
bool EnableDestroyGLFWWindow() {
  return switches[VANTA_SWITCH_DESTROY_GL_WINDOW].on;
}
bool EnableOBSFrameFilp() {
  return switches[VANTA_SWITCH_FRAME_FLIP].on;
}
bool JumpTextureRenderEnable() {
  return switches[VANTA_SWITCH_JUMP_TEXTURE_RENDER].on;
}
bool EnableAsyncGpuTextureMap() {
  // The module maps shared textures, and a landmark filter that cannot set up its map finds no points.
  return switches[VANTA_SWITCH_ASYNC_GPU_MAP].on && !vanta_host::HasRendererBeenUseless();
}
bool FacePointByLX() {
  return switches[VANTA_SWITCH_FACE_POINT_BY_LX].on;
}

bool IsBeautySharedTexture() {
  return flags[VANTA_FLAG_SHARED_TEXTURE];
}
void SetBeautySharedTexture(bool on) {
  flags[VANTA_FLAG_SHARED_TEXTURE] = on;
}
bool IsBeautySharedTextureFallback() {
  return flags[VANTA_FLAG_SHARED_TEXTURE_FALLBACK];
}
void SetBeautySharedTextureFallback(bool on) {
  flags[VANTA_FLAG_SHARED_TEXTURE_FALLBACK] = on;
}
void SetIsDeinterlace(bool on) {
  flags[VANTA_FLAG_DEINTERLACE] = on;
}
