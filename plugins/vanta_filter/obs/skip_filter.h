// How a filter lets the picture through untouched.
#pragma once

#include <obs.h>

namespace vanta {

// Draws what stands before `filter`. Without a parent nothing is drawn: libobs follows the parent without a test.
// Threads: [render].
inline void SkipFilter(obs_source_t *filter) {
  if (obs_filter_get_parent(filter)) obs_source_skip_video_filter(filter);
}

}  // namespace vanta
