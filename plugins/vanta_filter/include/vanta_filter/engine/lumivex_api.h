// What this module requires of the effect engine: the frame record, the frame pool, the shared texture and the engine
// class. Declaration only; the engine's library implements it.
#pragma once

#include <bit>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vanta_base/export.h"
#include "vanta_filter/engine/records.h"

struct GLFWwindow;  // the engine's hidden GL window, opaque here

namespace tessera {
class Any;
}

namespace LX {

struct BoomGameData {
  std::string json;  // the only member that this module reads
};

// A texture shared between the engine's device and the host's. Made and owned by the engine.
class LUMIVEX_API DXGLSharedTexture {
 public:
  DXGLSharedTexture();
  virtual ~DXGLSharedTexture();
  void waitSync();                 // blocks until the engine has finished writing
  uint64_t getKeyValue();          // key to acquire; 0: no keyed lock
  void setKeyValue(uint64_t key);  // key that the engine acquires next

  uint64_t handle = 0;  // 0: the texture has no handle

 protected:
  struct State;
  std::shared_ptr<State> state_;
};

// FrameData::color_code: matrix and range. Any other number is read as k709Partial.
struct ColorCode {
  static constexpr int32_t k601Partial = 0;
  static constexpr int32_t k601Full = 1;
  static constexpr int32_t k709Partial = 2;
  static constexpr int32_t k709Full = 3;  // and sRGB
  static constexpr int32_t k2100 = 5;     // partial range, PQ or HLG
};

// FrameData::layout_code.
struct LayoutCode {
  static constexpr int32_t kNv12 = 1;
  static constexpr int32_t kI420 = 2;
  static constexpr int32_t kPacked = 3;
};

// FrameData::prepared_mark of every frame that this module has prepared.
inline constexpr float kPreparedFrameMark = 67.5642166f;
static_assert(std::bit_cast<uint32_t>(kPreparedFrameMark) == 0x428720E1u);

// FrameData::pixel_format: going in it asks for something, coming back it says what the frame is.
struct PixelFormat {
  static constexpr int32_t kFresh = -1;          // of a frame from the pool; in: a memory frame is wanted
  static constexpr int32_t kMemory = 1;          // out: in the planes; so is every number that is not named here
  static constexpr int32_t kPixelBuffer = 3;     // out: packed pixels in the first plane
  static constexpr int32_t kPixelBuffer4 = 4;    // out: likewise
  static constexpr int32_t kNoGreenMatting = 4;  // in: as kFresh, but with the green background left as it is
  static constexpr int32_t kSharedTexture = 5;   // in: wanted; out: in `shared_texture`
};

// One frame on its way through the engine. Field order is a contract.
class LUMIVEX_API FrameData : public std::enable_shared_from_this<FrameData> {
 public:
  FrameData();
  FrameData(const FrameData &other);
  FrameData &operator=(const FrameData &other);
  virtual ~FrameData();

  uint8_t *planes[3];    // NV12: Y, interleaved UV, null
  int32_t strides[3];    // bytes per row of each plane
  int32_t word;          // 1 on every frame that the factory prepares
  int32_t color_code;    // one of ColorCode
  int32_t layout_code;   // one of LayoutCode
  int32_t pixel_format;  // one of PixelFormat
  int32_t reserved;
  int32_t width;                                      // pixels
  int32_t height;                                     // pixels
  int32_t rotation;                                   // degrees, clockwise, any value
  float prepared_mark;                                // kPreparedFrameMark
  uint8_t flip;                                       // mirror left and right
  float tessera_ms;                                   // out: milliseconds that the calling thread spent on faces
  float beauty_ms;                                    // out: its other milliseconds in the engine
  std::string dump_text;                              // out: JSON of what was applied, on a frame marked for dump
  uint64_t timestamp;                                 // the host frame's, nanoseconds
  uint64_t stamp;                                     // enqueue time, milliseconds of the system tick clock
  uint8_t dump_flag;                                  // non-zero: the image dump follows this frame
  std::shared_ptr<DXGLSharedTexture> shared_texture;  // set when pixel_format comes back as kSharedTexture
};

// Hands out NV12 frames and takes their memory back when the last shared pointer goes. Frames may outlive the pool.
// Threads: any.
class LUMIVEX_API FramePool {
 public:
  FramePool();
  ~FramePool();
  FramePool(const FramePool &) = delete;
  FramePool &operator=(const FramePool &) = delete;

  void setMaxCachedFrameSize(int count);
  // Never null; `pixel_format` is kFresh, the pixels are undefined. The last two arguments are always 0 here.
  std::shared_ptr<FrameData> takeFrameDataNV12(int width, int height, int, int);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

// One engine, for one frame size. Calls are serialised by the caller; callbacks come on threads of the engine's choice,
// also from inside a call, until the destructor has returned. Paths are in the host's multibyte code page, JSON is
// UTF-8.
class LUMIVEX_API LumivexSync {
 public:
  // Null when the engine cannot run on this machine.
  static std::shared_ptr<LumivexSync> createEngine(const LXEngineConfig *config);
  static std::shared_ptr<LumivexSync> createEngine(const LXEngineConfig *config, std::shared_ptr<GLFWwindow> window);
  ~LumivexSync();
  LumivexSync(const LumivexSync &) = delete;
  LumivexSync &operator=(const LumivexSync &) = delete;

  // Commands are those of IFaceless (i_faceless.h), where their ranges stand.
  void setBeautyGroupPath(const LXGroupConfig &config);
  void setModelPathDic(const std::map<std::string, std::string> &path_dic);
  void setModelRootPath(std::string path);
  // Callbacks; the one set last counts. After each look for faces: the vision runner's result under "landmarks".
  void setTesseraCpuDataFunc(
      std::function<void(std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>)> callback);
  // Texts of the vision step: statistics, reports, log.
  void setTesseraUploadStatsCallBack(std::function<void(const std::string &)> callback, const std::string &name);
  void setTesseraPostReportCallBack(std::function<void(const std::string &, const std::string &)> callback);
  void setTesseraLogCallBack(std::function<void(const std::string &, const std::string &)> callback);
  // What an effect asks of the host: ability_handler.h.
  void setGameDataCallback(std::function<void(const BoomGameData &)> callback);
  void setBodySlimmingStatusCallback(const std::function<void(LXBodySlimmingStatus)> &callback);
  // An effect's description of itself, JSON in UTF-8 or in the code page; false: the effect failed.
  void setEffectDescriptionCallback(std::function<void(const std::string &, bool)> callback);

  // Returns when the frame is done: the same one or another, null on failure.
  std::shared_ptr<FrameData> processFrameData(std::shared_ptr<FrameData> frame);
  // May block for up to `timeout`.
  bool isNVDXInteropSupported(bool wait, std::chrono::milliseconds timeout);
  std::string getStats();  // JSON, since the last clearStats
  void clearStats();
  // The vision step's statistics, a text for the log.
  void getTesseraStat(std::string &out);

  void updateTesseraParams(const std::string &json);
  void beginBatchCommand();
  void endBatchCommand();
  void setEffectEnabledWithEffectType(LXEffectType type, bool enabled);
  void setLookupInfo(LXLookupInfo info);
  void setLookupIntensity(float intensity);
  void setMakeupInfo(const std::vector<LXMakeupInfo> &layers);
  void setMakeupIntensityWithKey(std::string key, float intensity);
  void setBeautyIntensityWithType(LXBeautyType type, float intensity);
  void setNaturalityIntensity(float intensity);
  void setDeformIntensityWithMode(int mode, float intensity);
  void setBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity);
  void setBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int dir);
  void setMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag);
  void cancelMagicEffect();
  void setEffectStateWithState(LXEffectState state);
  void setEffectIntensityWithType(LXEffectAdjustType type, float intensity);
  void setMediaResource(LXMediaResource resource);
  void setBoomGameData(const std::string &json);
  void setMagicCustomImage(const std::vector<std::string> &paths);
  void loadInteractiveBoxResource(std::string path);
  void unloadInteractiveBoxResource();

 private:
  LumivexSync();
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// For the whole process; this module sets 0.
LUMIVEX_API void setDebugAlertMode(int mode);

}  // namespace LX

namespace Lumivex {
// A window with a GL context, of so many pixels. Null when none can be made. The caller destroys it, once no engine
// uses it any more.
LUMIVEX_API GLFWwindow *createGLFWWindow(int width, int height, bool visible);
LUMIVEX_API void destroyGLFWWindow(GLFWwindow *window);
}  // namespace Lumivex
