#include "gpu/gl_api.h"

#include "vanta_host.h"

namespace lumivex {

const GlApi &Gl() {
  static const GlApi gl(vanta_host_gl_function);
  return gl;
}

}  // namespace lumivex
