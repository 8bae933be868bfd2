// Keeps the software GL driver mapped to the end of the process: a sanitizer reports addresses of an unloaded driver as
// leaks without a name. Linked into tests that render.
#include <dlfcn.h>

#include <initializer_list>

namespace {

struct Keepalive {
  Keepalive() {
    for (const char *name : {"libEGL_mesa.so.0", "dri/swrast_dri.so", "/usr/lib/x86_64-linux-gnu/dri/swrast_dri.so",
                             "/usr/lib/aarch64-linux-gnu/dri/swrast_dri.so"}) {
      dlopen(name, RTLD_LAZY | RTLD_NODELETE);
    }
  }
};

const Keepalive keepalive;

}  // namespace
