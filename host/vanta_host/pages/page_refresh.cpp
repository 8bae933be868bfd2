#include "pages/page_refresh.h"

#include <memory>
#include <utility>
#include <vector>

#include <util/platform.h>
#include <obs.hpp>

#include "controls/beauty_controls.h"

namespace vanta_host {
namespace {

using vanta::MutexLock;

constexpr uint64_t kSecondNs = 1000000000;
constexpr uint64_t kRestNs = 2 * kSecondNs;  // since the last edit

void ShowAnew(void *param) {
  const OBSSourceAutoRelease filter = static_cast<obs_source_t *>(param);
  obs_source_update_properties(filter);
  Pages().Shown(os_gettime_ns());
}

// The task runs on the thread of the user interface: at once where that is the caller, and then it would free the
// property whose callback is running. The caller here is the graphics thread.
void AskForNewPage(OBSSourceAutoRelease filter) {
  obs_queue_task(OBS_TASK_UI, ShowAnew, obs_source_get_ref(filter), false);
}

}  // namespace

bool PageRefresh::IsOutdated(const Page &page, obs_source_t *filter) {
  return page.outdated || (page.shows_look && page.changes != Controls().Changes()) ||
         page.status(filter).state != page.state;
}

PageRefresh &Pages() {
  static PageRefresh *pages = new PageRefresh(AskForNewPage);
  return *pages;
}

void PageRefresh::Built(obs_source_t *filter, Status status, const std::string &state, bool more, bool shows_look) {
  if (!filter) return;
  MutexLock lock(mutex_);
  pages_[filter] = {status, state, more, shows_look, Controls().Changes()};
}

void PageRefresh::ShowsMore(obs_source_t *filter, bool more) {
  MutexLock lock(mutex_);
  const auto page = pages_.find(filter);
  if (page == pages_.end()) return;
  page->second.more = more;
  page->second.outdated = false;
}

void PageRefresh::Edited(obs_source_t *filter, bool more) {
  MutexLock lock(mutex_);
  const auto page = pages_.find(filter);
  if (page == pages_.end()) return;
  page->second.edited_ns = os_gettime_ns();
  page->second.changes = Controls().Changes();
  page->second.outdated = page->second.more != more;
}

void PageRefresh::Forget(obs_source_t *filter) {
  MutexLock lock(mutex_);
  pages_.erase(filter);
}

void PageRefresh::Shown(uint64_t now_ns) {
  MutexLock lock(mutex_);
  --asked_;
  looked_ns_ = now_ns;
}

void PageRefresh::Tick(uint64_t now_ns) {
  std::vector<std::pair<OBSSourceAutoRelease, Page>> looked_at;
  {
    MutexLock lock(mutex_);
    if (asked_ > 0 || now_ns < looked_ns_ + kSecondNs) return;
    looked_ns_ = now_ns;
    for (const auto &[filter, page] : pages_) {
      if (now_ns - page.edited_ns < kRestNs && now_ns >= page.edited_ns) continue;
      looked_at.emplace_back(obs_source_get_ref(filter), page);
    }
  }
  for (auto &[filter, page] : looked_at) {
    if (!filter || !IsOutdated(page, filter)) continue;
    {
      MutexLock lock(mutex_);
      pages_.erase(filter);  // it is known again once it is shown
      ++asked_;
    }
    ask_(std::move(filter));
  }
}

}  // namespace vanta_host
