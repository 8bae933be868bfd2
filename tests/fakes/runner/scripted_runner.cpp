#include "fakes/runner/scripted_runner.h"

#include <condition_variable>
#include <mutex>
#include <utility>

#include <gtest/gtest.h>

#include "fakes/fresh_start.h"
#include "fixtures/process/wait.h"

namespace vanta_test {
namespace {

struct Runners {
  std::mutex mutex;
  std::condition_variable changed;
  std::shared_ptr<const RunnerScript> script = std::make_shared<RunnerScript>();
  bool recording = true;
  std::vector<RunnerCall> calls;
  std::vector<RunnerPicture> pictures;
  int alive = 0;
  uint64_t runs = 0;
  bool closed = false;
  int permits = 0;
  int waiting = 0;
};

Runners &Get() {
  static Runners *runners = new Runners;
  return *runners;
}

void Note(std::string text) {
  Runners &runners = Get();
  std::lock_guard<std::mutex> lock(runners.mutex);
  if (runners.recording) runners.calls.push_back({std::move(text), std::this_thread::get_id()});
}

std::shared_ptr<const RunnerScript> Script() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().script;
}

void PassGate() {
  Runners &runners = Get();
  std::unique_lock<std::mutex> lock(runners.mutex);
  if (!runners.closed) return;
  ++runners.waiting;
  runners.changed.notify_all();
  runners.changed.wait(lock, [&] { return !runners.closed || runners.permits > 0; });
  if (runners.closed) --runners.permits;
  --runners.waiting;
}

template <typename Condition>
bool WaitOn(Condition condition, const char *what) {
  Runners &runners = Get();
  std::unique_lock<std::mutex> lock(runners.mutex);
  if (runners.changed.wait_for(lock, kWatchdog, condition)) return true;
  ADD_FAILURE() << "waited in vain for the runner: " << what << ", " << runners.runs << " runs so far";
  return false;
}

std::vector<uint8_t> CopyPlane(const unsigned char *plane, int width, int height, int stride) {
  std::vector<uint8_t> copy;
  for (int y = 0; y < height && plane; ++y) copy.insert(copy.end(), plane + y * stride, plane + y * stride + width);
  return copy;
}

// A map as text, its entries in the order of their keys.
std::string Text(const tessera::Any &any) {
  if (any.tag == tessera::Any::kText) return any.text;
  if (any.tag != tessera::Any::kMap) return "tag " + std::to_string(any.tag);
  std::string text;
  for (const auto &[key, value] : any.asMap().items) text += (text.empty() ? "" : ", ") + key + "=" + Text(value);
  return "{" + text + "}";
}

}  // namespace

namespace scripted_runner {

void Reset() {
  Runners &runners = Get();
  std::lock_guard<std::mutex> lock(runners.mutex);
  runners.script = std::make_shared<RunnerScript>();
  runners.recording = true;
  runners.calls.clear();
  runners.pictures.clear();
  runners.runs = 0;
  runners.closed = false;
  runners.permits = 0;
}

const FreshStart fresh_start(&Reset);

void SetScript(const RunnerScript &script) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().script = std::make_shared<RunnerScript>(script);
}

void SetRecording(bool on) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().recording = on;
}

std::vector<RunnerCall> Calls() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().calls;
}

std::vector<std::string> Texts() {
  std::vector<std::string> texts;
  for (const RunnerCall &call : Calls()) texts.push_back(call.text);
  return texts;
}

std::vector<RunnerPicture> Pictures() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().pictures;
}

int Alive() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().alive;
}

uint64_t Runs() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().runs;
}

bool WaitForRuns(uint64_t count) {
  return WaitOn([&] { return Get().runs >= count; }, "runs");
}

void Close() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().closed = true;
}

void Open() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().closed = false;
  Get().permits = 0;
  Get().changed.notify_all();
}

void LetOneThrough() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  ++Get().permits;
  Get().changed.notify_all();
}

bool AtGate() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().waiting > 0;
}

bool WaitAtGate() {
  return WaitOn([] { return Get().waiting > 0 && Get().permits == 0; }, "a run at the gate");
}

}  // namespace scripted_runner

tessera::Any PointList(std::vector<tessera::TesseraPoint> points) {
  tessera::Any any;
  any.tag = tessera::Any::kPointList;
  any.payload = std::make_shared<std::vector<tessera::TesseraPoint>>(std::move(points));
  return any;
}

tessera::Any PointLadder(size_t count) {
  std::vector<tessera::TesseraPoint> points(count);
  for (size_t i = 0; i < count; ++i) points[i] = {static_cast<float>(i), static_cast<float>(1000 + i), {}};
  return PointList(std::move(points));
}

tessera::Any Float(double number) {
  tessera::Any any;
  any.tag = tessera::Any::kFloat;
  any.number = number;
  return any;
}

tessera::Any FacesMap(std::vector<tessera::Any> faces) {
  tessera::Any list;
  list.tag = tessera::Any::kVector;
  list.payload = std::make_shared<std::vector<tessera::Any>>(std::move(faces));
  return tessera::Any::newMap("landmarks_out", tessera::Any::newMap("faces", list));
}

std::shared_ptr<tessera::Any> FaceTree(const std::vector<ScriptedFace> &faces) {
  std::vector<tessera::Any> list;
  for (const ScriptedFace &face : faces) {
    tessera::Any box = tessera::Any::newMap("left", Float(static_cast<double>(face.box[0])));
    box.addMapItem("top", Float(static_cast<double>(face.box[1])));
    box.addMapItem("width", Float(static_cast<double>(face.box[2])));
    box.addMapItem("height", Float(static_cast<double>(face.box[3])));
    tessera::Any map = tessera::Any::newMap("pos", PointLadder(face.points));
    map.addMapItem("range_expand", box);
    list.push_back(map);
  }
  return std::make_shared<tessera::Any>(FacesMap(std::move(list)));
}

}  // namespace vanta_test

// ---- The library's classes ----

namespace tessera {

using namespace vanta_test;

// The library's makes a map of any value. Another runner need not: what is to be a map begins with newMap.
void Any::addMapItem(const std::string &key, const Any &value) {
  EXPECT_EQ(tag, kMap) << "\"" << key << "\" for a value that is no map";
  Any copy = value;  // `value` may be this map, or stand in it
  if (tag != kMap)
    *this = newMap(key, copy);
  else
    asMap().items[key] = std::move(copy);
}

struct TesseraConfig::State {
  std::string model_folder;
};
struct TesseraImage::State {
  RunnerPicture picture;
  unsigned char *planes[3] = {nullptr, nullptr, nullptr};
};
struct TesseraFrame::State {
  std::shared_ptr<TesseraImage> own = std::make_shared<TesseraImage>();
  std::shared_ptr<TesseraImage> image;
  double timestamp = -1;
};
struct TesseraRunner::State {
  State() { Count(1); }
  ~State() {
    Note("~TesseraRunner()");
    Count(-1);
  }
  State(const State &) = delete;
  State &operator=(const State &) = delete;
  static void Count(int by) {
    std::lock_guard<std::mutex> lock(Get().mutex);
    Get().alive += by;
  }
};

TesseraConfig::TesseraConfig(const std::string &name) : state_(std::make_shared<State>()) {
  Note("TesseraConfig(" + name + ")");
}
TesseraConfig::~TesseraConfig() = default;
void TesseraConfig::setUseMode(const std::string &mode) {
  Note("setUseMode(" + mode + ")");
}
void TesseraConfig::setModelFolderPath(const std::string &path) {
  Note("setModelFolderPath(" + path + ")");
  state_->model_folder = path;
}
void TesseraConfig::setModelFilePaths(const std::vector<std::string> &paths) {
  std::string text;
  for (const std::string &path : paths) text += (text.empty() ? "" : ", ") + path;
  Note("setModelFilePaths(" + text + ")");
}
void TesseraConfig::setConfigParam(const Any &param) {
  Note("setConfigParam(" + Text(param) + ")");
}

TesseraImage::TesseraImage() : state_(std::make_shared<State>()) {}
TesseraImage::~TesseraImage() = default;
void TesseraImage::setData(int width, int height, unsigned char *plane0, unsigned char *plane1, unsigned char *plane2,
                           TesseraPixelFormat format, int stride0, int stride1, int stride2, TenBitFormat ten_bit) {
  RunnerPicture &picture = state_->picture;
  picture.width = width;
  picture.height = height;
  picture.format = format;
  picture.ten_bit = ten_bit;
  picture.strides[0] = stride0;
  picture.strides[1] = stride1;
  picture.strides[2] = stride2;
  state_->planes[0] = plane0;
  state_->planes[1] = plane1;
  state_->planes[2] = plane2;
}

TesseraFrame::TesseraFrame() : state_(std::make_shared<State>()) {}
TesseraFrame::~TesseraFrame() = default;
std::shared_ptr<TesseraImage> TesseraFrame::getTesseraImage() {
  return state_->own;
}
void TesseraFrame::setImageObj(std::shared_ptr<TesseraImage> image) {
  state_->image = std::move(image);
}
void TesseraFrame::setTimeStamp(double timestamp) {
  state_->timestamp = timestamp;
}

TesseraOut::TesseraOut() = default;
TesseraOut::~TesseraOut() = default;
std::shared_ptr<Any> &TesseraOut::getAny() {
  return any_;
}

TesseraRunner::TesseraRunner() : state_(std::make_shared<State>()) {}
TesseraRunner::~TesseraRunner() = default;
std::shared_ptr<TesseraRunner> TesseraRunner::createTesseraRunner(std::shared_ptr<TesseraConfig> config) {
  Note(config ? "createTesseraRunner()" : "createTesseraRunner(null)");
  const std::shared_ptr<const RunnerScript> script = Script();
  if (script->on_create ? !script->on_create(config ? config->state_->model_folder : "") : !script->create)
    return nullptr;
  return std::shared_ptr<TesseraRunner>(new TesseraRunner);
}
void TesseraRunner::setLogLevel(int level) {
  Note("setLogLevel(" + std::to_string(level) + ")");
}
int TesseraRunner::init() {
  Note("init()");
  const std::shared_ptr<const RunnerScript> script = Script();
  return script->on_init ? script->on_init() : script->init;
}
void TesseraRunner::setParam(std::shared_ptr<Any> param) {
  Note("setParam(" + (param ? Text(*param) : "null") + ")");
  const std::shared_ptr<const RunnerScript> script = Script();
  if (script->on_param && param) script->on_param(*param);
}

int TesseraRunner::run(std::shared_ptr<TesseraFrame> frame, std::shared_ptr<TesseraOut> &out) {
  const std::shared_ptr<const RunnerScript> script = Script();
  const TesseraImage::State &image = *frame->state_->image->state_;
  RunnerPicture picture = image.picture;
  picture.timestamp = frame->state_->timestamp;
  picture.thread = std::this_thread::get_id();
  const int half_width = (picture.width + 1) / 2;
  const int half_height = (picture.height + 1) / 2;
  picture.y = CopyPlane(image.planes[0], picture.width, picture.height, picture.strides[0]);
  picture.u = CopyPlane(image.planes[1], half_width, half_height, picture.strides[1]);
  picture.v = CopyPlane(image.planes[2], half_width, half_height, picture.strides[2]);
  Note("run(" + std::to_string(picture.width) + "x" + std::to_string(picture.height) + ")");
  PassGate();
  if (script->on_run) script->on_run(picture);
  const int returned = script->on_result ? script->on_result() : 0;
  if (script->result && returned == 0) {
    out = std::make_shared<TesseraOut>();
    if (script->tree) out->getAny() = script->tree();
  }
  std::lock_guard<std::mutex> lock(Get().mutex);
  if (Get().recording) Get().pictures.push_back(std::move(picture));
  ++Get().runs;
  Get().changed.notify_all();
  return returned;
}

}  // namespace tessera
