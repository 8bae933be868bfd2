// libobs from start-up to shutdown, with the stock plug-ins that a run needs and the filter's.
#pragma once

#include <obs.h>

#include "input/input.h"
#include "session/module_paths.h"

struct _XDisplay;

namespace vanta_run {

// Threads: [control]. Sources must be gone, and the destruction queue empty, before it ends.
class ObsSession {
 public:
  // Throws Failure(kExitDisplay) where there is no OpenGL, Failure(kExitModule) where a plug-in is missing.
  // `cameras`: with the plug-in for them too.
  // `sound`: from the start; else from StartSound on, which must come before the first source goes.
  ObsSession(_XDisplay *display, const Input &input, const ModulePaths &filter, bool cameras, bool sound);
  ~ObsSession();
  ObsSession(const ObsSession &) = delete;
  ObsSession &operator=(const ObsSession &) = delete;

  void StartSound();

  // The plug-in's library, as dlsym takes it.
  void *filter_library() const { return obs_get_module_lib(filter_); }

 private:
  void Start(_XDisplay *display, const Input &input, const ModulePaths &filter, bool cameras, bool sound);
  void ResetVideo(const Input &input);
  static void SetLightLevels();
  void LoadStockModules(bool cameras);
  void LoadFilter(const ModulePaths &paths);

  obs_module_t *filter_ = nullptr;
};

}  // namespace vanta_run
