#include "integration/support/painted_source.h"

namespace vanta_integration {
namespace {

constexpr char kId[] = "test_painted_source";
constexpr char kLinearId[] = "test_painted_source_linear";

struct Painted {
  gs_texture_t *texture = nullptr;
  bool premultiplied = false;
  bool linear = false;
};

Painted &Data(void *data) {
  return *static_cast<Painted *>(data);
}

void Draw(void *data, gs_effect_t *) {
  const Painted &painted = Data(data);
  if (!painted.texture) return;
  gs_effect_t *effect = obs_get_base_effect(OBS_EFFECT_DEFAULT);
  gs_eparam_t *image = gs_effect_get_param_by_name(effect, "image");
  const bool previous = gs_framebuffer_srgb_enabled();
  gs_enable_framebuffer_srgb(painted.linear);
  if (painted.linear)
    gs_effect_set_texture_srgb(image, painted.texture);
  else
    gs_effect_set_texture(image, painted.texture);
  if (painted.premultiplied) {
    gs_blend_state_push();
    gs_blend_function(GS_BLEND_ONE, GS_BLEND_INVSRCALPHA);
  }
  while (gs_effect_loop(effect, "Draw")) gs_draw_sprite(painted.texture, 0, 0, 0);
  if (painted.premultiplied) gs_blend_state_pop();
  gs_enable_framebuffer_srgb(previous);
}

obs_source_info Info(const char *id, uint32_t flags) {
  obs_source_info info{};
  info.id = id;
  info.type = OBS_SOURCE_TYPE_INPUT;
  info.output_flags = OBS_SOURCE_VIDEO | OBS_SOURCE_CUSTOM_DRAW | flags;
  info.get_name = [](void *) { return "Painted source"; };
  info.create = [](obs_data_t *settings, obs_source_t *) -> void * {
    auto *painted = new Painted;
    painted->premultiplied = obs_data_get_bool(settings, "premultiplied");
    painted->linear = obs_data_get_bool(settings, "linear");
    obs_data_set_int(settings, "data", reinterpret_cast<intptr_t>(painted));
    return painted;
  };
  info.destroy = [](void *data) {
    obs_enter_graphics();
    gs_texture_destroy(Data(data).texture);
    obs_leave_graphics();
    delete &Data(data);
  };
  info.get_width = [](void *data) { return Data(data).texture ? gs_texture_get_width(Data(data).texture) : 0; };
  info.get_height = [](void *data) { return Data(data).texture ? gs_texture_get_height(Data(data).texture) : 0; };
  info.video_render = Draw;
  return info;
}

}  // namespace

void Picture::Fill(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
  for (size_t at = 0; at < pixels.size(); at += 4) {
    pixels[at] = r;
    pixels[at + 1] = g;
    pixels[at + 2] = b;
    pixels[at + 3] = a;
  }
}

void RegisterPaintedSource() {
  const obs_source_info encoded = Info(kId, 0);
  const obs_source_info linear = Info(kLinearId, OBS_SOURCE_SRGB);
  obs_register_source(&encoded);
  obs_register_source(&linear);
}

PaintedSource::PaintedSource(Alpha alpha, Light light) {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_bool(settings, "premultiplied", alpha == Alpha::kPremultiplied);
  obs_data_set_bool(settings, "linear", light == Light::kLinear);
  source_ = obs_source_create(light == Light::kLinear ? kLinearId : kId, "painting", settings, nullptr);
}

PaintedSource::~PaintedSource() {
  obs_source_remove(source_);
}

void PaintedSource::Paint(const Picture &picture) {
  const OBSDataAutoRelease settings = obs_source_get_settings(source_);
  auto *painted = reinterpret_cast<Painted *>(static_cast<intptr_t>(obs_data_get_int(settings, "data")));
  const uint8_t *pixels = picture.pixels.data();
  obs_enter_graphics();
  gs_texture_destroy(painted->texture);
  painted->texture = gs_texture_create(picture.width, picture.height, GS_RGBA, 1, &pixels, 0);
  obs_leave_graphics();
}

}  // namespace vanta_integration
