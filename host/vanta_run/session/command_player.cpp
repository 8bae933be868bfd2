#include "session/command_player.h"

#include <unistd.h>
#include <vanta_base/json_text.h>

#include <cmath>
#include <cstdio>
#include <utility>

#include "commands/settings_update.h"

namespace vanta_run {
namespace {

constexpr char kInputName[] = "standard input";
constexpr size_t kMaxKept = 10000;  // commands and calls in the report
// That are read in one go: who writes without an end shall not hold up the run's.
constexpr int kMostLinesAtOnce = 100000;

double Rounded(double seconds) {
  return std::round(seconds * 1000) / 1000;
}

// At once, so that a program at the other end of the pipe gets it while the run goes on.
void Answer(const std::string &place, size_t line, const std::string &name, const Json &result) {
  const Json answer = {{"from", place}, {"line", line}, {"call", name}, {"result", result}};
  std::printf("%s\n", vanta::WriteJson(answer).c_str());
  std::fflush(stdout);
}

}  // namespace

CommandPlayer::CommandPlayer(std::string script_name, std::vector<ScriptLine> script, bool interactive,
                             Progress &progress, Stage &stage, EffectDesk desk, ILumivex &control)
    : script_name_(std::move(script_name)),
      interactive_(interactive),
      progress_(progress),
      stage_(stage),
      desk_(std::move(desk)),
      control_(control),
      script_(std::make_move_iterator(script.begin()), std::make_move_iterator(script.end())),
      input_(STDIN_FILENO) {
  for (const auto &event : desk_.events) events_.push_back({event->name(), 0});
}

bool CommandPlayer::Advance(double elapsed) {
  SendDue(script_, script_name_, elapsed);
  if (interactive_) {
    ReadInput(elapsed);
    SendDue(typed_, kInputName, elapsed);
  }
  HandleAbilityCalls(elapsed);
  LookAtEvents();
  return !quit_;
}

void CommandPlayer::ReadInput(double elapsed) {
  for (int i = 0; i < kMostLinesAtOnce; ++i) {
    const std::optional<std::string> text = input_.Next();
    if (!text) break;
    ++lines_read_;
    try {
      std::optional<double> given;
      std::optional<Command> command = ReadCommand(*text, given);
      if (!command) continue;
      const double before = typed_.empty() ? 0 : typed_.back().at;
      const double at = given.value_or(before);
      if (given && at < elapsed) throw BadCommand("its time " + vanta::WriteJson(Json(at)) + " has passed");
      if (at < before)
        throw BadCommand("its time " + vanta::WriteJson(Json(at)) + " goes back, behind " +
                         vanta::WriteJson(Json(before)));
      typed_.push_back({lines_read_, at, std::move(*command)});
    } catch (const BadCommand &reason) {
      progress_.Complain(ComplainOfLine(kInputName, lines_read_, reason.what()));
    }
  }
}

void CommandPlayer::SendDue(std::deque<ScriptLine> &lines, const std::string &place, double elapsed) {
  while (!quit_ && !lines.empty() && lines.front().at <= elapsed) {
    const ScriptLine line = std::move(lines.front());
    lines.pop_front();
    const Json result = line.command.action(*this);
    if (!result.is_null()) Answer(place, line.number, line.command.name, result);
    if (sent_.size() < kMaxKept) sent_.push_back({place, line.number, Rounded(elapsed), line.command.name});
  }
}

void CommandPlayer::Update(const std::string &settings) {
  UpdateFilter(stage_.filter(), {settings}, &desk_.handler);
}

void CommandPlayer::HandleAbilityCalls(double elapsed) {
  for (AbilityCall &call : desk_.handler.TakeCalls()) {
    std::string line = "ability handler: " + call.operation;
    if (!call.method.empty()) line += " " + call.method;
    if (!call.params.empty()) line += " " + call.params;
    const std::optional<std::string> answer = FindAnswer(desk_.answers, call);
    if (answer) {
      control_.SetBoomGameData(*answer);
      line += ", answered " + *answer;
    }
    progress_.Say(line);
    if (asked_.size() < kMaxKept) asked_.push_back({Rounded(elapsed), std::move(call)});
  }
}

void CommandPlayer::LookAtEvents() {
  for (size_t i = 0; i < events_.size(); ++i) {
    while (desk_.events[i]->Take()) {
      ++events_[i].times;
      progress_.Say("event " + events_[i].name + " was set");
    }
  }
}

void CommandPlayer::Tell(RunFigures &figures) {
  if (!script_.empty() && !quit_) {
    progress_.Say(script_name_ + ":" + std::to_string(script_.front().number) + ": the run ended before this line's " +
                  vanta::WriteJson(Json(script_.front().at)) + " s; " + std::to_string(script_.size()) +
                  " commands were not sent");
  }
  figures.commands_left = script_.size() + typed_.size();
  figures.commands = std::move(sent_);
  figures.abilities = std::move(asked_);
  LookAtEvents();
  figures.events = std::move(events_);
}

}  // namespace vanta_run
