// The source, the filters on it, and the scene that shows it, over a background where one is wanted.
#pragma once

#include <obs.hpp>

#include <optional>
#include <string>

#include "capture/frame_meter.h"
#include "faces/face_listener.h"
#include "input/input.h"
#include "input/played_source.h"

namespace vanta_run {

// Threads: [control]. The meter must outlive it.
class Stage {
 public:
  // `in_step`: for the clock that is held. Nothing plays before it is shown then.
  Stage(const Input &input, bool loop, bool in_step, FrameMeter &meter);
  // Takes everything off the canvas and waits until libobs has destroyed it.
  ~Stage();
  Stage(const Stage &) = delete;
  Stage &operator=(const Stage &) = delete;

  // The two taps, and between them the beauty filter where it is wanted. Throws Failure(kExitModule) when the filter
  // cannot be made.
  void AddFilters(bool beauty);
  // Behind the filters that are there. `config`: a JSON object. Throws likewise.
  void AddGreenScreen(const std::string &config);
  // Behind the beauty filter and before the green screen: finds faces in what the source shows. Throws likewise.
  void AddLandmarks();
  // Behind all others: draws what the listener hears. The listener must outlive the stage.
  void AddFaceOverlay(FaceListener &listener);
  // Below the source. Before it is shown; the input must outlive the stage.
  void AddBackground(const Input &background);
  void Show();
  // Pictures and colours begin: live as soon as they are shown.
  void Play();
  // In step: a frame of ours goes in, dark or in all but its pixels like the last one that entered.
  void PushOne(bool like_last);
  obs_source_t *source() const { return source_->get(); }
  bool finds_faces() const { return landmarks_ != nullptr; }
  // Draws the source with its filters, where nobody sees it.
  void DrawUnseen() const;
  void Restart() { source_->Restart(); }
  void Pause(bool paused) { source_->Pause(paused); }
  bool Ended() const { return source_->Ended(); }
  // The beauty filter; null where there is none.
  obs_source_t *filter() const { return filter_; }
  // The source's place on the canvas, once it is shown.
  obs_sceneitem_t *item() const { return item_; }
  // A new reference on the source or the filter; null for another name.
  obs_source_t *TakeSource(const std::string &name) const;

 private:
  // `covers`: no part of the canvas stays free, whatever the shape.
  obs_sceneitem_t *Place(obs_source_t *source, const Input &input, bool covers);
  void AwaitFile(const Input &input);

  const Input &input_;
  const Input *background_input_ = nullptr;
  const bool in_step_;
  FrameMeter &meter_;
  size_t files_ = 0;  // that play
  std::optional<PlayedSource> source_, background_;
  OBSSourceAutoRelease before_, filter_, after_, landmarks_, green_screen_, overlay_;
  OBSSceneAutoRelease scene_;
  obs_sceneitem_t *item_ = nullptr;  // of scene_
};

}  // namespace vanta_run
