#include <obs-nix-platform.h>

#include <X11/Xlib.h>

#include "plain_host_system.h"

namespace plain_host {

std::vector<std::string> ArgumentsInUtf8(int count, char **arguments) {
  return {arguments + 1, arguments + count};
}

void PrepareDisplay() {
  obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
  obs_set_nix_platform_display(XOpenDisplay(nullptr));
}

}  // namespace plain_host
