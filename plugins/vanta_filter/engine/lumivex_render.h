// `LumivexRender` wraps one effect engine: it starts it, binds its callbacks and forwards the 27 commands to it.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <obs.hpp>
#include <optional>
#include <string>
#include <vector>

#include "face_points/face_points.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/i_faceless.h"
#include "vanta_filter/engine/lumivex_api.h"

class ILiveEffectJsonAbilityHandler;

namespace vanta {

struct AbilityRequest;

// Owns: the engine, a reference to the settings. Borrows: the parent source.
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
  bool IsNVDXInteropUsable();
  // Refuses the shared-texture path for the rest of the process.
  static void FallbackToNV12();
  static bool IsFallbackToNV12();
  void SetNoGreenMatting(bool on);
  std::string GetStats();
  void ClearStats();
  void GetTesseraStat();
  int32_t GetFaceCount() const { return face_count_.load(std::memory_order_relaxed); }

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
  void FillEngineConfig(uint32_t width, uint32_t height, const std::string &face_beauty_path);
  void CreateEngine(const std::shared_ptr<GLFWwindow> &gl_window);
  void SendStartupReport();
  void ReportMissingEngine();
  void SetDefaultBeautyGroup();
  void BindCallbacks();
  void RecordDelivery(const LX::FrameData &result);
  void CountForTesseraStat();

  // Callbacks of the engine, in the order in which they are bound.
  using CpuData = std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>;
  void TesseraCpuDataCallback(const CpuData &data);
  void GameDataCallback(const LX::BoomGameData &data);
  void BodySlimmingStatusCallback(LXBodySlimmingStatus status);
  void MagicFaceCallBack(const std::string &desc, bool success);

  void ClearMagicDisableFlags();
  void PostGameData(const std::string &text, const AbilityRequest &request);
  std::string EventName();
  // The host's handler, or null after a line that says so.
  ILiveEffectJsonAbilityHandler *FindAbilityHandler();

  std::shared_ptr<LX::LumivexSync> engine_;
  std::optional<bool> interop_answer_;  // unset: not asked yet
  std::string magic_main_path_;
  std::string magic_recognition_gift_path_;
  std::atomic<obs_source_t *> parent_{nullptr};  // never followed: its address marks the faces that come from it
  LXEngineConfig config_{};
  const int32_t orientation_ = 0;  // degrees by which faces turn; the engine gets its frames upright

  Mutex settings_mutex_;  // a leaf: callbacks read the settings on the engine's threads
  OBSData settings_ VANTA_GUARDED_BY(settings_mutex_);

  Mutex event_mutex_;                                      // a leaf: callbacks read the name that a command writes
  std::string event_name_ VANTA_GUARDED_BY(event_mutex_);  // of the host event that an effect's end must set

  Mutex face_mutex_;                                     // taken by the callback alone, around parsing and publishing
  FacePointResult faces_ VANTA_GUARDED_BY(face_mutex_);  // of the last callback
  std::atomic<int32_t> face_count_{0};
};

}  // namespace vanta
