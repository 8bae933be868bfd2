// A fake of what commands work on.
#pragma once

#include <string>
#include <vector>

#include "commands/command.h"
#include "fakes/control/recording_control.h"

namespace vanta_test {

// Every source but "gone" is one and the same invalid address: nothing looks behind it.
class FakeTarget final : public vanta_run::CommandTarget {
 public:
  RecordingControl control;
  std::vector<std::string> updates, sources;
  bool quit = false;

  ILumivex &Control() override { return control; }
  obs_source_t *TakeSource(const std::string &name) override {
    sources.push_back(name);
    return name == "gone" ? nullptr : reinterpret_cast<obs_source_t *>(1);
  }
  void Update(const std::string &settings) override { updates.push_back(settings); }
  void Quit() override { quit = true; }
};

}  // namespace vanta_test
