// Plain records and enumerations of engine control. The LX* records are exchanged with the engine as plain memory:
// field order, widths and array lengths are a contract. Their texts are NUL-terminated, in the host's multibyte code
// page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Enumerations pass through this module uninterpreted, so they have no enumerators here: the values belong to the
// engine and to the host. Exceptions are named below.
enum LXEffectType : int32_t {};
enum LXBeautyType : int32_t {};
enum LXEffectSlot : int32_t {};
enum LXEffectState : int32_t {};
enum LXEffectAdjustType : int32_t {};
enum LXBodySlimmingType : int32_t {};
enum LXBodySlimmingStatus : int32_t {};

inline constexpr LXEffectSlot kMainEffectSlot{0};
inline constexpr LXEffectSlot kRecognitionGiftSlot{2};

// LXMediaResource::type that switches engine processing off for frames.
inline constexpr int32_t kMediaTypeSkipEngine = 1;

inline constexpr size_t kEnginePathSize = 1024;  // bytes, the terminator included

struct LXGroupConfig {
  char path[kEnginePathSize];  // path of a beauty group, or a preset's name
  bool is_group;               // `path` names a group
};

struct LXLookupInfo {
  char path[kEnginePathSize];  // file of the colour table; empty: none
  float intensity;             // 0 off to 1 whole
  int32_t dimension;           // entries per axis of the table; the open engine reads them from the file
  int32_t type;                // kind of table: 0 by the file's name, others are the engine's
};

struct LXMakeupInfo {
  char resourceDir[kEnginePathSize];  // folder of the makeup
  char key[kEnginePathSize];          // name by which SetMakeupIntensityWithKey finds it
  int32_t word;                       // kept and copied, never read by this module; 0 is the engine's default
  float intensity;                    // 0 off to 1 whole
};

struct LXMediaResource {
  int32_t type;                     // 0 none, 1 kMediaTypeSkipEngine, others are the engine's
  char mediaPath[kEnginePathSize];  // file or folder, by type
};

struct LXEngineConfig {
  char path[kEnginePathSize];  // the module's data folder "faceless_builtin"
  int32_t flags;               // always 0
  int32_t width;               // pixels
  int32_t height;              // pixels
};

// The host's request that the beauty filter be jumped over.
struct FacelessJumpInfo {
  bool need_jump;     // frames pass through untouched
  int32_t jump_type;  // the host's reason code, only logged
};

static_assert(sizeof(LXGroupConfig) == 1025);
static_assert(sizeof(LXLookupInfo) == 1036);
static_assert(sizeof(LXMakeupInfo) == 2056);
static_assert(sizeof(LXMediaResource) == 1028);
static_assert(sizeof(LXEngineConfig) == 1036);
static_assert(sizeof(FacelessJumpInfo) == 8);
static_assert(offsetof(LXGroupConfig, is_group) == 1024);
static_assert(offsetof(LXLookupInfo, intensity) == 1024 && offsetof(LXLookupInfo, dimension) == 1028 &&
              offsetof(LXLookupInfo, type) == 1032);
static_assert(offsetof(LXMakeupInfo, key) == 1024 && offsetof(LXMakeupInfo, word) == 2048 &&
              offsetof(LXMakeupInfo, intensity) == 2052);
static_assert(offsetof(LXMediaResource, mediaPath) == 4);
static_assert(offsetof(LXEngineConfig, flags) == 1024 && offsetof(LXEngineConfig, width) == 1028 &&
              offsetof(LXEngineConfig, height) == 1032);
static_assert(offsetof(FacelessJumpInfo, jump_type) == 4);

// The host's whole picture of beauty and effects. A new processor gets it replayed; commands never write it.
// Values, ranges and units are those of the commands in i_faceless.h; what is not set or empty is not replayed.
struct FacelessEngineSnapshot {
  std::map<LXEffectType, bool> effect_enabled;
  std::map<LXBodySlimmingType, float> body_slimming;
  std::map<int32_t, float> deform;       // by mode
  std::map<LXBeautyType, float> beauty;  // on top of `group`
  std::vector<LXMakeupInfo> makeup;
  std::optional<LXLookupInfo> lookup;
  std::optional<LXGroupConfig> group;     // in place of the start's "jingdian"
  std::string model_root_path;            // folder of models, in the code page
  std::map<int32_t, float> basic_adjust;  // reaches no engine
  int32_t words[3] = {1, 0, 4};           // carried for the host, never replayed
  std::optional<std::string> tessera_params;
  std::optional<std::string> magic_path;  // effect in the main slot
  std::optional<std::string> boom_game_data;
};

struct InteractiveBoxInfo {
  std::string path;     // folder of the box
  bool loaded = false;  // a new engine loads it again
};

struct MagicEffectRequest {
  std::string path;                     // folder of the effect; empty: none any more
  LXEffectSlot slot = kMainEffectSlot;  // 0 main, 2 recognition gift
  bool flag = false;                    // goes to the engine as it is
  std::string event_name;               // empty: no event is set when the effect ends
};
