// Sends the commands of a script, and of standard input, when their time comes.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "commands/ability_answers.h"
#include "commands/command_script.h"
#include "commands/event_watch.h"
#include "commands/line_input.h"
#include "output/run_figures.h"
#include "session/progress.h"
#include "session/stage.h"

namespace vanta_run {

// The host application's side of effects: what they ask, what is answered, what they set.
struct EffectDesk {
  AbilityHandler &handler;
  std::vector<AbilityAnswer> answers;
  std::vector<std::unique_ptr<EventWatch>> events;
};

// Results go to standard output, a JSON object a line. Threads: [control].
class CommandPlayer final : private CommandTarget {
 public:
  // `script_name` stands in the report; `interactive` reads standard input too.
  CommandPlayer(std::string script_name, std::vector<ScriptLine> script, bool interactive, Progress &progress,
                Stage &stage, EffectDesk desk, ILumivex &control);

  // Sends what is due; false when a line asks for the end.
  bool Advance(double elapsed);
  // What was sent, asked and left, for the report.
  void Tell(RunFigures &figures);

 private:
  ILumivex &Control() override { return control_; }
  obs_source_t *TakeSource(const std::string &name) override { return stage_.TakeSource(name); }
  void Update(const std::string &settings) override;
  void Quit() override { quit_ = true; }

  void ReadInput(double elapsed);
  void SendDue(std::deque<ScriptLine> &lines, const std::string &place, double elapsed);
  void HandleAbilityCalls(double elapsed);
  void LookAtEvents();

  const std::string script_name_;
  const bool interactive_;
  Progress &progress_;
  Stage &stage_;
  EffectDesk desk_;
  ILumivex &control_;

  std::deque<ScriptLine> script_, typed_;  // not sent yet, in order of time
  LineInput input_;
  size_t lines_read_ = 0;
  bool quit_ = false;
  std::vector<SentCommand> sent_;
  std::vector<AskedAbility> asked_;
  std::vector<EventCount> events_;  // as in desk_
};

}  // namespace vanta_run
