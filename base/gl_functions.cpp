#include "vanta_base/gl_functions.h"

namespace vanta {

GlFunctions::Found GlFunctions::Find(const char *name) {
  void *address = resolver_(name);
  if (!address && !missing_) missing_ = name;
  return Found(address);
}

}  // namespace vanta
