// An engine wrapper around a scripted engine, with the host on paper.
#pragma once

#include <callback/calldata.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/lumivex_processor.h"
#include "support/gs_recorder.h"
#include "support/host_double.h"
#include "support/log_capture.h"
#include "support/scripted_engine.h"

namespace vanta_test {

// While one lives, libobs has no folder for configurations.
class NoConfigFolder {
 public:
  NoConfigFolder();
  ~NoConfigFolder();
  NoConfigFolder(const NoConfigFolder &) = delete;
  NoConfigFolder &operator=(const NoConfigFolder &) = delete;
};

class EngineBench : public testing::Test {
 protected:
  EngineBench();
  ~EngineBench() override;

  void Start(uint32_t width = 64, uint32_t height = 48);  // a processor, initialised
  vanta::PooledFrame MakePooled(int width = 64, int height = 48);
  // The engine's calls, without those of its start.
  static std::vector<std::string> CallsAfterStart();

  // The signals that came, as text: "vanta_filter_callback(1, OnLumivexInit, {...})".
  const std::vector<std::string> &signals() const { return signals_; }
  // What the engine had been told when the last zt_magic_callback came.
  const std::vector<std::string> &calls_at_signal() const { return calls_at_signal_; }

  LogCapture log_;
  LX::FramePool pool_;
  std::unique_ptr<vanta::LumivexProcessor> processor_;

 private:
  static void OnFilterCallback(void *param, calldata_t *data);
  static void OnMagicCallback(void *param, calldata_t *data);
  static void OnBodySlimming(void *param, calldata_t *data);

  std::vector<std::string> signals_;
  std::vector<std::string> calls_at_signal_;
};

}  // namespace vanta_test
