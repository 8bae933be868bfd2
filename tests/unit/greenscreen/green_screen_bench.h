// A registered green screen filter on paper: its callbacks as the customised host calls them.
#pragma once

#include <gtest/gtest.h>

#include <obs.hpp>
#include <string>
#include <vector>

#include "greenscreen/green_screen_filter_data.h"
#include "module/source_record.h"
#include "support/gs_recorder.h"
#include "support/host_double.h"
#include "support/log_capture.h"

namespace vanta_test {

// The notes' names of the render targets, in the order in which the filter makes them.
inline const std::string kKeyLutTarget = "texrender1";
inline const std::string kUvkaTarget = "texrender2";
inline const std::string kStateTarget = "texrender3";
inline const std::string kNextTarget = "texrender4";
inline const std::string kShrinkHTarget = "texrender5";
inline const std::string kShrinkVTarget = "texrender6";
inline const std::string kLevel0Target = "texrender7";
inline const std::string kLevel1Target = "texrender8";
inline const std::string kLevel2Target = "texrender9";
inline const std::string kBlurTempTarget = "texrender10";
inline const std::string kOutputTarget = "texrender11";

inline const std::string kShader = "[LX_green_screen_filter][shader] ";

class GreenScreenBench : public testing::Test {
 protected:
  GreenScreenBench();
  ~GreenScreenBench() override;

  // A filter that has `config` among its settings. The notes and the log start again behind it.
  void Create(const std::string &config = "{}");
  void Destroy();
  void Update(const std::string &config);
  void Tick() { record_.video_tick(instance_, 0.01f); }
  void Render();      // as the graphics thread does: inside graphics
  void NextFrame();   // the notes and the log start again, then a tick and a render
  void ClearNotes();  // of the recorder and of the log
  vanta::GreenScreenFilterData &data() { return *static_cast<vanta::GreenScreenFilterData *>(instance_); }
  vanta::GreenScreenSettings Settings() { return data().renderer.Settings(); }

  // The texts of the error lines since ClearNotes, without "[LX_green_screen_filter]"'s own prefix of the shader.
  std::vector<std::string> Errors() const;

  // How the frame reached the host.
  bool DrawnKeyed() const;
  bool PassedThrough() const;
  bool Skipped() const;

  // One line for each pass since ClearNotes: "Technique target WxH image=... uv_lut=...", with all textures set since
  // the pass before.
  static std::vector<std::string> Passes();
  // The same without textures.
  static std::vector<std::string> PassNames();
  // The last value that was set on a parameter, as the notes have it; empty where none was.
  static std::string LastValue(const std::string &param);

  LogCapture log_;
  obs_source parent_;
  obs_source target_;
  obs_source filter_;
  HostSourceInfo record_{};
  OBSDataAutoRelease settings_;
  void *instance_ = nullptr;
};

}  // namespace vanta_test
