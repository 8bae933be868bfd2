// The green screen filter on a source.
#pragma once

#include <obs.hpp>

#include <string>

namespace vanta_integration {

// Owns: the filter. Borrows: nothing; it holds a reference on the source. Threads: the test's.
class GreenScreen {
 public:
  explicit GreenScreen(obs_source_t *source, const std::string &config = "{}");
  ~GreenScreen();  // takes the filter off the source
  GreenScreen(const GreenScreen &) = delete;
  GreenScreen &operator=(const GreenScreen &) = delete;

  obs_source_t *Filter() const { return filter_; }
  // The config is the filter's when this returns.
  void Configure(const std::string &config);

 private:
  OBSSource source_;
  OBSSourceAutoRelease filter_;
};

}  // namespace vanta_integration
