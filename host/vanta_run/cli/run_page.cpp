#include "cli/run_page.h"

#include <obs.h>

#include "cli/commands_help.h"
#include "cli/completion.h"
#include "cli/look_sections.h"
#include "cli/monitor_command.h"
#include "cli/page_text.h"
#include "cli/row_readers.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

constexpr double kLongestDelay = 60000;  // milliseconds
constexpr double kLongestTime = 1e9;     // seconds

std::string CheckedInput(const std::string &value) {
  constexpr char kColor[] = "color:";
  if (value.rfind(kColor, 0) == 0 && !ParseColor(value.substr(sizeof(kColor) - 1))) {
    BadValue("input", value, "write six hexadecimal digits, color:30A060");
  }
  return value;
}

DumpOption ReadDumpFrame(const std::string &value) {
  const size_t equals = value.find('=');
  const auto count = ParseCount(value.substr(0, equals));
  DumpOption dump;
  if (count) dump = {*count, "frame-" + std::to_string(*count)};
  if (equals != std::string::npos) dump.prefix = value.substr(equals + 1);
  if (!count || dump.prefix.empty()) {
    BadValue("dump-frame", value, "give a whole number, 1 or more, or NUMBER=PREFIX for the files' names");
  }
  return dump;
}

OptionSection InputSection(CommandLine &line) {
  Options &options = line.options;
  return {
      "INPUT",
      {{.name = "input",
        .letter = 'i',
        .value = "FILE...",
        .text = "what to play: a video, a picture, a camera's device as /dev/video0, or a plain colour written "
                "\"color:RRGGBB\". Several are run one "
                "after the "
                "other; the names of the files to write hold {name} then, see OUTPUT",
        .read = [&line](const std::string &value) { line.inputs.push_back(CheckedInput(value)); },
        .several = true,
        .completes = Completes::kFiles},
       {.name = "resume",
        .text =
            "with several inputs, pass over those whose files are all there already: a file has its name only once it "
            "is whole",
        .read = Set(line.resume)},
       {.name = "loop",
        .letter = 'l',
        .text = "start again at the end; without a limit the run goes on until Ctrl-C",
        .read = Set(options.loop)},
       {.name = "live",
        .text = "in real time, as a live host plays it, though it is recorded. --interactive, --monitor, --plot and "
                "--engine-delay need it beside --output, and cameras always play so",
        .read = Set(options.live)},
       {.name = "every-frame",
        .text = "the clock of its own, though nothing is recorded",
        .read = Set(options.every_frame)},
       {.name = "size",
        .letter = 's',
        .value = "WxH",
        .text =
            "size of the recording; a picture or colour is made in that size. Default: the input's own, a picture that "
            "is larger than 1920x1080 is shrunk to fit",
        .read = Parsed("size", ParseSize, options.size, "write it as 1280x720, from 16 to 8192 each way")},
       {.name = "fps",
        .letter = 'r',
        .value = "N",
        .text =
            "frames a second: 30, 29.97 or 30000/1001. Default: the file's own, live up to 60; pictures 30. Below the "
            "file's own, frames are left out",
        .read = Parsed("fps", ParseRate, options.rate, "give a rate from 1 to 240, as 30, 29.97 or 30000/1001")},
       {.name = "seconds",
        .letter = 't',
        .value = "S",
        .text = "end after S seconds",
        .read = Number("seconds", 0.1, kLongestTime, options.seconds)},
       {.name = "frames",
        .letter = 'n',
        .value = "N",
        .text = "end after N frames have entered the filter",
        .read = Parsed("frames", ParseCount, options.frames, "give a whole number, 1 or more")}}};
}

OptionSection CommandsSection(Options &options) {
  return {
      "COMMANDS",
      {{.name = "commands",
        .value = "FILE",
        .text = "sends control operations and settings at given times, one JSON object a line",
        .read = Keep(options.commands),
        .of_beauty = true,
        .completes = Completes::kFiles},
       {.name = "interactive",
        .text = "takes the same lines from standard input while it runs; \"quit\" ends the run, the end of standard "
                "input does not. Pictures and colours go on until then",
        .read = Set(options.interactive),
        .of_beauty = true},
       {.name = "ability-answers",
        .value = "FILE",
        .text = "what this program answers when an effect asks for something, one JSON object a line: {\"method\": "
                "\"getPkId\", \"answer\": {\"pkId\": \"7\"}}. The answer goes to the engine as game data, with the "
                "request's \"seqId\" where it has none",
        .read = Keep(options.ability_answers),
        .of_beauty = true,
        .completes = Completes::kFiles},
       {.name = "event",
        .value = "NAME",
        .text = "makes a named event and says when it is set; may be given more than once. The first one is set by the "
                "end of --effect",
        .read = Add(options.events),
        .many = true,
        .of_beauty = true},
       {.name = "help-commands",
        .text = "how the lines are written, and every operation with its arguments",
        .answer = CommandsHelpText}}};
}

OptionSection EngineSection(Options &options) {
  return {"ENGINE",
          {{.name = "no-engine",
            .text = "run as on a machine without the effect engine: the picture passes untouched",
            .read = Set(options.engine, false)},
           {.name = "engine-delay",
            .value = "MS",
            .text = "make the engine take MS milliseconds longer for every frame, up to 60000",
            .read = Number("engine-delay", 0, kLongestDelay, options.engine_delay_ms),
            .of_beauty = true},
           {.name = "engine-stop-after",
            .value = "S",
            .text = "take the engine away S seconds into the run, by a forced restart that fails",
            .read = Number("engine-stop-after", 0, kLongestTime, options.engine_stop_after),
            .of_beauty = true}}};
}

OptionSection SwitchSection(Options &options) {
  OptionSection section{"HOST SWITCHES", {}};
  for (int i = 0; i < VANTA_SWITCH_COUNT; ++i) {
    const auto which = static_cast<vanta_host_switch>(i);
    const std::string name = vanta_host_switch_name(which);
    section.rows.push_back(
        {.name = name,
         .value = "on|off",
         .text = std::string("default ") + (which == VANTA_SWITCH_CREATE_GL_CONTEXT ? "on where a GPU draws"
                                            : vanta_host_get_switch(which)          ? "on"
                                                                                    : "off"),
         .read =
             [&options, which, name](const std::string &value) {
               const auto on = ParseOnOff(value);
               if (!on) BadValue(name, value, "write on or off");
               options.switches.emplace_back(which, *on);
             },
         .completes = Completes::kWords,
         .words = {"on", "off"}});
  }
  return section;
}

OptionSection OutputSection(Options &options) {
  return {
      "OUTPUT",
      {{.name = "output",
        .letter = 'o',
        .value = "FILE",
        .text = "the recording, H.264 and AAC; the name's ending (.mp4, .mkv, .mov, .flv, .ts) is the format",
        .read = Keep(options.output),
        .writes = true,
        .completes = Completes::kFiles},
       {.name = "virtual-camera",
        .text = "shows the recorded picture to other programs as a camera's, through libobs's own output and a "
                "v4l2loopback device",
        .read = Set(options.virtual_camera)},
       {.name = "snapshot",
        .value = "FILE",
        .text = "PNG of the recorded picture",
        .read = KeepPng("snapshot", options.snapshot),
        .writes = true,
        .completes = Completes::kFiles},
       {.name = "matte",
        .value = "FILE",
        .text = "PNG of the keyed input's alpha, in grey, of the same frame and as large as the snapshot; white is "
                "opaque. Needs --green-screen",
        .read = KeepPng("matte", options.matte),
        .writes = true,
        .completes = Completes::kFiles},
       {.name = "compare",
        .value = "FILE",
        .text = "PNG of one frame before and after the filter, side by side; sets --gl-context off",
        .read = KeepPng("compare", options.compare),
        .of_beauty = true,
        .writes = true,
        .completes = Completes::kFiles},
       {.name = "at",
        .value = "S",
        .text = "take these pictures S seconds into the run. Default: halfway, or after 2 seconds",
        .read = Number("at", 0, kLongestTime, options.at)},
       {.name = "dump-frame",
        .value = "N[=PREFIX]",
        .text =
            "the Nth frame that enters the filter, as PREFIX-before.png and PREFIX-after.png, and as PREFIX.json the "
            "engine's own report of what it did to it, \"{}\" where there is none; sets --gl-context off. Default: "
            "frame-N",
        .read = [&options](const std::string &value) { options.dump = ReadDumpFrame(value); },
        .of_beauty = true,
        .writes = true},
       {.name = "report",
        .value = "FILE",
        .text =
            "JSON: frames in, out, repeated, dropped, delay, costs, engine times, the module's reports, ten-second "
            "records, commands sent, events, faces, switches, versions, what could not be written. \"-\" is standard "
            "output",
        .read = Keep(options.report),
        .writes = true,
        .completes = Completes::kFiles},
       {.name = "plot",
        .value = "FILE",
        .text = "PNG that draws delay, engine time and jank over the run; needs gnuplot",
        .read = KeepPng("plot", options.plot),
        .of_beauty = true,
        .writes = true,
        .completes = Completes::kFiles}},
      "Every file is written under another name beside its place and renamed when it is whole; one that fails does not "
      "take the others with it. In their names {name} becomes the input's name without folder and ending, and {number} "
      "its place among the inputs, from 1."};
}

OptionSection TalkSection(Options &options) {
  return {
      "TALK",
      {{.name = "monitor",
        .text = "the statistics that the filter sends each second, live: rates, delay and jank as small charts on a "
                "terminal, else a line each, on standard error. \"vanta-run monitor\" shows those of every program on "
                "this machine; see vanta-run monitor --help",
        .read = Set(options.monitor),
        .of_beauty = true},
       {.name = "quiet", .letter = 'q', .text = "no progress, only errors", .read = Set(options.quiet)},
       {.name = "verbose", .letter = 'v', .text = "libobs's whole log on standard error", .read = Set(options.verbose)},
       {.name = "log",
        .value = "FILE",
        .text = "libobs's whole log into FILE",
        .read = Keep(options.log),
        .writes = true,
        .completes = Completes::kFiles}}};
}

OptionSection PlacesSection(Options &options) {
  return {
      "PLACES",
      {{.name = "module",
        .value = "FILE",
        .text = "the plug-in vanta_filter.so; a folder that holds it will do",
        .read = Keep(options.module),
        .completes = Completes::kFiles},
       {.name = "module-data",
        .value = "DIR",
        .text = "its data folder",
        .read = Keep(options.module_data),
        .completes = Completes::kFolders}},
      "Without them the plug-in is looked for beside this program (build folder or installation), then in the folders "
      "of libobs. Without a display a virtual one is started, if Xvfb is installed."};
}

// The pages that stand beside this one in the manual, for the answers below.
std::string PrintedManual() {
  CommandLine line;
  MonitorOptions monitor;
  return ManualText(RunPage(line), {MonitorPage(monitor)});
}

std::string PrintedCompletion() {
  CommandLine line;
  MonitorOptions monitor;
  return CompletionScript(RunPage(line), {MonitorPage(monitor)});
}

std::string PrintedHelp() {
  CommandLine line;
  return HelpText(RunPage(line));
}

std::string PrintedVersion() {
  return std::string("vanta-run " VANTA_VERSION ", libobs ") + obs_get_version_string() + "\n";
}

OptionSection HelpSection() {
  return {"HELP",
          {{.name = "help", .letter = 'h', .text = "this text", .answer = PrintedHelp},
           {.name = "version", .text = "versions", .answer = PrintedVersion},
           {.name = "print-manual",
            .text = "the manual page: vanta-run --print-manual | man -l -",
            .answer = PrintedManual},
           {.name = "print-completion",
            .text = "the options for bash: source <(vanta-run --print-completion)",
            .answer = PrintedCompletion}}};
}

}  // namespace

CommandPage RunPage(CommandLine &line) {
  Options &options = line.options;
  return {
      "vanta-run",
      "plays a file through the beauty filter, the landmark filter and the green screen, without a window",
      {"vanta-run --input FILE [options]", "vanta-run --input FILE... --output 'PLACE/{name}.mp4' [--resume] [options]",
       "vanta-run monitor [--ports N] [--seconds S]"},
      {"Starts libobs, loads the filter, plays FILE through it, and records what comes out. FILE is anything that "
       "libobs's "
       "media source plays, a still picture, or a plain colour written \"color:RRGGBB\".",
       "With --output it plays on a clock of its own, which stands still while anybody works: every frame goes through "
       "the filter and into the recording once, in order, with the sound in step, however slow the machine is, and as "
       "fast as it can. The same input and options give the same picture and sound streams each time, to the bit, on "
       "one machine. Times of options, commands and the report are the clip's. Without --output, or with --live, it "
       "plays as a live host does: a machine that is too slow drops frames.",
       "The run ends after --seconds or --frames, at the end of the file, or with Ctrl-C; pictures and colours end "
       "after 5 "
       "seconds unless told otherwise. A second Ctrl-C ends it at once, without its files.",
       "Several inputs are run one after the other, each by itself. At the end stands what failed, and the exit status "
       "is that of the first that did; one that says nothing of its input (2, 4, 5) ends them all."},
      {},
      {InputSection(line), BeautySection(options), FacesSection(options), GreenScreenSection(options),
       CommandsSection(options), EngineSection(options), SwitchSection(options), OutputSection(options),
       TalkSection(options), PlacesSection(options), HelpSection()},
      {{"0", "everything asked for has been written"},
       {"1", "something unforeseen"},
       {"2", "unknown option, bad value or bad command line"},
       {"3",
        "the input, the background, an effect, the command file or the config cannot be read; no picture or no backing "
        "in it"},
       {"4", "no display and no way to get one, or no OpenGL on it"},
       {"5", "the filter, a plug-in of libobs, gnuplot or a device for the virtual camera is missing"},
       {"6",
        "a file could not be written whole; nothing half-written is left under its name, and the others are there"},
       {"7", "the monitor cannot listen: another one has its ports"},
       {"8", "the engine cannot use a file that was asked for; what was written is whole, without it"},
       {"130", "ended by Ctrl-C or SIGTERM; the files are whole, and as long as the run was"}}};
}

}  // namespace vanta_run
