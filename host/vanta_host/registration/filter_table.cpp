#include "registration/filter_table.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <obs.hpp>

#include "controls/beauty_controls.h"
#include "controls/key_picker.h"
#include "module/module_control.h"
#include "pages/landmark_page.h"
#include "registration/ability_handlers.h"
#include "registration/engine_watch.h"
#include "registration/filter_pages.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/module/host_frame.h"
#include "vanta_host.h"
#include "vanta_linear_light.h"

namespace vanta_host {

using vanta::MutexLock;

FilterTable &Filters() {
  // Never destroyed: libobs destroys sources on a task thread of its own, perhaps late.
  static FilterTable *table = new FilterTable;
  return *table;
}

size_t FilterTable::AddType(const HostSourceInfo &record) {
  size_t index;
  {
    MutexLock lock(mutex_);
    const auto known = std::find(ids_.begin(), ids_.end(), record.id);
    index = static_cast<size_t>(known - ids_.begin());
    if (index == kTypes) return kNoType;
    if (known == ids_.end()) ids_.emplace_back(record.id);
  }
  Type &type = types_[index];
  type.create = record.create;
  type.destroy = record.destroy;
  type.update = record.update;
  type.filter_video = record.filter_video;
  type.video_render = record.video_render;
  type.get_dump_json = record.get_dump_json;
  return index;
}

namespace {

// The module lets an exception out where a thread cannot be made. libobs is written in C: it would keep a source that
// is half made, and a host that knows of no exceptions would end.
void *CreateOrNull(decltype(HostSourceInfo::create) create, obs_data_t *settings, obs_source_t *source) {
  try {
    return create(settings, source);
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[vanta_host] the filter was not made: %s", error.what());
    return nullptr;
  }
}

}  // namespace

void *FilterTable::Create(size_t type, obs_data_t *settings, obs_source_t *source) {
  if (type == kBeautyType) RemoveForeignHandler(settings);
  const OBSData read = BeforeCreation(type, source, settings);
  std::unique_ptr<FrameGate> gate;
  if (type == kBeautyType) gate = std::make_unique<FrameGate>(Controls().Changes());
  void *data = CreateOrNull(types_[type].create.load(), read, source);
  if (data) {
    MutexLock lock(mutex_);
    instances_.push_back({source, data, type, std::move(gate)});
  } else {
    AfterEnd(type, source);
  }
  control_ = FindControl();
  return data;
}

void FilterTable::Destroy(size_t type, void *data) {
  if (obs_source_t *source = SourceOf(type, data)) AfterEnd(type, source);
  {
    MutexLock lock(mutex_);
    std::erase_if(instances_, [&](const Instance &instance) {
      if (instance.data != data || instance.type != type) return false;
      if (instance.mark != 0) --marks_;
      return true;
    });
  }
  types_[type].destroy.load()(data);
}

obs_source_frame *FilterTable::FilterVideo(size_t type, void *data, obs_source_frame *frame) {
  // libobs recycles frame records with their tail as it was, so an old mark has to go from every frame.
  if (frame) vanta::SetDumpId(frame, TakeMark(data));
  const auto filter_video = types_[type].filter_video.load();
  if (type != kBeautyType) return filter_video(data, frame);
  if (PicturesPass()) return frame;
  FrameGate *gate = Find(type, data).gate;
  if (!gate) return filter_video(data, frame);
  // A dump and face points from the engine need it.
  const bool idle = Controls().IsIdle() && !FacePointByLX() && !(frame && vanta::GetDumpId(frame) != 0);
  return gate->Filter(idle, Controls().Changes(), filter_video, data, frame);
}

void FilterTable::Update(size_t type, void *data, obs_data_t *settings) {
  const auto update = types_[type].update.load();
  if (type == kGreenScreenType) {
    for (const OBSData &read : GreenScreenUpdates(settings)) update(data, read);
    return;
  }
  RemoveForeignHandler(settings);
  if (obs_source_t *source = SourceOf(type, data)) TakeBeautyUpdate(source, settings);
  // `settings` are the source's own: another thread's update may put the address back while the module reads.
  const OBSDataAutoRelease copy = obs_data_create();
  obs_data_apply(copy, settings);
  RemoveForeignHandler(copy);
  update(data, copy);
}

// The gate is asked before the control object, which has a lock: a look that is off costs less than a jump.
bool FilterTable::IsPassedBy(const FrameGate *gate) const {
  if (PicturesPass() || (gate && gate->PassesBy())) return true;
  ILumivex *control = control_;
  return control && control->GetFacelessJumpInfo().need_jump;
}

void FilterTable::VideoRender(size_t type, void *data, gs_effect_t *effect) {
  auto [source, gate] = Find(type, data);
  obs_source_t *const parent = source ? obs_filter_get_parent(source) : nullptr;
  if (!parent) source = nullptr;
  const LinearLight light(parent);
  if (source && (type == kBeautyType ? IsPassedBy(gate) : ShowsUnkeyed(source)))
    obs_source_skip_video_filter(source);
  else
    types_[type].video_render.load()(data, effect);
  if (source && type == kLandmarkType) DrawLandmarks(source);
}

obs_source_t *FilterTable::SourceOf(size_t type, const void *data) const {
  return Find(type, data).source;
}

FilterTable::Found FilterTable::Find(size_t type, const void *data) const {
  MutexLock lock(mutex_);
  for (const Instance &instance : instances_) {
    if (instance.data == data && instance.type == type) return {instance.source, instance.gate.get()};
  }
  return {};
}

uint32_t FilterTable::TakeMark(const void *data) {
  if (marks_ == 0) return 0;
  MutexLock lock(mutex_);
  for (Instance &instance : instances_) {
    if (instance.data != data || instance.mark == 0) continue;
    --marks_;
    return std::exchange(instance.mark, 0);
  }
  return 0;
}

bool FilterTable::MarkNextFrame(obs_source_t *source, uint32_t id) {
  if (!source || id == 0) return false;
  MutexLock lock(mutex_);
  for (Instance &instance : instances_) {
    if (instance.source != source || !types_[instance.type].filter_video.load()) continue;
    if (instance.mark == 0) ++marks_;
    instance.mark = id;
    return true;
  }
  return false;
}

bool FilterTable::GetDumpJson(obs_source_t *source, const char **text, uint32_t *length) const {
  void *data = nullptr;
  decltype(HostSourceInfo::get_dump_json) get_dump_json = nullptr;
  {
    MutexLock lock(mutex_);
    for (const Instance &instance : instances_) {
      if (instance.source != source) continue;
      data = instance.data;
      get_dump_json = types_[instance.type].get_dump_json;
    }
  }
  if (!get_dump_json) return false;
  const char *found = nullptr;
  uint32_t found_length = 0;
  get_dump_json(data, &found, &found_length);
  if (!found || found_length == 0) return false;
  *text = found;
  *length = found_length;
  return true;
}

}  // namespace vanta_host

bool vanta_host_mark_next_frame(obs_source_t *filter, uint32_t id) {
  return vanta_host::Filters().MarkNextFrame(filter, id);
}

bool vanta_host_get_dump_json(obs_source_t *filter, const char **text, uint32_t *length) {
  return filter && text && length && vanta_host::Filters().GetDumpJson(filter, text, length);
}
