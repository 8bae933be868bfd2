// `LumivexRender` is one effect engine as the worker drives it: the 27 commands and a frame, each forwarded to it.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <obs.hpp>
#include <string>
#include <vector>

#include "engine/callbacks/ability_calls.h"
#include "engine/callbacks/engine_faces.h"
#include "engine/callbacks/lumivex_callbacks.h"
#include "engine/effect_slots.h"
#include "engine/interop_choice.h"
#include "vanta_filter/engine/i_faceless.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Owns: the engine. Borrows: the parent source. What else belongs to an engine stands in the parts that it names below.
// Threads: every operation with the worker's render_mutex held, except the static ones [any] and the engine's
// callbacks [engine]; a callback never takes render_mutex. Without an engine every operation is a silent no-op.
class LumivexRender : public IFaceless {
 public:
  LumivexRender();
  ~LumivexRender() override;
  LumivexRender(const LumivexRender &) = delete;
  LumivexRender &operator=(const LumivexRender &) = delete;

  // Starts an engine for frames of this size (pixels). False without one; the start-up signal tells the host.
  bool Initialize(uint32_t width, uint32_t height, const std::shared_ptr<GLFWwindow> &gl_window,
                  const std::string &face_beauty_path, const std::string &ai_path);
  bool IsInitialized() const { return engine_ != nullptr; }
  // Keeps a reference of its own to `settings`, which may be null.
  void SetOBSData(obs_data_t *settings, obs_source_t *parent);

  // Null without an engine and when the engine failed. Chooses between shared texture and memory first.
  std::shared_ptr<LX::FrameData> ProcessFrameData(std::shared_ptr<LX::FrameData> data);
  // May block for 500 ms, once for each processor.
  bool IsNVDXInteropUsable() { return interop_.IsUsable(engine_.get()); }
  // Refuses the shared-texture path for the rest of the process.
  static void FallbackToNV12() { InteropChoice::FallbackToNV12(); }
  static bool IsFallbackToNV12() { return InteropChoice::IsFallbackToNV12(); }
  void SetNoGreenMatting(bool on) { InteropChoice::SetNoGreenMatting(on); }
  std::string GetStats();
  void ClearStats();
  void GetTesseraStat();
  int32_t GetFaceCount() const { return faces_.Count(); }

  void SetModelPathDic(const std::map<std::string, std::string> &path_dic) override;
  void SetModelRootPath(std::string path) override;
  void UpdateTesseraParams(const std::string &json) override;
  void BeginBatchCommand() override;
  void EndBatchCommand() override;
  void SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) override;
  void SetLookupInfo(LXLookupInfo info) override;
  void SetLookupIntensity(float intensity) override;
  void SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) override;
  void SetMakeupIntensityWithKey(std::string key, float intensity) override;
  void SetBeautyIntensityWithType(LXBeautyType type, float intensity) override;
  void SetBeautyGroupPath(const LXGroupConfig &config) override;
  void SetNaturalityIntensity(float intensity) override;
  void SetDeformIntensityWithMode(int32_t mode, float intensity) override;
  void SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) override;
  void SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) override;
  void SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag, const std::string &event_name) override;
  void SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) override;
  void CancelMagicEffect() override;
  void SetEffectStateWithState(LXEffectState state) override;
  void SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) override;
  void SetMediaResource(LXMediaResource resource) override;
  void SetBasicAdjustIntensity(int32_t type, float intensity) override;
  void SetBoomGameData(const std::string &json) override;
  void SetMagicCustomImage(const std::vector<std::string> &paths) override;
  void LoadInteractiveBoxResource(const std::string &path) override;
  void UnloadInteractiveBoxResource() override;

 protected:
  // Releases the engine; harmless when there is none.
  void Reset() { engine_.reset(); }

  std::atomic<bool> skip_lumivex_{false};  // frames pass through

 private:
  InteropChoice interop_;
  EffectSlots slots_;
  AbilityCalls abilities_;
  EngineFaces faces_;
  LumivexCallbacks callbacks_{abilities_, faces_};
  std::shared_ptr<LX::LumivexSync> engine_;  // the last member: it may call back while it ends
};

}  // namespace vanta
