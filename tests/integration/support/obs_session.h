// libobs in this process, on a real display and software GL, from start-up to a shutdown that must leave nothing
// behind.
#pragma once

#include <obs.h>

#include <cstdint>
#include <string>

#include "engine/i_faceless.h"

namespace vanta_integration {

struct SessionOptions {
  uint32_t width = 320;      // of the canvas, pixels
  uint32_t height = 240;     // of the canvas, pixels
  uint32_t fps = 100;        // canvas pictures a second; fast, since most tests go in step with it
  bool stock_media = false;  // with libobs's media source
  const char *module = VANTA_TEST_MODULE;
};

// Fails the test where libobs does not start, and where it ends with memory left over.
// Threads: the test's. Sources must be released before it ends.
class ObsSession {
 public:
  explicit ObsSession(const SessionOptions &options = {});
  ~ObsSession();
  ObsSession(const ObsSession &) = delete;
  ObsSession &operator=(const ObsSession &) = delete;

  // The module's control object.
  ILumivex &Control() const;
  obs_module_t *Module() const { return module_; }

 private:
  bool Start(const SessionOptions &options);

  obs_module_t *module_ = nullptr;
};

// Waits until the graphics thread has begun `count` more rounds; after two of them one whole round lies behind.
bool WaitForTicks(int count);

// How many of the reports that the host has kept are these.
size_t CountReports(int32_t id, const std::string &body);

}  // namespace vanta_integration
