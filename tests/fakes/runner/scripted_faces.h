// What the scripted runner finds, for the engine's tests: faces at places of the test's choice.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <future>
#include <map>
#include <opencv2/core.hpp>
#include <string>
#include <thread>
#include <vector>

#include "vanta_host.h"

namespace lumivex_test {

struct ScriptedFace {
  cv::Point2f eyes;  // between the pupils, pixels of the picture that the runner sees
  float eye_distance = 100.0f;
  float roll = 0.0f;  // radians, clockwise
  float mouth_open = 0.0f;
  float mouth_confidence = 0.0f;
  std::array<float, 2> eyes_open{1.0f, 1.0f};  // left, right
  std::array<float, 2> eyes_confidence{};
};

// Points of the mean shape at that place, in the published order.
std::vector<cv::Point2f> PointsOf(const ScriptedFace &face);

// What the runners of this process do, and what was asked of them. Threads: one at a time.
struct FacesScript {
  bool refuses = false;  // createTesseraRunner gives null
  int init_result = 0;
  std::shared_future<void> init_awaits;  // where there is one
  bool throws = false;
  bool is_mute = false;                             // run leaves its result null
  std::vector<ScriptedFace> faces;                  // found in each picture
  std::vector<std::vector<cv::Point2f>> raw_faces;  // points in the published order, after those
  double search_processor_ms = 0;                   // of its search thread
  double search_elapsed_ms = 0;                     // 0: it has none

  int created = 0;
  std::thread::id init_thread;
  int runs = 0;
  std::string model_folder;                   // of the last one created
  std::map<std::string, std::string> params;  // set last
  cv::Mat luma;                               // of the last picture, copied
  cv::Mat u;
  cv::Mat v;
};

FacesScript &Script();

// Each test starts with a new script, and with a host that takes its face points from the engine.
class WithScriptedRunner : public ::testing::Test {
 protected:
  WithScriptedRunner();
};

}  // namespace lumivex_test
