// What the landmark filter and its worker need around them: a scripted runner, graphics, host and GL on paper, and a
// receiver of the signal.
#pragma once

#include <callback/calldata.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <obs.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/gs_recorder.h"
#include "support/host_double.h"
#include "support/log_capture.h"
#include "support/scripted_runner.h"
#include "unit/landmark/gl_host_double.h"

namespace vanta_test {

// Only the test's thread may ever have been inside graphics when the bench goes.
class LandmarkBench : public testing::Test {
 protected:
  struct Message {
    OBSData data;
    std::thread::id thread;
    int graphics_depth = 0;  // of the sending thread
    long long Int(const char *key) const { return obs_data_get_int(data, key); }
  };

  LandmarkBench();
  ~LandmarkBench() override;

  static void UseGpuRoad(bool on);
  static void FacesFound(size_t count);               // by each run from now on
  static void ConfigFolder(const std::string &path);  // the host's, in UTF-8; empty: it has none
  static void HoldInConfigFolder(bool hold);          // the worker's thread stands where it looks for its models
  std::vector<Message> Messages();
  void WaitForMessages(size_t count);
  static void FailConversion(bool fail);  // of pixels into the runner's format, by libyuv
  // What a grey picture's bytes become in the runner's first plane.
  static uint8_t Luma(uint8_t grey);

  LogCapture log_;

 private:
  static void Receive(void *param, calldata_t *data);

  std::mutex mutex_;
  std::vector<Message> messages_;
};

}  // namespace vanta_test
