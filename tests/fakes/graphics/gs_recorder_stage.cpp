// The recorder's stage surfaces: what a filter reads back.
#include <vector>

#include "fakes/graphics/gs_recorder.h"
#include "fakes/graphics/gs_recorder_notes.h"

using namespace vanta_test::gs_recorder;

struct gs_stage_surface {
  std::string name;
  uint32_t linesize = 0;
  std::vector<uint8_t> pixels;
  bool mapped = false;
};

extern "C" {

int gs_get_device_type(void) {
  NoteInGraphics("gs_get_device_type()");
  return DeviceType();
}

gs_stagesurf_t *gs_stagesurface_create(uint32_t width, uint32_t height, enum gs_color_format format) {
  if (NoteInGraphics(Text("gs_stagesurface_create(", width, ", ", height, ", ",
                          format == GS_RGBA ? "GS_RGBA" : "GS_OTHER", ")"))) {
    return nullptr;
  }
  auto *surface = new gs_stage_surface;
  surface->name = NewName("stage");
  surface->linesize = width * 4 + StagePadding();
  surface->pixels.resize(size_t{surface->linesize} * height);
  Track(surface, surface->name);
  return surface;
}

void gs_stagesurface_destroy(gs_stagesurf_t *surface) {
  Destroy(surface, "gs_stagesurface_destroy");
}

// As the drivers have it: OpenGL copies nothing into a surface that is mapped.
void gs_stage_texture(gs_stagesurf_t *surface, gs_texture_t *texture) {
  const std::string call = Text("gs_stage_texture(", NameOf(surface), ", ", NameOf(texture), ")");
  if (NoteInGraphics(call) || !surface || !texture) return;
  CheckAlive(surface, call);
  if (surface->mapped && DeviceType() == GS_DEVICE_OPENGL) return;
  surface->pixels.assign(surface->pixels.size(), Painted());
}

bool gs_stagesurface_map(gs_stagesurf_t *surface, uint8_t **data, uint32_t *linesize) {
  const std::string call = Text("gs_stagesurface_map(", NameOf(surface), ")");
  if (NoteInGraphics(call) || !surface) return false;
  CheckAlive(surface, call);
  if (surface->mapped) AddMisuse(call + " of a surface that is mapped");
  surface->mapped = true;
  *data = surface->pixels.data();
  *linesize = surface->linesize;
  return true;
}

void gs_stagesurface_unmap(gs_stagesurf_t *surface) {
  const std::string call = Text("gs_stagesurface_unmap(", NameOf(surface), ")");
  NoteInGraphics(call);
  if (!surface) return;
  CheckAlive(surface, call);
  surface->mapped = false;
}
}
