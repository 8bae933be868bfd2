// When a page that is open has to be made anew.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <obs.hpp>

#include "controls/filter_status.h"
#include "vanta_base/mutex.h"

namespace vanta_host {

// A page that is made anew while a slider is dragged ends the drag, and with a colour or file dialog open the host
// crashes. So only pages without those are, when what they say is no longer true, two seconds after the last change.
// Borrows: filters, from Built to Forget.
// Threads: any; Tick [tick].
class PageRefresh {
 public:
  using Status = FilterStatus (*)(obs_source_t *filter);
  // Has the filter's page made anew by the thread of the user interface, which then calls Shown.
  using Ask = void (*)(OBSSourceAutoRelease filter);

  explicit PageRefresh(Ask ask) : ask_(ask) {}

  // A page for the filter was made, with that state; `more` is whether it shows all of its settings. One that
  // `shows_look` is out of date, too, once the look was changed by others than that page.
  void Built(obs_source_t *filter, Status status, const std::string &state, bool more, bool shows_look);
  void ShowsMore(obs_source_t *filter, bool more);
  // The settings have changed; `more` is what they say now.
  void Edited(obs_source_t *filter, bool more);
  void Forget(obs_source_t *filter);
  void Shown(uint64_t now_ns);
  // Looks once a second, and asks for the pages that are out of date. While one that was asked for is not shown it asks
  // for no other: where a page takes longer than the second, requests would come faster than the user interface can
  // answer them, and a host that answers all of them before it closes would not close.
  void Tick(uint64_t now_ns);

 private:
  struct Page {
    Status status;
    std::string state;
    bool more;
    bool shows_look;
    uint64_t changes;       // of the look, that the page knows of
    bool outdated = false;  // what is visible no longer fits the settings
    uint64_t edited_ns = 0;
  };

  static bool IsOutdated(const Page &page, obs_source_t *filter);

  const Ask ask_;
  vanta::Mutex mutex_;
  std::map<obs_source_t *, Page> pages_ VANTA_GUARDED_BY(mutex_);
  int asked_ VANTA_GUARDED_BY(mutex_) = 0;  // and not shown yet
  uint64_t looked_ns_ VANTA_GUARDED_BY(mutex_) = 0;
};

PageRefresh &Pages();  // the process's

}  // namespace vanta_host
