// Hotkeys: a pair for each filter, and four for the look of all beauty filters.
#pragma once

#include <obs.h>

#include "controls/beauty_look.h"

namespace vanta_host {

// The look that hotkeys switch away from and back to.
// Threads: confined by the owner.
class LookSwitch {
 public:
  // What is to stand next, for the look that stands now.
  BeautyLook Off(const BeautyLook &now);
  BeautyLook On(const BeautyLook &now) const;

 private:
  BeautyLook kept_;  // the last one that was not off; at first that of an engine's start
};

// "On" and "off" in one: a single hotkey is refused on the filters of a scene that is loaded. They end with the filter.
void RegisterFilterHotkeys(obs_source_t *filter);

// The four for all, once for each start of libobs; kept in the scene collection where there is OBS Studio to keep them.
void RegisterLookHotkeys();
void UnregisterLookHotkeys();
// Those of a libobs that has ended.
void ForgetLookHotkeys();

}  // namespace vanta_host
