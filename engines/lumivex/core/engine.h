// One engine: takes commands, and works on frames.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "color/green_matting_stage.h"
#include "color/lookup_stage.h"
#include "color/relight_stage.h"
#include "color/tone_stage.h"
#include "core/engine_stats.h"
#include "core/frame_output.h"
#include "core/quality_steps.h"
#include "core/settings_loads.h"
#include "faces/face_finder.h"
#include "files/loader.h"
#include "magic/magic_effects.h"
#include "makeup/makeup_stage.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "settings/effect_settings.h"
#include "skin/beauty_stage.h"
#include "skin/eyes_and_teeth.h"
#include "skin/retouch_stage.h"
#include "skin/sharpen_stage.h"
#include "vanta_filter/engine/lumivex_api.h"
#include "warp/warp_stage.h"

namespace lumivex {

// Commands change the edited settings; frames are worked on with the applied ones. The two are the same except between
// BeginBatch and EndBatch. What commands name in files takes effect with a later frame.
// Owns: settings and every stage's scratch memory. Borrows: the frame, for the call. Threads: one at a time.
class Engine {
 public:
  // `root` is the folder faceless_builtin.
  Engine(std::string root, FrameOutput output)
      : loads_(loader_, std::move(root), edited_), output_(std::move(output)) {}

  // Changes the frame in place; the result may be another one. Null for a frame that is no NV12 picture.
  std::shared_ptr<LX::FrameData> Process(const std::shared_ptr<LX::FrameData> &frame);

  bool HasSharedTextures() const { return output_.HasSharedTextures(); }

  void BeginBatch() { ++batch_depth_; }
  void EndBatch();

  void SetBeautyIntensity(LXBeautyType type, float intensity);
  void SetEffectEnabled(LXEffectType type, bool enabled);
  void SetNaturality(float naturality);
  // Tables, makeup and groups as SettingsLoads has them.
  void SetLookup(const std::string &path, float intensity, int32_t type);
  void SetLookupIntensity(float intensity);
  void SetMakeup(const std::vector<MakeupRequest> &requests);
  void SetMakeupIntensity(const std::string &key, float intensity);
  void SetDeform(int mode, float intensity);
  void SetSlimming(LXBodySlimmingType type, float intensity);
  // Of the upright picture's height or width; both 0: by the face again.
  void SetLegRange(float top, float bottom, int direction);
  void SetGroup(const std::string &text, bool is_group);

  // Whether the host listens. While it does it is told of every look for faces, whatever that was for.
  void ReportFaces(bool report) { reports_faces_ = report; }
  void SetModelFolder(std::string folder) { faces_.SetModelFolder(std::move(folder)); }
  // All but "threads" are the runner's.
  void SetVisionParams(const std::string &json);
  // The landmarks that the last frame brought and that nobody has taken yet; null without new ones. When the looking
  // ends they come once more, without a result.
  std::shared_ptr<tessera::TesseraOut> TakeLandmarks() { return std::exchange(landmarks_, nullptr); }

  // Commands that change effects wait for a batch's end, too.
  void ChangeEffects(std::function<void(MagicEffects &)> change);
  MagicEffects &Effects() { return effects_; }
  // What has become of body slimming, if that has changed since the last call.
  std::optional<LXBodySlimmingStatus> TakeSlimmingStatus();

  EngineStats &Stats() { return stats_; }
  const EngineStats &Stats() const { return stats_; }

 private:
  void Publish();
  void RunStages(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times);
  std::shared_ptr<LX::FrameData> Deliver(const std::shared_ptr<LX::FrameData> &frame, const Nv12View &view,
                                         FrameTimes &times);
  void RunWarp(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times);
  void FollowQuality(uint64_t timestamp, float milliseconds);
  void SetThreads(const std::string &number);
  void FindFaces(const LX::FrameData &frame, const Nv12View &view, FrameTimes &times);
  void EndFaceReports();
  void DrawEffects(const LX::FrameData &frame, const Nv12View &view, const YuvSpace &space, FrameTimes &times);
  void RunBeauty(const Nv12View &view, const YuvSpace &space, FrameTimes &times);

  Loader loader_;  // outlives all that reads with it
  EffectSettings edited_;
  EffectSettings applied_;
  SettingsLoads loads_;
  int batch_depth_ = 0;
  std::vector<std::function<void(MagicEffects &)>> batched_changes_;
  EngineStats stats_;
  bool reports_faces_ = false;
  FaceFinder faces_{loader_};
  std::shared_ptr<tessera::TesseraOut> landmarks_;
  bool faces_reported_ = false;  // since the looking last began

  LXBodySlimmingStatus slimming_status_ = kSlimmingIdle;
  LXBodySlimmingStatus told_slimming_status_ = kSlimmingIdle;

  RowBands bands_{RowBands::DefaultThreads()};
  QualitySteps quality_;
  bool keeps_skin_ = false;  // the last frame was worked on with the skin of the one before
  GreenMattingStage green_matting_;
  BeautyStage beauty_;
  RetouchStage retouch_;
  EyesAndTeethStage eyes_and_teeth_;
  RelightStage relight_;
  ToneStage tone_;
  LookupStage lookup_;
  MakeupStage makeup_;
  WarpStage warp_;
  SharpenStage sharpen_;
  MagicEffects effects_{loader_};
  FrameOutput output_;
};

}  // namespace lumivex
