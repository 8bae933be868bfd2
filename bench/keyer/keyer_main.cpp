// Opens a display for the process, then runs the comparison.
#include <cstdio>
#include <exception>

#include "fixtures/libobs/display.h"
#include "session/virtual_display.h"

namespace keyer_bench {
int Run(int argc, char **argv);
}

namespace {

_XDisplay *opened = nullptr;

}  // namespace

_XDisplay *vanta_integration::Display() {
  return opened;
}

int main(int argc, char **argv) {
  try {
    const vanta_run::VirtualDisplay display;
    opened = display.connection();
    return keyer_bench::Run(argc, argv);
  } catch (const std::exception &failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
  }
}
