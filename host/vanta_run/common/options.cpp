#include "common/options.h"

#include <getopt.h>

#include <cstdio>
#include <filesystem>

#include <lumivex/lumivex_values.h>
#include <nlohmann/json.hpp>

#include "capture/key_config.h"
#include "cli/effect_options.h"
#include "cli/help_text.h"
#include "commands/settings_update.h"
#include "common/failure.h"
#include "common/option_values.h"

namespace vanta_run {
namespace {

enum LongOnly : int {
  kLookup = 256,
  kGroup,
  kStage,
  kEffect,
  kMakeup,
  kLive,
  kEveryFrame,
  kLandmarks,
  kDrawLandmarks,
  kAbilityAnswers,
  kEvent,
  kSettings,
  kCommands,
  kInteractive,
  kHelpCommands,
  kMonitor,
  kPlot,
  kNoBeauty,
  kGreenScreen,
  kBackground,
  kPickKey,
  kNoEngine,
  kEngineDelay,
  kEngineStopAfter,
  kSnapshot,
  kMatte,
  kCompare,
  kDumpFrame,
  kAt,
  kReport,
  kLog,
  kModule,
  kModuleData,
  kVersion,
  kFirstSwitch  // one for each host switch from here on
};

constexpr option kOptions[] = {
    {"input", required_argument, nullptr, 'i'},
    {"loop", no_argument, nullptr, 'l'},
    {"size", required_argument, nullptr, 's'},
    {"fps", required_argument, nullptr, 'r'},
    {"live", no_argument, nullptr, kLive},
    {"every-frame", no_argument, nullptr, kEveryFrame},
    {"seconds", required_argument, nullptr, 't'},
    {"frames", required_argument, nullptr, 'n'},
    {"beauty", required_argument, nullptr, 'b'},
    {"lookup", required_argument, nullptr, kLookup},
    {"group", required_argument, nullptr, kGroup},
    {"stage", required_argument, nullptr, kStage},
    {"effect", required_argument, nullptr, kEffect},
    {"makeup", required_argument, nullptr, kMakeup},
    {"landmarks", required_argument, nullptr, kLandmarks},
    {"draw-landmarks", no_argument, nullptr, kDrawLandmarks},
    {"ability-answers", required_argument, nullptr, kAbilityAnswers},
    {"event", required_argument, nullptr, kEvent},
    {"settings", required_argument, nullptr, kSettings},
    {"commands", required_argument, nullptr, kCommands},
    {"interactive", no_argument, nullptr, kInteractive},
    {"monitor", no_argument, nullptr, kMonitor},
    {"plot", required_argument, nullptr, kPlot},
    {"help-commands", no_argument, nullptr, kHelpCommands},
    {"no-beauty", no_argument, nullptr, kNoBeauty},
    {"green-screen", required_argument, nullptr, kGreenScreen},
    {"background", required_argument, nullptr, kBackground},
    {"pick-key", no_argument, nullptr, kPickKey},
    {"no-engine", no_argument, nullptr, kNoEngine},
    {"engine-delay", required_argument, nullptr, kEngineDelay},
    {"engine-stop-after", required_argument, nullptr, kEngineStopAfter},
    {"output", required_argument, nullptr, 'o'},
    {"snapshot", required_argument, nullptr, kSnapshot},
    {"matte", required_argument, nullptr, kMatte},
    {"compare", required_argument, nullptr, kCompare},
    {"dump-frame", required_argument, nullptr, kDumpFrame},
    {"at", required_argument, nullptr, kAt},
    {"report", required_argument, nullptr, kReport},
    {"quiet", no_argument, nullptr, 'q'},
    {"verbose", no_argument, nullptr, 'v'},
    {"log", required_argument, nullptr, kLog},
    {"module", required_argument, nullptr, kModule},
    {"module-data", required_argument, nullptr, kModuleData},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, kVersion},
};

[[noreturn]] void BadValue(const std::string &name, const char *value, const std::string &remedy) {
  throw Failure(kExitUsage, "--" + name, std::string("bad value '") + value + "'", remedy);
}

std::vector<option> AllOptions() {
  std::vector<option> all(std::begin(kOptions), std::end(kOptions));
  for (int i = 0; i < VANTA_SWITCH_COUNT; ++i) {
    all.push_back(
        {vanta_host_switch_name(static_cast<vanta_host_switch>(i)), required_argument, nullptr, kFirstSwitch + i});
  }
  all.push_back({});
  return all;
}

double NumberFrom(const std::string &name, const char *value, double least) {
  const auto number = ParseNumber(value);
  if (!number || *number < least)
    BadValue(name, value, "give a number, " + std::to_string(least).substr(0, 4) + " or more");
  return *number;
}

void ReadBeauty(const char *value, Options &options) {
  std::string known;
  for (const lumivex::BeautyTypeInfo &info : lumivex::kBeautyTypes) {
    known += (known.empty() ? "" : ", ") + std::string(info.name);
  }
  const auto pairs = ParsePairs(value);
  if (!pairs) BadValue("beauty", value, "write NAME=NUMBER, with commas between");
  for (const auto &[name, text] : *pairs) {
    const lumivex::BeautyTypeInfo *info = lumivex::FindBeautyType(name);
    if (info == nullptr)
      throw Failure(kExitUsage, "--beauty", "no intensity is called '" + name + "'", "known are " + known);
    const auto number = ParseNumber(text);
    if (!number || *number < static_cast<double>(info->minimum) || *number > static_cast<double>(info->maximum)) {
      char range[64];
      std::snprintf(range, sizeof(range), "give a number from %g to %g", static_cast<double>(info->minimum),
                    static_cast<double>(info->maximum));
      throw Failure(kExitUsage, "--beauty", "bad value '" + text + "' for " + name, range);
    }
    options.beauty.emplace_back(info->type, static_cast<float>(*number));
  }
}

void ReadStages(const char *value, Options &options) {
  const auto pairs = ParsePairs(value);
  if (!pairs) BadValue("stage", value, "write NAME=on or NAME=off, with commas between");
  for (const auto &[name, text] : *pairs) {
    const auto type = FindEffectType(name);
    const auto on = ParseOnOff(text);
    if (!type) {
      throw Failure(kExitUsage, "--stage", "no stage is called '" + name + "'",
                    "known are beauty, adjust, lookup, relight, green-matting");
    }
    if (!on) BadValue("stage", value, "write NAME=on or NAME=off, with commas between");
    options.stages.emplace_back(*type, *on);
  }
}

void ReadLookup(const char *value, Options &options) {
  LookupOption lookup{value, 1.0f};
  std::error_code ignored;
  // A file's own name may hold "=": what exists under the whole text is taken as it stands.
  const size_t equals = lookup.path.rfind('=');
  if (equals != std::string::npos && !std::filesystem::exists(lookup.path, ignored)) {
    const auto number = ParseNumber(lookup.path.substr(equals + 1));
    if (!number || *number < 0 || *number > 1) BadValue("lookup", value, "give the intensity as a number from 0 to 1");
    lookup.intensity = static_cast<float>(*number);
    lookup.path.resize(equals);
  }
  if (!std::filesystem::is_regular_file(lookup.path, ignored)) {
    throw Failure(kExitUsage, "--lookup", "no file '" + lookup.path + "'", "give a .cube file or a square PNG");
  }
  options.lookup = lookup;
}

void ReadDumpFrame(const std::string &value, Options &options) {
  const size_t equals = value.find('=');
  const auto count = ParseCount(value.substr(0, equals));
  DumpOption dump;
  if (count) dump = {*count, "frame-" + std::to_string(*count)};
  if (equals != std::string::npos) dump.prefix = value.substr(equals + 1);
  if (!count || dump.prefix.empty()) {
    BadValue("dump-frame", value.c_str(), "give a whole number, 1 or more, or NUMBER=PREFIX for the files' names");
  }
  options.dump = dump;
}

void ReadSettings(const char *value, Options &options) {
  const auto json = nlohmann::json::parse(value, nullptr, false);
  if (!json.is_object()) BadValue("settings", value, "give a JSON object, '{\"no_green_matting\":true}' for instance");
  try {
    CheckSettings(json);
  } catch (const BadCommand &reason) {
    throw Failure(kExitUsage, "--settings", reason.what(), "see vanta-run --help");
  }
  options.settings.emplace_back(value);
}

void ReadOne(int which, const std::string &name, const char *value, Options &options) {
  switch (which) {
    case 'i':
      options.input = value;
      return;
    case 'l':
      options.loop = true;
      return;
    case 's':
      if (!(options.size = ParseSize(value))) BadValue(name, value, "write it as 1280x720, from 16 to 8192 each way");
      return;
    case 'r':
      if (!(options.rate = ParseRate(value)))
        BadValue(name, value, "give a rate from 1 to 240, as 30, 29.97 or 30000/1001");
      return;
    case kLive:
      options.live = true;
      return;
    case kEveryFrame:
      options.every_frame = true;
      return;
    case 't':
      options.seconds = NumberFrom(name, value, 0.1);
      return;
    case 'n': {
      const auto count = ParseCount(value);
      if (!count) BadValue(name, value, "give a whole number, 1 or more");
      options.frames = *count;
      return;
    }
    case 'b':
      ReadBeauty(value, options);
      return;
    case kLookup:
      ReadLookup(value, options);
      return;
    case kGroup:
      options.group = value;
      return;
    case kStage:
      ReadStages(value, options);
      return;
    case kEffect:
      options.effect = ReadEffectFolder(value);
      return;
    case kMakeup:
      options.makeup.push_back(ReadMakeup(value));
      return;
    case kLandmarks:
      options.landmarks = value;
      return;
    case kDrawLandmarks:
      options.draw_landmarks = true;
      return;
    case kAbilityAnswers:
      options.ability_answers = value;
      return;
    case kEvent:
      options.events.emplace_back(value);
      return;
    case kSettings:
      ReadSettings(value, options);
      return;
    case kCommands:
      options.commands = value;
      return;
    case kMonitor:
      options.monitor = true;
      return;
    case kPlot:
      options.plot = value;
      return;
    case kInteractive:
      options.interactive = true;
      return;
    case kNoBeauty:
      options.beauty_filter = false;
      return;
    case kGreenScreen:
      options.green_screen = ReadKeyConfig(value);
      return;
    case kBackground:
      options.background = value;
      return;
    case kPickKey:
      options.pick_key = true;
      return;
    case kNoEngine:
      options.engine = false;
      return;
    case kEngineDelay:
      options.engine_delay_ms = static_cast<uint32_t>(NumberFrom(name, value, 0));
      return;
    case kEngineStopAfter:
      options.engine_stop_after = NumberFrom(name, value, 0);
      return;
    case 'o':
      options.output = value;
      return;
    case kSnapshot:
      options.snapshot = value;
      return;
    case kMatte:
      options.matte = value;
      return;
    case kCompare:
      options.compare = value;
      return;
    case kDumpFrame:
      ReadDumpFrame(value, options);
      return;
    case kAt:
      options.at = NumberFrom(name, value, 0);
      return;
    case kReport:
      options.report = value;
      return;
    case 'q':
      options.quiet = true;
      return;
    case 'v':
      options.verbose = true;
      return;
    case kLog:
      options.log = value;
      return;
    case kModule:
      options.module = value;
      return;
    case kModuleData:
      options.module_data = value;
      return;
    default:
      break;
  }
  const auto on = ParseOnOff(value);
  if (!on) BadValue(name, value, "write on or off");
  options.switches.emplace_back(static_cast<vanta_host_switch>(which - kFirstSwitch), *on);
}

// Without the beauty filter there is nothing that these could be told to, or that they could show.
void RefuseBeautyOptions(const Options &options) {
  const std::pair<const char *, bool> needing[] = {
      {"--beauty", !options.beauty.empty()},
      {"--lookup", options.lookup.has_value()},
      {"--group", !options.group.empty()},
      {"--stage", !options.stages.empty()},
      {"--effect", !options.effect.empty()},
      {"--makeup", !options.makeup.empty()},
      {"--ability-answers", !options.ability_answers.empty()},
      {"--event", !options.events.empty()},
      {"--settings", !options.settings.empty()},
      {"--commands", !options.commands.empty()},
      {"--interactive", options.interactive},
      {"--monitor", options.monitor},
      {"--plot", !options.plot.empty()},
      {"--compare", !options.compare.empty()},
      {"--dump-frame", options.dump.has_value()},
      {"--engine-delay", options.engine_delay_ms > 0},
      {"--engine-stop-after", options.engine_stop_after >= 0},
  };
  for (const auto &[name, given] : needing) {
    if (given)
      throw Failure(kExitUsage, "--no-beauty", std::string(name) + " needs the beauty filter", "drop one of both");
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

ParseResult ParseOptions(int argc, char **argv, Options &options) {
  const std::vector<option> all = AllOptions();
  opterr = 0;  // the messages are ours
  int index = 0;
  for (;;) {
    index = -1;
    const int at = optind;
    const int which = getopt_long(argc, argv, ":i:ls:r:t:n:b:o:qvh", all.data(), &index);
    if (which == -1) break;
    if (which == 'h') {
      std::fputs(HelpText().c_str(), stdout);
      return ParseResult::kShownHelp;
    }
    if (which == kHelpCommands) {
      std::fputs(CommandsHelpText().c_str(), stdout);
      return ParseResult::kShownHelp;
    }
    if (which == kVersion) {
      std::fputs(VersionText().c_str(), stdout);
      return ParseResult::kShownHelp;
    }
    if (which == ':') throw Failure(kExitUsage, argv[at], "its value is missing", "see vanta-run --help");
    if (which == '?') {
      throw Failure(kExitUsage, argv[at], "unknown, ambiguous or misused option", "see vanta-run --help");
    }
    std::string name;
    for (const option &known : all) {
      if (known.name != nullptr && known.val == which) name = known.name;
    }
    ReadOne(which, name, optarg, options);
  }
  if (optind < argc) {
    throw Failure(kExitUsage, argv[optind], "not an option", "give the file as --input " + std::string(argv[optind]));
  }
  if (options.input.empty()) {
    throw Failure(kExitUsage, "--input", "nothing to play", "give a file or color:RRGGBB; see vanta-run --help");
  }
  if (!options.beauty_filter) RefuseBeautyOptions(options);
  RefuseLiveOptions(options);
  if (!options.matte.empty() && !options.green_screen) {
    throw Failure(kExitUsage, "--matte", "without the green screen there is no matte", "give --green-screen too");
  }
  if (options.dump && options.frames > 0 && options.dump->frame > options.frames) {
    throw Failure(kExitUsage, "--dump-frame", "the run ends before that frame enters, by --frames",
                  "give a smaller number");
  }
  if (!options.compare.empty() || options.dump) KeepFramesInMemory(options);
  return ParseResult::kRun;
}

}  // namespace vanta_run
