// The recorder's effects: their parameters, their techniques, and libobs's way of drawing a filter through one.
#include <cstring>
#include <map>
#include <vector>

#include <graphics/vec2.h>
#include <graphics/vec3.h>
#include <graphics/vec4.h>
#include <util/bmem.h>

#include "fakes/graphics/gs_recorder.h"
#include "fakes/graphics/gs_recorder_notes.h"

using namespace vanta_test::gs_recorder;

struct gs_effect_param {
  std::string name;
  gs_texture_t *texture = nullptr;
};

struct gs_effect_technique {
  std::string name;
};

struct gs_effect {
  std::string name;
  std::map<std::string, gs_effect_param> parameters;
  std::map<std::string, gs_effect_technique> techniques;
  int pass = 0;
};

namespace {

std::string Name(const gs_eparam_t *param) {
  return param ? param->name : "null";
}

std::string Source(const obs_source_t *source) {
  return source ? source->name : "null";
}

}  // namespace

gs_effect_t *vanta_test::gs_recorder::MakeEffect() {
  return new gs_effect;
}

extern "C" {

gs_effect_t *gs_effect_create_from_file(const char *file, char **error) {
  if (error) *error = nullptr;
  if (NoteInGraphics(Text("gs_effect_create_from_file(", file ? file : "null", ")")) || !file) {
    const std::string text = CompileError();
    if (error && !text.empty()) *error = bstrdup(text.c_str());
    return nullptr;
  }
  auto *effect = new gs_effect;
  effect->name = NewName("effect");
  Track(effect, effect->name);
  return effect;
}

void gs_effect_destroy(gs_effect_t *effect) {
  Destroy(effect, "gs_effect_destroy");
}

gs_eparam_t *gs_effect_get_param_by_name(const gs_effect_t *effect, const char *name) {
  const bool fail = Note(Text("gs_effect_get_param_by_name(", NameOf(effect), ", ", name, ")"));
  if (fail || !effect || !EffectHasParameters() || EffectLacks(NameOf(effect), name)) return nullptr;
  gs_effect_param &param = const_cast<gs_effect_t *>(effect)->parameters[name];
  param.name = name;
  return &param;
}

gs_technique_t *gs_effect_get_technique(const gs_effect_t *effect, const char *name) {
  const bool fail = Note(Text("gs_effect_get_technique(", NameOf(effect), ", ", name, ")"));
  if (fail || !effect || EffectLacks(NameOf(effect), name)) return nullptr;
  return &const_cast<gs_effect_t *>(effect)->techniques[name];
}

void gs_effect_set_texture(gs_eparam_t *param, gs_texture_t *texture) {
  NoteInGraphics(Text("gs_effect_set_texture(", Name(param), ", ", NameOf(texture), ")"));
  if (param) param->texture = texture;
}

void gs_effect_set_texture_srgb(gs_eparam_t *param, gs_texture_t *texture) {
  NoteInGraphics(Text("gs_effect_set_texture_srgb(", Name(param), ", ", NameOf(texture), ")"));
  if (param) param->texture = texture;
}

void gs_effect_set_int(gs_eparam_t *param, int value) {
  NoteInGraphics(Text("gs_effect_set_int(", Name(param), ", ", value, ")"));
}

void gs_effect_set_float(gs_eparam_t *param, float value) {
  NoteInGraphics(Text("gs_effect_set_float(", Name(param), ", ", value, ")"));
}

void gs_effect_set_vec2(gs_eparam_t *param, const struct vec2 *value) {
  NoteInGraphics(Text("gs_effect_set_vec2(", Name(param), ", ", value->x, ", ", value->y, ")"));
}

void gs_effect_set_vec3(gs_eparam_t *param, const struct vec3 *value) {
  NoteInGraphics(Text("gs_effect_set_vec3(", Name(param), ", ", value->x, ", ", value->y, ", ", value->z, ")"));
}

void gs_effect_set_vec4(gs_eparam_t *param, const struct vec4 *value) {
  NoteInGraphics(
      Text("gs_effect_set_vec4(", Name(param), ", ", value->x, ", ", value->y, ", ", value->z, ", ", value->w, ")"));
}

// libobs keeps more behind the texture.
size_t gs_effect_get_val_size(gs_eparam_t *param) {
  return param ? 2 * sizeof(gs_texture_t *) : 0;
}

void *gs_effect_get_val(gs_eparam_t *param) {
  if (Note(Text("gs_effect_get_val(", Name(param), ")")) || !param) return nullptr;
  void *value = bzalloc(2 * sizeof(gs_texture_t *));
  std::memcpy(value, &param->texture, sizeof(param->texture));
  return value;
}

bool gs_effect_loop(gs_effect_t *effect, const char *name) {
  const bool fail = NoteInGraphics(Text("gs_effect_loop(", NameOf(effect), ", ", name, ")"));
  if (!effect) return false;
  if (fail || EffectLacks(NameOf(effect), name) || effect->pass >= EffectPasses()) {
    effect->pass = 0;
    return false;
  }
  ++effect->pass;
  return true;
}

bool obs_source_process_filter_begin(obs_source_t *filter, enum gs_color_format format,
                                     enum obs_allow_direct_render direct) {
  if (NoteInGraphics(Text("obs_source_process_filter_begin(", Source(filter), ", ",
                          format == GS_RGBA ? "GS_RGBA" : "other", ", ",
                          direct == OBS_NO_DIRECT_RENDERING ? "OBS_NO_DIRECT_RENDERING" : "other", ")")) ||
      !filter) {
    return false;
  }
  filter->frame.name = filter->name + ".frame";
  Track(&filter->frame, filter->frame.name);
  return true;
}

// A call that is told to fail hands no texture over and draws nothing.
void obs_source_process_filter_tech_end(obs_source_t *filter, gs_effect_t *effect, uint32_t width, uint32_t height,
                                        const char *technique) {
  const bool fail = NoteInGraphics(Text("obs_source_process_filter_tech_end(", Source(filter), ", ", NameOf(effect),
                                        ", ", width, ", ", height, ", ", technique, ")"));
  // As libobs has it: the texture goes to `image` before the technique is looked for.
  if (fail || !filter || !effect || NameOf(&filter->frame) == "dead") return;
  gs_effect_param &image = effect->parameters["image"];
  image.name = "image";
  image.texture = &filter->frame;
}

void obs_source_process_filter_end(obs_source_t *filter, gs_effect_t *effect, uint32_t width, uint32_t height) {
  NoteInGraphics(
      Text("obs_source_process_filter_end(", Source(filter), ", ", NameOf(effect), ", ", width, ", ", height, ")"));
}
}
