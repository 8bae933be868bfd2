// Puts what the command line asks for before the module's control object and the engine's controls.
#pragma once

#include <obs.h>

#include <string>
#include <vector>

#include "common/options.h"
#include "vanta_filter/engine/i_faceless.h"

namespace vanta_run {

// Threads: [control].
class BeautyControl {
 public:
  explicit BeautyControl(const Options &options) : options_(options) {}

  // Host switches and the engine's controls. Before the module is loaded.
  void SetUpHost() const;
  // The snapshot, which every engine made later is given. After the module is loaded, before the filter is made.
  void SendSnapshot() const;
  // The same as live commands, for the engine that runs already. After the filter is made.
  void SendCommands() const;
  // Plays the effect of the command line from its start; an engine made later plays it again. The effect's end sets the
  // event, if one is named.
  void StartEffect(const std::string &event) const;
  // Takes the engine away: the next one cannot be made, and the request makes the worker want a new one.
  void StopEngine(obs_source_t *filter) const;

  std::vector<StatisticsSample> Statistics() const;
  // The module's control object; null before the module is loaded.
  static ILumivex *Faceless();

 private:
  void AskForTheSameEachTime() const;
  FacelessEngineSnapshot Snapshot() const;

  const Options &options_;
};

}  // namespace vanta_run
