// The host's switches and the flags that it shares with the module, for both sides.
#include "registration/switches.h"

#include <util/base.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstddef>
#include <cstdint>

#include "platform/renderer.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

// The automatic ones stand until the application chooses.
enum class Choice : uint8_t { kOff, kOn, kAutomaticOff, kAutomaticOn };
constexpr Choice kOff = Choice::kOff;
constexpr Choice kOn = Choice::kOn;

struct Switch {
  const char *name;
  std::atomic<Choice> choice;

  bool IsOn() const {
    const Choice now = choice;
    return now == Choice::kOn || now == Choice::kAutomaticOn;
  }
};

// In the order of vanta_host_switch.
constinit std::array<Switch, VANTA_SWITCH_COUNT> switches{{
    {"async-commands", kOn},
    {"gl-context", Choice::kAutomaticOn},
    {"destroy-gl-window", kOn},
    {"frame-flip", kOn},
    {"skip-chain-render", kOn},
    {"async-gpu-map", vanta_host::kMapsTexturesByDefault ? kOn : kOff},
    {"engine-face-points", kOff},
}};
constinit std::array<std::atomic<bool>, VANTA_FLAG_COUNT> flags{};

// As Mesa names its renderers that draw on the CPU.
constexpr std::string_view kSoftwareRenderers[] = {"llvmpipe", "softpipe", "swrast"};

bool IsSoftware(std::string_view renderer) {
  const auto is_same = [](char one, char other) { return std::tolower(static_cast<unsigned char>(one)) == other; };
  return std::any_of(std::begin(kSoftwareRenderers), std::end(kSoftwareRenderers), [&](std::string_view name) {
    return std::search(renderer.begin(), renderer.end(), name.begin(), name.end(), is_same) != renderer.end();
  });
}

bool IsSwitch(vanta_host_switch which) {
  return static_cast<size_t>(which) < switches.size();
}
bool IsFlag(vanta_host_flag which) {
  return static_cast<size_t>(which) < flags.size();
}

}  // namespace

namespace vanta_host {

void ChooseGpuOutput(std::string_view renderer) {
  if (renderer.empty()) return;
  const bool stay = kFramesCanStayOnGpu && !IsSoftware(renderer);
  const Choice wanted = stay ? Choice::kAutomaticOn : Choice::kAutomaticOff;
  std::atomic<Choice> &choice = switches[VANTA_SWITCH_CREATE_GL_CONTEXT].choice;
  for (Choice now = choice; now >= Choice::kAutomaticOff && now != wanted;) {
    if (!choice.compare_exchange_weak(now, wanted)) continue;
    blog(LOG_INFO, "[vanta_host] the renderer is %.*s: finished frames %s", static_cast<int>(renderer.size()),
         renderer.data(), wanted == Choice::kAutomaticOn ? "stay on the GPU" : "come back in memory");
    return;
  }
}

}  // namespace vanta_host

void vanta_host_set_switch(vanta_host_switch which, bool on) {
  if (IsSwitch(which)) switches[which].choice = on ? kOn : kOff;
}

bool vanta_host_get_switch(vanta_host_switch which) {
  return IsSwitch(which) && switches[which].IsOn();
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
  return switches[VANTA_SWITCH_ASYNC_BEAUTY].IsOn();
}
bool EnableCreateLXGLContext() {
  return switches[VANTA_SWITCH_CREATE_GL_CONTEXT].IsOn();
}
bool EnableDestroyGLFWWindow() {
  return switches[VANTA_SWITCH_DESTROY_GL_WINDOW].IsOn();
}
bool EnableOBSFrameFilp() {
  return switches[VANTA_SWITCH_FRAME_FLIP].IsOn();
}
bool JumpTextureRenderEnable() {
  return switches[VANTA_SWITCH_JUMP_TEXTURE_RENDER].IsOn();
}
bool EnableAsyncGpuTextureMap() {
  // The module maps shared textures, and a landmark filter that cannot set up its map finds no points.
  return switches[VANTA_SWITCH_ASYNC_GPU_MAP].IsOn() && !vanta_host::HasRendererBeenUseless();
}
bool FacePointByLX() {
  return switches[VANTA_SWITCH_FACE_POINT_BY_LX].IsOn();
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
