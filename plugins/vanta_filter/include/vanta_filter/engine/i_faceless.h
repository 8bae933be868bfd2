// The control interfaces through which the host application drives beauty and effects. The host calls through the
// table of virtual functions, so the order of the operations is a contract: append nothing, reorder nothing.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <obs.h>

#include "vanta_filter/engine/records.h"
#include "vanta_filter/stats/statistics_sample.h"

// Each command goes to every beauty filter, and there to its engine; without an engine it does nothing. Nothing reports
// failure: an engine that cannot do what it is asked says so in its log. Paths are in the system's multibyte code page,
// JSON is UTF-8. Intensities without a range below are the engine's to interpret; the numbers that the open engine
// knows stand in engines/lumivex/include/lumivex/lumivex_values.h. It clamps what is out of range, and takes
// not-a-number for 0. A command holds until the filter's engine is made anew (another frame size, another output path):
// what is to stay goes into the snapshot, too. Threads: [control].
class IFaceless {
 public:
  virtual ~IFaceless() = default;
  // Model key to the model's folder, in place of the module's own dictionary, whose folders are in UTF-8. Goes to the
  // engine as it is.
  virtual void SetModelPathDic(const std::map<std::string, std::string> &path_dic) = 0;
  // Goes no further: a folder of models reaches engines through the snapshot alone.
  virtual void SetModelRootPath(std::string path) = 0;
  // JSON object of the vision runner's parameters by name, or the same within "landmarks_param": {"max_face_num": 3}.
  // Numbers may be texts. The open runner looks for 1 to 8 faces, 3 at first; more counts as 8, less as 1.
  virtual void UpdateTesseraParams(const std::string &json) = 0;
  // Commands between the two are applied as one change, with the next frame after the end. They may nest; an end
  // without a begin does nothing in the open engine.
  virtual void BeginBatchCommand() = 0;
  virtual void EndBatchCommand() = 0;
  // Switches a whole stage; its intensities stay as set. All are on at first but green matting.
  virtual void SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) = 0;
  // Takes the place of the table in use; an empty path ends it.
  virtual void SetLookupInfo(LXLookupInfo info) = 0;
  // Of the table in use: 0 off to 1 whole.
  virtual void SetLookupIntensity(float intensity) = 0;
  // All makeup in use from now on; empty: none. A layer whose folder cannot be read is left out.
  virtual void SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) = 0;
  // `key` is LXMakeupInfo's. 0 off to 1 whole.
  virtual void SetMakeupIntensityWithKey(std::string key, float intensity) = 0;
  // 0 off to 1; brightness and contrast -1 to 1 with 0 unchanged.
  virtual void SetBeautyIntensityWithType(LXBeautyType type, float intensity) = 0;
  // Sets every beauty intensity at once; what the preset or group does not name is off.
  virtual void SetBeautyGroupPath(const LXGroupConfig &config) = 0;
  // 0 skin effects as set, 1 at their most natural.
  virtual void SetNaturalityIntensity(float intensity) = 0;
  // `mode` is the deformation's number. 0 off to 1; chin and mouth size -1 to 1 with 0 unchanged.
  virtual void SetDeformIntensityWithMode(int32_t mode, float intensity) = 0;
  // 0 off to 1 the most.
  virtual void SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) = 0;
  // Where the legs are on the upright picture, in parts of its height from the upper edge (`dir` 0) or of its width
  // from the left one (`dir` 1): 0 <= top < bottom <= 1. Both 0: found by the face again, as at first.
  virtual void SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) = 0;
  // As SetMagicEffectWithPath; when the effect ends by itself, or a gift's time is over, the host's named event
  // `event_name` is set. Empty: none.
  virtual void SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag,
                                       const std::string &event_name) = 0;
  // `path` is the effect's folder; empty: none any more, and for a gift the main slot's effect comes back. `slot` 0 is
  // the main one, 2 that of recognition gifts; others pass with a warning. `flag` goes to the engine as it is.
  virtual void SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) = 0;
  // Ends the effects of all slots but the interactive box, and tells the host that the user's own settings hold again.
  virtual void CancelMagicEffect() = 0;
  // 0 stopped, 1 playing, 2 paused: of every effect that plays.
  virtual void SetEffectStateWithState(LXEffectState state) = 0;
  // Inside the effects that play. The open engine knows type 0, their opacity: 0 to 1.
  virtual void SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) = 0;
  // A picture or video for the effects that name it, else shown by itself; it takes the place of the one before. Type 1
  // lets frames pass by the engine until a resource of another type is set.
  virtual void SetMediaResource(LXMediaResource resource) = 0;
  // Reaches no engine; the value is kept in the snapshot alone.
  virtual void SetBasicAdjustIntensity(int32_t type, float intensity) = 0;
  // JSON object: game data for the effects that play.
  virtual void SetBoomGameData(const std::string &json) = 0;
  // Picture files that effects show in the places they leave for them, in order; empty: none.
  virtual void SetMagicCustomImage(const std::vector<std::string> &paths) = 0;
  // `path` is the box's folder; an empty one is ignored. The host's ability handler is told of either.
  virtual void LoadInteractiveBoxResource(const std::string &path) = 0;
  virtual void UnloadInteractiveBoxResource() = 0;
};

// What `FindFacelessInstance` hands to the host application.
// Threads: [control] for every operation; GetFacelessJumpInfo from any thread.
class ILumivex : public IFaceless {
 public:
  // The whole picture that a new engine is given; changes no engine that runs.
  virtual void SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) = 0;
  // For an engine that takes the place of another: whether it loads the box again, and which.
  virtual void SetInteractiveBoxInfo(const InteractiveBoxInfo &info) = 0;
  // The latest ten-second record of each filter, in the order of their sources' addresses; empty at first. One caller
  // at a time.
  virtual std::vector<StatisticsSample> GetBeautyStatistics() = 0;
  // One request, to the beauty filters in `sources` alone: their filter sources, not the parents. Without an event name
  // it is as SetMagicEffectWithPath, else as SetMagicEffectWithEvent. Owns the references: each is released, whether it
  // has a worker or not.
  virtual void SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) = 0;
  // Holds for all beauty filters until the next call. Off at first.
  virtual void SetFacelessJumpInfo(const FacelessJumpInfo &info) = 0;
  virtual FacelessJumpInfo GetFacelessJumpInfo() = 0;
};
