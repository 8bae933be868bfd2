#include "cli/parse_options.h"

#include "cli/output_names.h"
#include "common/failure.h"
#include "output/recorder.h"

namespace vanta_run {
namespace {

// Without the beauty filter there is nothing that these could be told to, or that they could show.
void RefuseBeautyOptions(const std::vector<GivenOption> &given) {
  for (const GivenOption &one : given) {
    if (!one.row->of_beauty) continue;
    throw Failure(kExitUsage, "--no-beauty", "--" + one.row->name + " needs the beauty filter", "drop one of both");
  }
}

// A script's variable that is not set would go unnoticed.
void RefuseEmptyValues(const std::vector<GivenOption> &given) {
  for (const GivenOption &one : given) {
    for (const std::string &value : one.values) {
      if (!value.empty() || one.row->value.empty()) continue;
      throw Failure(kExitUsage, "--" + one.row->name, "its value is empty", "give one, or leave the option out");
    }
  }
}

// The clip's own clock stands still while the engine works, and nobody can type or watch at its pace.
void RefuseLiveOptions(const Options &options) {
  if (options.live && options.every_frame) {
    throw Failure(kExitUsage, "--every-frame", "a live run takes only the frames that the machine has time for",
                  "drop it, or --live");
  }
  const std::pair<const char *, bool> needing[] = {
      {"--engine-delay", options.engine_delay_ms > 0},
      {"--interactive", options.interactive},
      {"--monitor", options.monitor},
      {"--plot", !options.plot.empty()},
  };
  for (const auto &[name, given] : needing) {
    if (given && options.InStep()) throw Failure(kExitUsage, name, "is for live runs only", "give --live too");
  }
}

// Before and after are taken from frames in memory: one handed over as a texture would show the former twice.
void KeepFramesInMemory(Options &options) {
  bool textures = false;  // what is said last counts
  for (const auto &[which, on] : options.switches) {
    if (which == VANTA_SWITCH_CREATE_GL_CONTEXT) textures = on;
  }
  if (textures) {
    throw Failure(kExitUsage, options.dump ? "--dump-frame" : "--compare", "needs frames in memory",
                  "drop it, or --gl-context on");
  }
  options.switches.emplace_back(VANTA_SWITCH_CREATE_GL_CONTEXT, false);
}

}  // namespace

bool ReadCommandLine(const std::vector<GivenOption> &given, CommandLine &line) {
  if (TakeValues(given)) return false;
  Options &options = line.options;
  if (line.inputs.empty() || line.inputs.front().empty()) {
    throw Failure(kExitUsage, "--input", "nothing to play", "give a file or color:RRGGBB; see vanta-run --help");
  }
  RefuseEmptyValues(given);
  if (!options.beauty_filter) RefuseBeautyOptions(given);
  RefuseLiveOptions(options);
  if (!options.matte.empty() && !options.green_screen) {
    throw Failure(kExitUsage, "--matte", "without the green screen there is no matte", "give --green-screen too");
  }
  if (options.dump && options.frames > 0 && options.dump->frame > options.frames) {
    throw Failure(kExitUsage, "--dump-frame", "the run ends before that frame enters, by --frames",
                  "give a smaller number");
  }
  if (!options.compare.empty() || options.dump) KeepFramesInMemory(options);
  if (!options.output.empty()) RequireRecordingFormat(options.output);
  if (line.inputs.size() > 1 && options.interactive) {
    throw Failure(kExitUsage, "--interactive", "several inputs cannot share standard input", "give one --input");
  }
  for (const std::string &input : line.inputs) line.runs.push_back(ForInput(options, input, line.runs.size() + 1));
  RefuseSharedFiles(line.runs);
  if (line.resume && Results(line.runs.front()).empty()) {
    throw Failure(kExitUsage, "--resume", "no file tells what is done", "give --output or another file to write");
  }
  return true;
}

}  // namespace vanta_run
