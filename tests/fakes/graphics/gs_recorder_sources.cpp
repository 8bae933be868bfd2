// The recorder's obs_* functions: the source tree, the graphics lock, module files and the global signal handler.
#include <callback/signal.h>
#include <obs-module.h>
#include <util/bmem.h>

#include "fakes/graphics/gs_recorder.h"

using namespace vanta_test::gs_recorder;

namespace {

constexpr const char *kBaseEffect = "base effect";

std::string Source(const obs_source_t *source) {
  return source ? source->name : "null";
}

}  // namespace

extern "C" {

void obs_enter_graphics(void) {
  Note("obs_enter_graphics()");
  ChangeGraphicsDepth(1);
}

void obs_leave_graphics(void) {
  Note("obs_leave_graphics()");
  ChangeGraphicsDepth(-1);
}

gs_effect_t *obs_get_base_effect(enum obs_base_effect which) {
  if (NoteInGraphics(which == OBS_EFFECT_DEFAULT ? "obs_get_base_effect(OBS_EFFECT_DEFAULT)"
                                                 : "obs_get_base_effect(other)")) {
    return nullptr;
  }
  static gs_effect_t *const effect = MakeEffect();
  Track(effect, kBaseEffect);
  return effect;
}

// Thirty frames a second.
bool obs_get_video_info(struct obs_video_info *info) {
  *info = {};
  info->fps_num = 30;
  info->fps_den = 1;
  info->base_width = info->output_width = 1920;
  info->base_height = info->output_height = 1080;
  return true;
}

// As the host declares them, so that a test can connect to each.
signal_handler_t *obs_get_signal_handler(void) {
  static signal_handler_t *const handler = [] {
    signal_handler_t *made = signal_handler_create();
    static const char *const kSignals[] = {
        "void vanta_filter_callback(int type, string type_func, string data_str)",
        "void zt_magic_callback(bool disable_beautify, bool disable_deform, bool disable_makeup, bool disable_filter, "
        "bool disable_body)",
        "void body_slimming_status(int status)",
        "void TesseraFacePointRet(ptr face_point)",
        nullptr,
    };
    signal_handler_add_array(made, const_cast<const char **>(kSignals));
    return made;
  }();
  return handler;
}

obs_source_t *obs_filter_get_parent(const obs_source_t *filter) {
  return Note("obs_filter_get_parent(" + Source(filter) + ")") || !filter ? nullptr : filter->parent;
}

obs_source_t *obs_filter_get_target(const obs_source_t *filter) {
  return Note("obs_filter_get_target(" + Source(filter) + ")") || !filter ? nullptr : filter->target;
}

uint32_t obs_source_get_base_width(obs_source_t *source) {
  return Note("obs_source_get_base_width(" + Source(source) + ")") || !source ? 0 : source->width;
}

uint32_t obs_source_get_base_height(obs_source_t *source) {
  return Note("obs_source_get_base_height(" + Source(source) + ")") || !source ? 0 : source->height;
}

const char *obs_source_get_id(const obs_source_t *source) {
  return Note("obs_source_get_id(" + Source(source) + ")") || !source ? nullptr : source->id.c_str();
}

const char *obs_source_get_name(const obs_source_t *source) {
  return source ? source->name.c_str() : nullptr;
}

enum obs_deinterlace_mode obs_source_get_deinterlace_mode(const obs_source_t *source) {
  const bool fail = Note("obs_source_get_deinterlace_mode(" + Source(source) + ")");
  return fail || !source ? OBS_DEINTERLACE_MODE_DISABLE : source->deinterlace;
}

// libobs's own crashes on a filter without a parent.
void obs_source_skip_video_filter(obs_source_t *filter) {
  const std::string call = "obs_source_skip_video_filter(" + Source(filter) + ")";
  NoteInGraphics(call);
  if (!filter || !filter->parent) AddMisuse(call + " without a parent");
}

void obs_source_video_render(obs_source_t *source) {
  if (!NoteInGraphics("obs_source_video_render(" + Source(source) + ")")) Paint();
}

void obs_source_draw(gs_texture_t *image, int x, int y, uint32_t cx, uint32_t cy, bool flip) {
  NoteInGraphics("obs_source_draw(" + NameOf(image) + ", " + std::to_string(x) + ", " + std::to_string(y) + ", " +
                 std::to_string(cx) + ", " + std::to_string(cy) + ", " + std::to_string(flip) + ")");
}

void obs_source_release_frame(obs_source_t *source, struct obs_source_frame *frame) {
  Note("obs_source_release_frame(" + Source(source) + ", " + (frame ? "frame" : "null") + ")");
}

obs_source_t *obs_source_get_ref(obs_source_t *source) {
  if (Note("obs_source_get_ref(" + Source(source) + ")") || !source) return nullptr;
  ++source->refs;
  return source;
}

void obs_source_release(obs_source_t *source) {
  Note("obs_source_release(" + Source(source) + ")");
  if (source) --source->refs;
}
}
