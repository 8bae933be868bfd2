// The look that all beauty filters of the process share.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include <obs.hpp>

#include "controls/beauty_look.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/i_faceless.h"

namespace vanta_host {

// The control object's values are the process's, and so is the look: it stands in every beauty filter's settings, and a
// change in one of them is a change in all. The first filter brings its look along, each later one takes the present
// look over, and with the last one it is forgotten, so that each scene collection has its own.
// Until a look differs from the one that engines start with, the control object is not touched: an application that
// drives it alone meets nothing of this.
// Owns: the look. Borrows: the filters, from Adopt to Forget; the control object, which the module keeps for good.
// Threads: any. A change sends its commands on the calling thread.
class BeautyControls {
 public:
  // Before the module makes the filter: `settings` become its own.
  void Adopt(obs_source_t *filter, obs_data_t *settings);
  void Forget(obs_source_t *filter);
  // All filters that there are will go: the next one is the first, though they may go later.
  void ForgetAll();
  // `settings` are those that `filter` has now.
  void TakeUpdate(obs_source_t *filter, obs_data_t *settings);

  bool HasFilters() const;
  BeautyLook Look() const;
  // Does nothing while there is no filter.
  void SetLook(const BeautyLook &look);
  // As one change, whatever others do meanwhile. False where there is no filter: then nothing is changed.
  bool Edit(const std::function<void(BeautyLook &)> &edit);
  // Something that a look does not hold is about to be sent: engines that start later shall have it too, as `keep` puts
  // it into their snapshot, and the look alone no longer says that nothing is to be done. Until the last filter goes.
  void KeepBeside(const std::function<void(FacelessEngineSnapshot &)> &keep);
  // Frames need not go through an engine: the look is off, and nobody has sent anything else. Waits for nothing.
  bool IsIdle() const;
  // Rises with each change of the look. Waits for nothing.
  uint64_t Changes() const { return changes_; }

 private:
  bool Knows(const obs_source_t *filter) const VANTA_REQUIRES(mutex_);
  void Reset() VANTA_REQUIRES(mutex_);
  void Change(const BeautyLook &look) VANTA_REQUIRES(mutex_);
  void Mirror(const obs_source_t *except) VANTA_REQUIRES(mutex_);
  void SendSnapshot() VANTA_REQUIRES(mutex_);
  void LearnIdle() VANTA_REQUIRES(mutex_);

  mutable vanta::Mutex mutex_;  // commands are sent under it: their order is that of the changes
  BeautyLook look_ VANTA_GUARDED_BY(mutex_);
  FacelessEngineSnapshot rest_ VANTA_GUARDED_BY(mutex_);  // of an engine's snapshot: what the look does not hold
  bool snapshot_sent_ VANTA_GUARDED_BY(mutex_) = false;
  std::vector<obs_source_t *> filters_ VANTA_GUARDED_BY(mutex_);
  std::atomic<bool> idle_{false};
  std::atomic<bool> driven_{false};  // by commands beside the look
  std::atomic<uint64_t> changes_{0};
};

BeautyControls &Controls();  // the process's

}  // namespace vanta_host
