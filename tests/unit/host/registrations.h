// What reaches libobs's obs_register_source_s: this program defines the function, so that it wins over libobs's own.
#pragma once

#include <cstddef>

#include <obs.h>

namespace vanta_test {

struct Registration {
  const obs_source_info *address;  // not to be read
  size_t size;
  obs_source_info info;  // as much as `size` and the public record have
};

const Registration &LastRegistration();
// Off: records are only noted, so that they may hold anything. On at first.
void ForwardRegistrations(bool forward);

}  // namespace vanta_test
