// One life of libobs.
#pragma once

#include <obs.h>

#include "vanta_host.h"

namespace vanta_test {

// libobs does not start without an X server: the one that DISPLAY names, or a virtual one of the process. To be called
// before the first start.
void OpenDisplay();
// 64x64 pixels on software GL.
bool StartVideo();

// Between construction and destruction libobs is up, without video. Sources must be released before the end.
class ObsSession {
 public:
  ObsSession() {
    OpenDisplay();
    obs_startup("en-US", nullptr, nullptr);
  }
  ~ObsSession() {
    obs_wait_for_destroy_queue();
    vanta_host_detach();
    obs_shutdown();
  }
  ObsSession(const ObsSession &) = delete;
  ObsSession &operator=(const ObsSession &) = delete;
};

}  // namespace vanta_test
