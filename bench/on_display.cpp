#include "on_display.h"

#include <util/base.h>

#include <cstdarg>
#include <cstdio>
#include <exception>

#include "fixtures/libobs/display.h"
#include "session/virtual_display.h"

namespace {

_XDisplay *display = nullptr;

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

_XDisplay *vanta_integration::Display() {
  return display;
}

int vanta_bench::RunOnDisplay(const char *program, const std::function<int()> &measure) {
  base_set_log_handler(Quiet, nullptr);
  try {
    const vanta_run::VirtualDisplay virtual_display;
    display = virtual_display.connection();
    return measure();
  } catch (const std::exception &failure) {
    std::fprintf(stderr, "%s: %s\n", program, failure.what());
    return 1;
  }
}
