#include "cli/help_text.h"

#include <cstdio>

#include <lumivex/lumivex_values.h>
#include <obs.h>

#include "commands/operations.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

constexpr char kHead[] =
    R"(NAME
  vanta-run - plays a file through the beauty filter, the landmark filter and the green screen, without a window

SYNOPSIS
  vanta-run --input FILE [options]
  vanta-run monitor [--ports N] [--seconds S]

DESCRIPTION
  Starts libobs, loads the filter, plays FILE through it, and records what comes out. FILE is anything that
  libobs's media source plays, a still picture, or a plain colour written "color:RRGGBB".

  With --output it plays on a clock of its own, which stands still while anybody works: every frame goes through
  the filter and into the recording once, in order, with the sound in step, however slow the machine is, and as
  fast as it can. The same input and options give the same picture and sound streams each time, to the bit, on
  one machine. Times of options, commands and the report are the clip's. Without --output, or with --live, it
  plays as a live host does: a machine that is too slow drops frames.

  The run ends after --seconds or --frames, at the end of the file, or with Ctrl-C; pictures and colours end
  after 5 seconds unless told otherwise.

INPUT
  -i, --input FILE        what to play
  -l, --loop              start again at the end; without a limit the run goes on until Ctrl-C
  -s, --size WxH          size of the recording; a picture or colour is made in that size. Default: the input's
                          own, a picture that is larger than 1920x1080 is shrunk to fit
  -r, --fps N             frames a second: 30, 29.97 or 30000/1001. Default: the file's own,
                          live up to 60; pictures 30. Below the file's own, frames are left out
      --live              in real time, as a live host plays it, though it is recorded. --interactive, --monitor,
                          --plot and --engine-delay need it beside --output
      --every-frame       the clock of its own, though nothing is recorded
  -t, --seconds S         end after S seconds
  -n, --frames N          end after N frames have entered the filter

BEAUTY
  -b, --beauty LIST       intensities, as in 'smooth=0.7,whiten=0.4':
)";

constexpr char kMiddle[] =
    R"(      --lookup FILE[=I]   colour table, .cube or square PNG, at intensity I from 0 to 1 (default 1)
      --group NAME|FILE   a preset of the engine ("jingdian" is its start-up preset) or a preset file
      --stage LIST        whole stages of the engine, as in 'green-matting=on,relight=off':
                          beauty, adjust, lookup, relight, green-matting
      --makeup DIR[=I]    a layer of makeup at intensity I from 0 to 1 (default 1); may be given more than once. The
                          layer's key for SetMakeupIntensityWithKey is the folder's name
      --effect DIR        plays the magic effect in this folder; this program's ability handler shows what it asks for
      --settings JSON     settings for the running filter; may be given more than once. Keys:
                          no_green_matting (true, false), lx_enable_nvdx_interop ("open", "close"),
                          sceneitem_orientation_info ({"hor_flip":..,"ver_flip":..,"rot_deg":..}),
                          effect_json_ability_handler (true: this program's, false: none)
      --no-beauty         leave the beauty filter out, and with it the engine and its cost

FACES
      --landmarks FILE    adds the landmark filter behind the beauty filter and writes each of its signals as a line of
                          JSON: seconds into the run, size of the picture, points, boxes. "-" is standard output
      --draw-landmarks    adds it too, and draws points and boxes over the picture, in the recording and the snapshot

GREEN SCREEN
      --green-screen FILE|JSON
                          key the input before a green or blue backing, behind the beauty filter. The value is the
                          filter's config, a file or a text that begins with "{": '{"keyColor":[0.2,0.68,0.28]}'.
                          "{}" takes the defaults, a pure green
      --pick-key          print a config with the colour of the backing in the input's first frame, and end:
                          vanta-run --input take.mp4 --pick-key >key.json
      --background FILE|color:RRGGBB
                          a video, a picture or a colour below the input; it fills the canvas. Default: black

COMMANDS
      --commands FILE     sends control operations and settings at given times, one JSON object a line
      --interactive       takes the same lines from standard input while it runs; "quit" ends the run, the end
                          of standard input does not. Pictures and colours go on until then
      --ability-answers FILE
                          what this program answers when an effect asks for something, one JSON object a line:
                          {"method": "getPkId", "answer": {"pkId": "7"}}. The answer goes to the engine as game data, with
                          the request's "seqId" where it has none
      --event NAME        makes a named event and says when it is set; may be given more than once. The first one is
                          set by the end of --effect
      --help-commands     how the lines are written, and every operation with its arguments

ENGINE
      --no-engine         run as on a machine without the effect engine: the picture passes untouched
      --engine-delay MS   make the engine take MS milliseconds longer for every frame
      --engine-stop-after S
                          take the engine away S seconds into the run, by a forced restart that fails

HOST SWITCHES, each on or off
)";

constexpr char kCommands[] =
    R"(NAME
  commands of vanta-run - control operations and settings, with times

SYNOPSIS
  vanta-run --input FILE --commands SCRIPT
  vanta-run --input FILE --interactive

DESCRIPTION
  A command is a line with a JSON object. Blank lines, and lines that begin with '#', say nothing.

    {"at": 1.5, "call": "SetBeautyIntensityWithType", "type": "smooth", "intensity": 0.8}
    {"at": 3, "update": {"sceneitem_orientation_info": {"hor_flip": true}}}
    {"at": 4, "switch": "async-commands", "on": false}
    {"at": 9, "quit": true}

  "at" is the time in seconds into the run; a line without it is sent with the line before it, and times never
  go back. Lines of standard input without it are sent at once. The word quit alone will do, too.

  "call" sends an operation of the module's control object, with its arguments as members of the same line.
  "update" gives the running filter these settings, all of them as one update. --help names the filter's own
  keys; others reach the engine. "effect_json_ability_handler" is true for this program's handler, whose calls
  are shown and reported, or false for none. "switch" sets a host switch, named as in --help.

  A script is read and checked before the run starts: one bad line and nothing is played. A bad line of
  standard input is refused and changes nothing. Results go to standard output, a JSON object a line.

OPERATIONS, with their arguments; what stands in brackets may be left out
)";

constexpr char kCommandsTail[] =
    R"(
  The type of an intensity or effect is its number, or its name as --beauty and --stage have it. Paths go to
  the engine as they stand. SetMagicEffectForSources finds the filter under the name "beauty".
)";

constexpr char kMonitorHelp[] =
    R"(NAME
  vanta-run monitor - shows what every beauty filter on this machine measures

SYNOPSIS
  vanta-run monitor [--ports N] [--seconds S]

DESCRIPTION
  Each beauty filter sends a datagram of 56 bytes to 127.0.0.1 once a second: the first filter of a process to port
  12345, the next one to 12346, and so on. This shows them live, the last minute as small charts with now at the
  right:

    in, out  frames that entered the filter and that the engine finished, in that second
    delay    milliseconds that the engine takes for a frame: mean, least and most; in the heading, how much of it
             goes to its vision and its beauty step
    jank     times that the filter had no finished frame; big where three or more frames were missed in a row

  Where standard output is no terminal each datagram is one line. A filter that is silent for a minute is no longer
  shown. Only one monitor can run at a time. A filter's first figures come some 10 s after its first frame and cover
  more than one second.

      --ports N           listen on N ports, from 12345 upward; 1 to 1000, default 32
      --seconds S         end after S seconds; else with Ctrl-C
  -h, --help              this text

EXIT STATUS
    0  ended by --seconds, Ctrl-C, or because nobody reads its output any more
    2  unknown option or bad value
    7  port 12345 is taken: another monitor is running
)";

constexpr char kTail[] =
    R"(
OUTPUT
  -o, --output FILE       the recording, H.264 and AAC; the name's ending (.mp4, .mkv, .mov, .flv, .ts) is the format
      --snapshot FILE     PNG of the recorded picture
      --matte FILE        PNG of the keyed input's alpha, in grey, of the same frame and as large as the snapshot;
                          white is opaque. Needs --green-screen
      --compare FILE      PNG of one frame before and after the filter, side by side; sets --gl-context off
      --at S              take these pictures S seconds into the run. Default: halfway, or after 2 seconds
      --dump-frame N[=PREFIX]
                          the Nth frame that enters the filter, as PREFIX-before.png and PREFIX-after.png, and as
                          PREFIX.json the engine's own report of what it did to it, "{}" where there is none; sets
                          --gl-context off. Default: frame-N
      --report FILE       JSON: frames in, out, repeated, dropped, delay, costs, engine times, the module's
                          reports, ten-second records, commands sent, events, faces, switches, versions. "-" is standard output
      --plot FILE         PNG that draws delay, engine time and jank over the run; needs gnuplot
  Every file is written under another name beside its place and renamed when it is whole.

TALK
      --monitor           the statistics that the filter sends each second, live: rates, delay and jank as small
                          charts on a terminal, else a line each, on standard error. "vanta-run monitor" shows those of
                          every program on this machine; see vanta-run monitor --help
  -q, --quiet             no progress, only errors
  -v, --verbose           libobs's whole log on standard error
      --log FILE          libobs's whole log into FILE

PLACES
      --module FILE       the plug-in vanta_filter.so; a folder that holds it will do
      --module-data DIR   its data folder
  Without them the plug-in is looked for beside this program (build folder or installation), then in the
  folders of libobs. Without a display a virtual one is started, if Xvfb is installed.

  -h, --help              this text
      --version           versions

EXIT STATUS
    0  everything asked for has been written
    1  something unforeseen
    2  unknown option, bad value or bad command line
    3  the input, the background, an effect, the command file or the config cannot be read; no picture or no backing in it
    4  no display and no way to get one, or no OpenGL on it
    5  the filter, a plug-in of libobs or gnuplot is missing
    6  a file could not be written whole; nothing half-written is left under its name
    7  the monitor cannot listen: another one has its ports
  130  ended by Ctrl-C or SIGTERM; the files are whole, and as long as the run was
)";

std::string SwitchLines() {
  std::string text;
  for (int i = 0; i < VANTA_SWITCH_COUNT; ++i) {
    const auto which = static_cast<vanta_host_switch>(i);
    char line[128];
    std::snprintf(line, sizeof(line), "      --%-19s default %s\n", vanta_host_switch_name(which),
                  vanta_host_get_switch(which) ? "on" : "off");
    text += line;
  }
  return text;
}

std::string BeautyLines() {
  std::string text;
  for (const lumivex::BeautyTypeInfo &info : lumivex::kBeautyTypes) {
    char line[160];
    std::snprintf(line, sizeof(line), "                          %-10s %2g to %g  %.*s\n",
                  std::string(info.name).c_str(), static_cast<double>(info.minimum), static_cast<double>(info.maximum),
                  static_cast<int>(info.what.size()), info.what.data());
    text += line;
  }
  return text;
}

// In lines that fit a terminal, cut behind commas.
std::vector<std::string> Folded(const std::string &text) {
  constexpr size_t kWidth = 100;
  std::vector<std::string> lines;
  for (size_t at = 0; at < text.size();) {
    size_t end = text.size() - at <= kWidth ? text.size() : text.rfind(", ", at + kWidth);
    if (end == std::string::npos || end <= at) end = text.size();
    lines.push_back(text.substr(at, end - at) + (end < text.size() ? "," : ""));
    at = end + (end < text.size() ? 2 : 0);
  }
  return lines;
}

}  // namespace

std::string HelpText() {
  return kHead + BeautyLines() + kMiddle + SwitchLines() + kTail;
}

std::string MonitorHelpText() {
  return kMonitorHelp;
}

std::string CommandsHelpText() {
  std::string text = kCommands;
  for (const Operation &operation : Operations()) {
    text += "  " + std::string(operation.name) + "\n";
    for (const std::string &line : Folded(operation.forms)) text += "      " + line + "\n";
  }
  return text + kCommandsTail;
}

std::string VersionText() {
  return std::string("vanta-run " VANTA_VERSION ", libobs ") + obs_get_version_string() + "\n";
}

}  // namespace vanta_run
