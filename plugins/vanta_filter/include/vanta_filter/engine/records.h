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
  char path[kEnginePathSize];
  float intensity;    // 0 to 1
  int32_t dimension;  // entries per axis of the table
  int32_t type;
};

struct LXMakeupInfo {
  char resourceDir[kEnginePathSize];
  char key[kEnginePathSize];
  int32_t word;  // kept and copied, never read by this module
  float intensity;
};

struct LXMediaResource {
  int32_t type;
  char mediaPath[kEnginePathSize];
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
struct FacelessEngineSnapshot {
  std::map<LXEffectType, bool> effect_enabled;
  std::map<LXBodySlimmingType, float> body_slimming;
  std::map<int32_t, float> deform;  // by mode
  std::map<LXBeautyType, float> beauty;
  std::vector<LXMakeupInfo> makeup;
  std::optional<LXLookupInfo> lookup;
  std::optional<LXGroupConfig> group;
  std::string model_root_path;  // empty: not replayed
  std::map<int32_t, float> basic_adjust;
  int32_t words[3] = {1, 0, 4};  // carried for the host, never replayed
  std::optional<std::string> tessera_params;
  std::optional<std::string> magic_path;
  std::optional<std::string> boom_game_data;
};

struct InteractiveBoxInfo {
  std::string path;
  bool loaded = false;
};

struct MagicEffectRequest {
  std::string path;
  LXEffectSlot slot = kMainEffectSlot;
  bool flag = false;
  std::string event_name;  // empty: no event is set when the effect ends
};
