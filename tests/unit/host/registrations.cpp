#include "registrations.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>

namespace {

vanta_test::Registration last{};
bool forwarding = true;

}  // namespace

namespace vanta_test {

const Registration &LastRegistration() {
  return last;
}
void ForwardRegistrations(bool forward) {
  forwarding = forward;
}

}  // namespace vanta_test

extern "C" __attribute__((visibility("default"))) void obs_register_source_s(const obs_source_info *info, size_t size) {
  last = {info, size, {}};
  std::memcpy(&last.info, info, std::min(size, sizeof(last.info)));
  if (!forwarding) return;
  using Register = void (*)(const obs_source_info *, size_t);
  static const auto real = reinterpret_cast<Register>(dlsym(RTLD_NEXT, "obs_register_source_s"));
  real(info, size);
}
