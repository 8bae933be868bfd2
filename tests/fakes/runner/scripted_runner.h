// A vision runner that follows a test's script and notes every call: linked in place of the runner's library. The
// variant value is the library's own, but for addMapItem: an item for a value that is no map fails the test.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "vanta_filter/landmark/tessera_api.h"

namespace vanta_test {

// A picture as the runner got it, with pixels of its own.
struct RunnerPicture {
  int width = 0;
  int height = 0;
  int strides[3] = {0, 0, 0};
  int32_t format = 0;
  int32_t ten_bit = 0;
  double timestamp = -1;
  std::vector<uint8_t> y;  // rows packed
  std::vector<uint8_t> u;
  std::vector<uint8_t> v;
  std::thread::id thread;
};

// How the runner answers. Read at each call, so a change holds from the next call on.
struct RunnerScript {
  bool create = true;  // false: createTesseraRunner gives null
  int init = 0;
  bool result = true;                                        // false: `run` leaves its result null
  std::function<std::shared_ptr<tessera::Any>()> tree;       // of each result; empty: a result without a tree
  std::function<void(const RunnerPicture &picture)> on_run;  // inside `run`, before the answer; may throw
  // Where a test decides at the call itself; each takes the place of the value of its name.
  std::function<bool(const std::string &model_folder)> on_create;  // false: null
  std::function<int()> on_init;
  std::function<int()> on_result;  // what `run` returns; its result stays null unless that is 0
  std::function<void(const tessera::Any &param)> on_param;
};

struct RunnerCall {
  std::string text;  // "setUseMode(qnet_v3)"
  std::thread::id thread;
};

// The script of all runners of the process. Threads: any.
namespace scripted_runner {

void Reset();  // default script, no calls, open gate
void SetScript(const RunnerScript &script);
void SetRecording(bool on);  // calls and pictures are kept; off for long runs
std::vector<RunnerCall> Calls();
std::vector<std::string> Texts();
std::vector<RunnerPicture> Pictures();  // one for each run

int Alive();                       // runners not yet destroyed
uint64_t Runs();                   // that returned
bool WaitForRuns(uint64_t count);  // false fails the test

// A gate inside `run`: closed, each run stands before it until the test opens it.
void Close();
void Open();
void LetOneThrough();
bool AtGate();      // a run stands there
bool WaitAtGate();  // until a run stands there; false fails the test

}  // namespace scripted_runner

// One face of a tree.
struct ScriptedFace {
  size_t points = 101;  // point i stands at (i, 1000 + i)
  float box[4] = {1, 2, 3, 4};
};
std::shared_ptr<tessera::Any> FaceTree(const std::vector<ScriptedFace> &faces);
tessera::Any FacesMap(std::vector<tessera::Any> faces);  // the whole tree around a list of faces
tessera::Any PointList(std::vector<tessera::TesseraPoint> points);
tessera::Any PointLadder(size_t count);  // as in ScriptedFace
tessera::Any Float(double number);

}  // namespace vanta_test
