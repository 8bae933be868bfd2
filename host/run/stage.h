// The source, the filter between its two taps, and the scene that shows them.
#pragma once

#include <obs.hpp>

#include <memory>
#include <string>

#include "frame_meter.h"
#include "input.h"
#include "still_source.h"

namespace vanta_run {

// The sources that a command may name.
inline constexpr char kSourceName[] = "video";
inline constexpr char kFilterName[] = "beauty";

// Threads: [control]. The meter must outlive it.
class Stage {
 public:
  Stage(const Input &input, bool loop, FrameMeter &meter);
  // Takes everything off the canvas and waits until libobs has destroyed it.
  ~Stage();
  Stage(const Stage &) = delete;
  Stage &operator=(const Stage &) = delete;

  // Throws Failure(kExitModule) when the filter cannot be made.
  void AddFilter();
  void Show();
  // From the first frame again. Pictures and colours have no first frame.
  void Restart();
  bool Ended() const;
  obs_source_t *filter() const { return filter_; }
  // A new reference on the source or the filter; null for another name.
  obs_source_t *TakeSource(const std::string &name) const;

 private:
  const Input &input_;
  FrameMeter &meter_;
  std::unique_ptr<StillSource> still_;
  OBSSourceAutoRelease media_;
  OBSSourceAutoRelease before_, filter_, after_;
  OBSSceneAutoRelease scene_;
  obs_source_t *source_ = nullptr;  // of still_ or media_
};

}  // namespace vanta_run
