// How a filter lets its source's picture through without a change.
#pragma once

#include <obs.h>

namespace vanta_host {

// libobs draws the source below a filter with plain values, unless the filter's flags speak of colours. A source of
// more than eight bits holds linear light, and plain values of that are far too dark. For that time, [render]: such a
// source is drawn as it would be without the filter.
class LinearLight {
 public:
  // Null: nothing happens.
  explicit LinearLight(obs_source_t *source)
      : deep_(source != nullptr && obs_source_get_color_space(source, 0, nullptr) != GS_CS_SRGB),
        former_(deep_ && gs_set_linear_srgb(true)) {}
  ~LinearLight() {
    if (deep_) gs_set_linear_srgb(former_);
  }
  LinearLight(const LinearLight &) = delete;
  LinearLight &operator=(const LinearLight &) = delete;

 private:
  const bool deep_, former_;
};

}  // namespace vanta_host
