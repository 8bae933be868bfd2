#include "controls/beauty_controls.h"

#include <algorithm>

#include "controls/look_commands.h"
#include "module/module_control.h"
#include "module/module_files.h"

namespace vanta_host {

using vanta::MutexLock;

BeautyControls &Controls() {
  // Never destroyed: libobs destroys sources on a task thread of its own, perhaps late.
  static BeautyControls *controls = new BeautyControls;
  return *controls;
}

void BeautyControls::Adopt(obs_source_t *filter, obs_data_t *settings) {
  MutexLock lock(mutex_);
  const bool first = filters_.empty();
  filters_.push_back(filter);
  if (!settings) return;
  if (first)
    Change(ReadLook(settings));
  else
    WriteLook(look_, settings);
}

void BeautyControls::Forget(obs_source_t *filter) {
  MutexLock lock(mutex_);
  if (!Knows(filter)) return;
  std::erase(filters_, filter);
  if (filters_.empty()) Reset();
}

void BeautyControls::ForgetAll() {
  MutexLock lock(mutex_);
  if (filters_.empty()) return;
  filters_.clear();
  Reset();
}

bool BeautyControls::Knows(const obs_source_t *filter) const {
  return std::find(filters_.begin(), filters_.end(), filter) != filters_.end();
}

void BeautyControls::Reset() {
  look_ = BeautyLook();
  rest_ = FacelessEngineSnapshot();
  LearnIdle();
  if (snapshot_sent_) SendSnapshot();
  snapshot_sent_ = false;
}

void BeautyControls::TakeUpdate(obs_source_t *filter, obs_data_t *settings) {
  MutexLock lock(mutex_);
  const BeautyLook look = ReadLook(settings);
  if (!Knows(filter) || look == look_) return;
  Change(look);
  Mirror(filter);
}

bool BeautyControls::HasFilters() const {
  MutexLock lock(mutex_);
  return !filters_.empty();
}

BeautyLook BeautyControls::Look() const {
  MutexLock lock(mutex_);
  return look_;
}

void BeautyControls::SetLook(const BeautyLook &look) {
  Edit([&look](BeautyLook &present) { present = look; });
}

bool BeautyControls::Edit(const std::function<void(BeautyLook &)> &edit) {
  MutexLock lock(mutex_);
  if (filters_.empty()) return false;
  BeautyLook look = look_;
  edit(look);
  if (look == look_) return true;
  Change(look);
  Mirror(nullptr);
  return true;
}

void BeautyControls::KeepBeside(const std::function<void(FacelessEngineSnapshot &)> &keep) {
  MutexLock lock(mutex_);
  if (filters_.empty()) return;
  keep(rest_);
  driven_ = true;
  SendSnapshot();
}

bool BeautyControls::IsIdle() const {
  return idle_ && !driven_ && !ApplicationDrives();
}

// The snapshot goes first: an engine that starts in between has the look by it, and then takes the commands as well.
void BeautyControls::Change(const BeautyLook &look) {
  const BeautyLook before = look_;
  if (look == before) return;
  look_ = look;
  ILumivex *control = FindControl();
  if (control) {
    SendSnapshot();
    SendChanges(*control, before, look, ModuleFolders());
  }
  LearnIdle();
  ++changes_;
}

void BeautyControls::SendSnapshot() {
  ILumivex *control = FindControl();
  if (!control) return;
  FacelessEngineSnapshot snapshot = rest_;
  PutIntoSnapshot(look_, ModuleFolders(), snapshot);
  control->SetEngineSnapshot(snapshot);
  snapshot_sent_ = true;
}

// A filter that is about to be destroyed gives no reference any more.
void BeautyControls::Mirror(const obs_source_t *except) {
  for (obs_source_t *filter : filters_) {
    if (filter == except) continue;
    const OBSSourceAutoRelease held = obs_source_get_ref(filter);
    if (!held) continue;
    const OBSDataAutoRelease settings = obs_source_get_settings(held);
    WriteLook(look_, settings);
  }
}

void BeautyControls::LearnIdle() {
  idle_ = !filters_.empty() && look_.IsOff();
  if (filters_.empty()) driven_ = false;
}

}  // namespace vanta_host
