// What this module requires of the vision runner: the runner, its configuration, pictures, and the variant tree in
// which its results come. Declaration only; the runner's library implements it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vanta_base/export.h"

namespace tessera {

// One entry of a face's list of points.
struct TesseraPoint {
  float x;            // pixels of the analysed picture
  float y;            // pixels
  uint8_t other[16];  // the runner's own
};
static_assert(sizeof(TesseraPoint) == 24);

// A variant value: a number, a text, a list or a map of such, an object, a list of points. Copies share what they hold
// until one of them is changed. Threads: one at a time, as a container of the standard library.
class TESSERA_API Any {
 public:
  class AnyMap;

  enum Tag : int32_t {
    kNull = 0,
    kInteger = 3,
    kFloat = 10,
    kText = 12,
    kObject = 20,     // payload: the object, of the type that object_name names
    kVector = 21,     // payload: std::vector<Any>
    kMap = 22,        // payload: AnyMap
    kPointList = 23,  // payload: std::vector<TesseraPoint>
  };

  Any();
  Any(const char *text);  // null reads as an empty text
  Any(int number);
  Any(const std::string &text);
  Any(const char *key, const Any &value);  // a map of one entry
  Any(const Any &other);
  Any(Any &&other) noexcept;
  Any &operator=(const Any &other);
  Any &operator=(Any &&other) noexcept;
  virtual ~Any();

  static Any newMap(const std::string &key, const Any &value);

  // Replaces an entry of that name. A value that was no map becomes one.
  void addMapItem(const std::string &key, const Any &value);

  // What is no map or no list reads as an empty one; changes to that one are lost.
  AnyMap &asMap();
  const AnyMap &asMap() const;
  std::vector<Any> &asVec();
  // A number, or a text that begins with one; 0 for everything else.
  float toFloat32() const;

  // Read directly by whoever looks for an object or for points.
  int32_t tag = kNull;
  double number = 0;
  std::string text;
  std::string object_name;        // type of the object, for messages
  std::shared_ptr<void> payload;  // by tag, may be null
};

class TESSERA_API Any::AnyMap {
 public:
  const Any &get(const std::string &key, const Any &fallback) const;  // refers to the entry or to `fallback`
  Any get(const std::string &key, const Any &fallback);

  std::map<std::string, Any> items;
};

enum TesseraPixelFormat : int32_t { kTesseraI420 = 7 };
enum TenBitFormat : int32_t { kTesseraEightBit = 0 };

class TESSERA_API TesseraConfig {
 public:
  explicit TesseraConfig(const std::string &name);  // of what is looked for: "tessera_landmarks"
  virtual ~TesseraConfig();
  void setUseMode(const std::string &mode);                       // the kind of network: "qnet_v3"
  void setModelFolderPath(const std::string &path);               // in the code page
  void setModelFilePaths(const std::vector<std::string> &paths);  // likewise
  void setConfigParam(const Any &param);                          // a map of JSON texts by the network's name

 private:
  friend class TesseraRunner;
  struct State;
  std::shared_ptr<State> state_;
};

class TESSERA_API TesseraImage {
 public:
  TesseraImage();
  virtual ~TesseraImage();
  // Borrows the planes for the run. Sizes in pixels, strides in bytes.
  void setData(int width, int height, unsigned char *plane0, unsigned char *plane1, unsigned char *plane2,
               TesseraPixelFormat format, int stride0, int stride1, int stride2, TenBitFormat ten_bit);

 private:
  friend class TesseraRunner;
  struct State;
  std::shared_ptr<State> state_;
};

class TESSERA_API TesseraFrame {
 public:
  TesseraFrame();
  virtual ~TesseraFrame();
  std::shared_ptr<TesseraImage> getTesseraImage();  // the frame's own, empty at first
  void setImageObj(std::shared_ptr<TesseraImage> image);
  void setTimeStamp(double timestamp);  // nanoseconds

 private:
  friend class TesseraRunner;
  struct State;
  std::shared_ptr<State> state_;
};

class TESSERA_API TesseraOut {
 public:
  TesseraOut();
  virtual ~TesseraOut();
  std::shared_ptr<Any> &getAny();

 private:
  std::shared_ptr<Any> any_;
};

// Finds faces. All but createTesseraRunner is called by one thread at a time, the same or another.
class TESSERA_API TesseraRunner {
 public:
  virtual ~TesseraRunner();
  static std::shared_ptr<TesseraRunner> createTesseraRunner(std::shared_ptr<TesseraConfig> config);  // null on failure
  void setLogLevel(int level);                // the runner's own scale; this module sets 3
  int init();                                 // 0 on success
  void setParam(std::shared_ptr<Any> param);  // a map with "landmarks_param": parameters by name, numbers as texts
  // Returns when the picture is analysed. `out` is set, or left null when there is no result.
  int run(std::shared_ptr<TesseraFrame> frame, std::shared_ptr<TesseraOut> &out);

 private:
  TesseraRunner();
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tessera
