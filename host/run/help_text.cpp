#include "help_text.h"

#include <cstdio>

#include <lumivex/lumivex_values.h>
#include <obs.h>

#include "vanta_host.h"

namespace vanta_run {
namespace {

constexpr char kHead[] =
    R"(NAME
  vanta-run - plays a file through the beauty filter, without a window

SYNOPSIS
  vanta-run --input FILE [options]

DESCRIPTION
  Starts libobs, loads the filter, plays FILE through it in real time, and records what comes out. FILE is
  anything that libobs's media source plays, a still picture, or a plain colour written "color:RRGGBB".
  The run ends after --seconds or --frames, at the end of the file, or with Ctrl-C; pictures and colours end
  after 5 seconds unless told otherwise.

INPUT
  -i, --input FILE        what to play
  -l, --loop              start again at the end; without a limit the run goes on until Ctrl-C
  -s, --size WxH          size of the recording; a picture or colour is made in that size. Default: the input's
                          own, a picture that is larger than 1920x1080 is shrunk to fit
  -r, --fps N             frames a second: 30, 29.97 or 30000/1001. Default: the file's own up to 60; pictures 30
  -t, --seconds S         end after S seconds
  -n, --frames N          end after N frames have entered the filter

BEAUTY
  -b, --beauty LIST       intensities, as in 'smooth=0.7,whiten=0.4':
)";

constexpr char kMiddle[] =
    R"(      --lookup FILE[=I]   colour table, .cube or square PNG, at intensity I from 0 to 1 (default 1)
      --group NAME|FILE   a preset of the engine ("jingdian" is its start-up preset) or a preset file
      --effect LIST       whole stages, as in 'green-matting=on,relight=off':
                          beauty, adjust, lookup, relight, green-matting
      --settings JSON     settings for the running filter; may be given more than once. Keys:
                          no_green_matting (true, false), lx_enable_nvdx_interop ("open", "close"),
                          sceneitem_orientation_info ({"hor_flip":..,"ver_flip":..,"rot_deg":..})

ENGINE
      --no-engine         run as on a machine without the effect engine: the picture passes untouched
      --engine-delay MS   make the engine take MS milliseconds longer for every frame
      --engine-stop-after S
                          take the engine away S seconds into the run, by a forced restart that fails

HOST SWITCHES, each on or off
)";

constexpr char kTail[] =
    R"(
OUTPUT
  -o, --output FILE       the recording, H.264 and AAC; the name's ending (.mp4, .mkv, .mov, .flv, .ts) is the format
      --snapshot FILE     PNG of the recorded picture
      --compare FILE      PNG of one frame before and after the filter, side by side
      --at S              take these pictures S seconds into the run. Default: halfway, or after 2 seconds
      --report FILE       JSON: frames in, out, repeated, dropped, delay, costs, engine times, the module's
                          reports, switches, versions. "-" is standard output
  Every file is written under another name beside its place and renamed when it is whole.

TALK
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
    2  unknown option or bad value
    3  the input cannot be read, or has no picture
    4  no display and no way to get one, or no OpenGL on it
    5  the filter or a plug-in of libobs is missing
    6  a file could not be written whole; nothing half-written is left under its name
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

}  // namespace

std::string HelpText() {
  return kHead + BeautyLines() + kMiddle + SwitchLines() + kTail;
}

std::string VersionText() {
  return std::string("vanta-run " VANTA_VERSION ", libobs ") + obs_get_version_string() + "\n";
}

}  // namespace vanta_run
