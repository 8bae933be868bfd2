#include "beauty/beauty_filter_source.h"

#include <util/base.h>
#include <util/bmem.h>

#include <cstdint>
#include <limits>

#include "beauty/face_beauty_filter_data.h"
#include "beauty/fallback_report.h"
#include "beauty/render_output.h"
#include "engine/faceless_instance.h"
#include "frames/blank_frame.h"
#include "frames/plane_layout.h"
#include "obs/data_file.h"
#include "obs/module_text.h"
#include "obs/source_registration.h"
#include "vanta_filter/module/filter_ids.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/module/host_frame.h"

namespace vanta {
namespace {

constexpr uint32_t kJumpLinePeriod = 600;      // frames
constexpr long kNeverReleased = 0x7fffffff;    // no release by the host ever frees the frame
constexpr uint32_t kFirstTextureWidth = 1920;  // until the first render tells the source's size
constexpr uint32_t kFirstTextureHeight = 1080;

// One shot for the process, whatever the number of filters.
std::atomic<bool> deinterlace_reported{false};
std::atomic<bool> last_frame_primed{false};

face_beauty_filter_data &Filter(void *data) {
  return *static_cast<face_beauty_filter_data *>(data);
}

// ---- Creation and destruction ----

std::shared_ptr<FaceBeautyFilterWorker> StartWorker(obs_source_t *source) {
  auto worker = FaceBeautyFilterWorker::Create(source);
  return worker->start() ? worker : nullptr;
}

gs_effect_t *LoadEffect() VANTA_REQUIRES(graphics_context) {
  char *path = obs_find_module_file(obs_current_module(), "vanta_beauty.effect");
  gs_effect_t *effect = path && MayBeRead(path) ? gs_effect_create_from_file(path, nullptr) : nullptr;
  bfree(path);
  return effect;
}

bool CreateGraphics(face_beauty_filter_data &filter) {
  const GraphicsScope graphics;
  filter.effect = LoadEffect();
  if (!filter.effect) return false;
  gs_texture_destroy(filter.texture);
  filter.texture = gs_texture_create(kFirstTextureWidth, kFirstTextureHeight, GS_RGBA, 1, nullptr, GS_DYNAMIC);
  return true;
}

void RegisterWorker(face_beauty_filter_data &filter, obs_data_t *settings) {
  obs_data_set_int(settings, "apply_flag", 255);
  obs_data_set_int(settings, "facepoint_calculator", 0);
  obs_data_set_int(settings, "effect_json_ability_handler", 0);
  filter.worker->update(settings);
  FacelessInstance::GetInstance()->AddWorker(filter.context, filter.worker);
}

void *Create(obs_data_t *settings, obs_source_t *source) {
  auto filter = std::make_unique<face_beauty_filter_data>(source);
  filter->worker = StartWorker(source);
  if (!CreateGraphics(*filter)) {
    // Record and worker stay as they are: the host got null and will never ask for their end.
    static_cast<void>(filter.release());
    return nullptr;
  }
  if (filter->worker) RegisterWorker(*filter, settings);
  return filter.release();
}

void DestroyGraphics(face_beauty_filter_data &filter) {
  const GraphicsScope graphics;
  gs_texture_destroy(filter.texture);
  gs_effect_destroy(filter.effect);
  gs_texrender_destroy(filter.texrender);
  for (const auto &[handle, texture] : filter.shared_textures) gs_texture_destroy(texture);
  filter.shared_textures.clear();
  std::shared_ptr<LX::FrameData> released;
  MutexLock lock(filter.output_mutex);
  released.swap(filter.bgra_frame);
}

// obs_source_frame_destroy looks at the reference count; this frame's says that it is never free.
void FreeLastFrame(obs_source_frame *frame) {
  if (!frame) return;
  bfree(frame->data[0]);
  bfree(frame);
}

void Destroy(void *data) {
  face_beauty_filter_data &filter = Filter(data);
  FacelessInstance::GetInstance()->RemoveWorker(filter.context);
  if (filter.worker) filter.worker->stop();
  obs_source_frame *last_frame = filter.last_frame;
  DestroyGraphics(filter);
  delete &filter;
  FreeLastFrame(last_frame);
}

// ---- filter_video ----

bool PassesByJump(face_beauty_filter_data &filter) {
  const FacelessJumpInfo jump = FacelessInstance::GetInstance()->GetFacelessJumpInfo();
  if (!jump.need_jump) {
    filter.jump_count = 0;
    return false;
  }
  if (++filter.jump_count == kJumpLinePeriod) {
    filter.jump_count = 0;
    blog(LOG_INFO, "[beauty][jump][FaceBeautyFilterWorker]  jump_type:%d", jump.jump_type);
  }
  return true;
}

// Beside the size the planes count: the same size in another format may have others. Formats of one convert type share
// theirs (YUY2, UYVY and YVYU; RGBA, BGRA and BGRX), and libobs keeps both fields of a tick in whichever of them they
// came. The frame given out for the first field must outlive the second, so between such formats it stays.
bool FitsLastFrame(const face_beauty_filter_data &filter, const obs_source_frame *frame) {
  return filter.last_frame && filter.last_frame->width == frame->width && filter.last_frame->height == frame->height &&
         SharePlaneLayout(filter.last_frame->format, frame->format, frame->width, frame->height);
}

void DropLastFrame(face_beauty_filter_data &filter) {
  FreeLastFrame(filter.last_frame);
  filter.last_frame = nullptr;
}

// Null for a size that no frame can have.
obs_source_frame *MakeLastFrame(const obs_source_frame &like) {
  if (!HostCanLayOut(like.width, like.height)) return nullptr;
  auto *made = static_cast<obs_source_frame *>(bzalloc(kHostFrameSize));
  obs_source_frame_init(made, like.format, like.width, like.height);
  // libobs leaves the planes as the memory was; a later filter shows this frame before its first picture is ready.
  BlankFrame(*made);
  made->refs = kNeverReleased;
  return made;
}

void PrepareDeinterlaced(face_beauty_filter_data &filter, const obs_source_frame *frame) {
  if (!FitsLastFrame(filter, frame)) {
    DropLastFrame(filter);
    filter.last_frame = MakeLastFrame(*frame);
  }
  SetIsDeinterlace(true);
  if (!deinterlace_reported.exchange(true, std::memory_order_relaxed)) ReportFallback("deinterlace");
  LumivexRender::FallbackToNV12();
}

// Whether `from` has every plane that libobs gave `to`, with a pitch that its arithmetic can take.
bool CanCopy(const obs_source_frame &to, const obs_source_frame &from) {
  for (int i = 0; i < MAX_AV_PLANES; ++i) {
    if (to.data[i] && (!from.data[i] || from.linesize[i] > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())))
      return false;
  }
  return to.data[0] != nullptr;
}

// libobs's copy looks at no pointer, and leaves the format as it was.
void CopyToLastFrame(face_beauty_filter_data &filter, const obs_source_frame *frame) {
  if (!filter.last_frame || !CanCopy(*filter.last_frame, *frame)) return;
  obs_source_frame_copy(filter.last_frame, frame);
  filter.last_frame->format = frame->format;
  SetDumpId(filter.last_frame, 0);
}

obs_source_frame *ReturnLastFrame(face_beauty_filter_data &filter, obs_source_frame *frame) {
  blog(LOG_WARNING, "[beauty][FaceBeautyFilterWorker]  DequeueFrame failed, return last frame");
  obs_source_release_frame(obs_filter_get_parent(filter.context), frame);
  return filter.last_frame;
}

void FetchDumpJson(face_beauty_filter_data &filter, const obs_source_frame *frame) {
  const uint32_t id = GetDumpId(frame);
  if (id == 0) return;
  filter.worker->GetDumpJson(filter.dump_json, id);
  blog(LOG_INFO, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:%lld corvid_dump_json:%s ",
       static_cast<long long>(id), filter.dump_json.c_str());
}

obs_source_frame *ExchangeFrame(face_beauty_filter_data &filter, obs_source_frame *frame) {
  filter.flip.store(frame->flip, std::memory_order_relaxed);
  const uint64_t timestamp = frame->timestamp;
  if (!filter.worker->EnqueueFrame(frame))
    blog(LOG_WARNING, "[beauty][FaceBeautyFilterWorker]  EnqueueFrame failed, return original frame");
  if (!last_frame_primed.exchange(true, std::memory_order_relaxed)) CopyToLastFrame(filter, frame);

  int32_t type = kFrameTypeNone;
  std::shared_ptr<LX::FrameData> output;
  if (!filter.worker->DequeueFrame(frame, &type, &output)) return ReturnLastFrame(filter, frame);
  if (output) {
    MutexLock lock(filter.output_mutex);
    filter.bgra_frame.swap(output);
  }
  filter.frame_type.store(type, std::memory_order_relaxed);
  // The frame keeps the input's clock even though its pixels are older.
  frame->timestamp = timestamp;
  FetchDumpJson(filter, frame);
  CopyToLastFrame(filter, frame);
  return frame;
}

obs_source_frame *FilterVideoBody(face_beauty_filter_data &filter, obs_source_frame *frame) {
  const obs_deinterlace_mode mode = obs_source_get_deinterlace_mode(obs_filter_get_parent(filter.context));
  if (PassesByJump(filter)) return frame;
  if (mode != OBS_DEINTERLACE_MODE_DISABLE)
    PrepareDeinterlaced(filter, frame);
  else
    DropLastFrame(filter);
  if (!filter.worker) return frame;
  if (!filter.worker->IsRunning()) {
    if (filter.worker->IsUninited())
      blog(LOG_WARNING, "[beauty][FaceBeautyFilterWorker]  worker is uninited, return original frame");
    return frame;
  }
  return ExchangeFrame(filter, frame);
}

// ---- The host's callbacks ----

const char *GetName(void *) {
  return obs_module_text("FacebeautyFilterV2");
}

obs_properties_t *GetProperties(void *) {
  return nullptr;
}

void Update(void *data, obs_data_t *settings) {
  face_beauty_filter_data &filter = Filter(data);
  if (filter.worker) filter.worker->update(settings);
}

obs_source_frame *FilterVideo(void *data, obs_source_frame *frame) {
  if (!frame) return nullptr;
  face_beauty_filter_data &filter = Filter(data);
  const FrameCostScope cost(filter.filter_cost);
  return FilterVideoBody(filter, frame);
}

void VideoRender(void *data, gs_effect_t *) VANTA_REQUIRES(graphics_context) {
  face_beauty_filter_data &filter = Filter(data);
  const FrameCostScope cost(filter.render_cost);
  RenderBeautyOutput(filter);
}

// libobs tells a filter that could not be made of its removal, too.
void FilterRemove(void *data, obs_source_t *) {
  if (!data) return;
  face_beauty_filter_data &filter = Filter(data);
  if (filter.worker) filter.worker->stop();
}

void GetDumpJsonText(void *data, const char **text, uint32_t *length) {
  if (!data || !text || !length) return;
  const std::string &json = Filter(data).dump_json;
  blog(LOG_INFO, "[beauty][vanta dump][FaceBeautyFilterWorker]  corvid_dump_json:%s ", json.c_str());
  *text = json.c_str();
  *length = static_cast<uint32_t>(json.size());
}

}  // namespace

void RegisterBeautyFilter() {
  HostSourceInfo record = VideoFilterRecord(kBeautyFilterId);
  record.get_name = GetName;
  record.create = Create;
  record.destroy = Destroy;
  record.get_properties = GetProperties;
  record.update = Update;
  record.video_render = VideoRender;
  record.filter_video = FilterVideo;
  record.filter_remove = FilterRemove;
  record.get_dump_json = GetDumpJsonText;
  RegisterSource(record);
}

}  // namespace vanta
