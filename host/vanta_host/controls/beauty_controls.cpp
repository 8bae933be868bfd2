#include "controls/beauty_controls.h"

#include <algorithm>

#include "controls/look_commands.h"
#include "controls/module_files.h"
#include "vanta_host.h"

namespace vanta_host {

using vanta::MutexLock;

namespace {

ILumivex *Control() {
  return static_cast<ILumivex *>(vanta_host_get_faceless());
}

}  // namespace

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
  std::erase(filters_, filter);
  if (!filters_.empty()) return;
  look_ = BeautyLook();
  LearnIdle();
  if (snapshot_sent_) SendSnapshot();
  snapshot_sent_ = false;
}

void BeautyControls::TakeUpdate(obs_source_t *filter, obs_data_t *settings) {
  MutexLock lock(mutex_);
  const BeautyLook look = ReadLook(settings);
  if (look == look_) return;
  Change(look);
  Mirror(filter);
}

BeautyLook BeautyControls::Look() const {
  MutexLock lock(mutex_);
  return look_;
}

void BeautyControls::SetLook(const BeautyLook &look) {
  MutexLock lock(mutex_);
  if (filters_.empty() || look == look_) return;
  Change(look);
  Mirror(nullptr);
}

// The snapshot goes first: an engine that starts in between has the look by it, and then takes the commands as well.
void BeautyControls::Change(const BeautyLook &look) {
  const BeautyLook before = look_;
  if (look == before) return;
  look_ = look;
  ILumivex *control = Control();
  if (control) {
    SendSnapshot();
    SendChanges(*control, before, look, ModuleFolders());
  }
  LearnIdle();
  ++changes_;
}

void BeautyControls::SendSnapshot() {
  ILumivex *control = Control();
  if (!control) return;
  FacelessEngineSnapshot snapshot;
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
}

}  // namespace vanta_host
