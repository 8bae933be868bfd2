// The command line as a plain record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vanta_filter/engine/records.h"
#include "vanta_host.h"

namespace vanta_run {

struct PictureSize {
  uint32_t width = 0;   // pixels
  uint32_t height = 0;  // pixels
  bool operator==(const PictureSize &) const = default;
};

// Frames a second as a fraction, 30000/1001 for instance.
struct FrameRate {
  uint32_t num = 30;
  uint32_t den = 1;
};

struct LookupOption {
  std::string path;
  float intensity = 1.0f;  // 0 to 1
};

// One layer of makeup.
struct MakeupOption {
  std::string folder;      // absolute, or "color:RRGGBB"
  float intensity = 1.0f;  // 0 to 1
  std::string key;         // empty: the folder's name
};

struct DumpOption {
  uint64_t frame = 1;  // counted from 1, as they enter the filter
  std::string prefix;  // of the files' names
};

struct Options {
  // Input
  std::string input;                // a file, a camera's device, or "color:RRGGBB"
  std::optional<PictureSize> size;  // empty: the input's own
  std::optional<FrameRate> rate;    // empty: the input's own, 30 for pictures
  double seconds = 0;               // 0: no limit by time
  uint64_t frames = 0;              // 0: no limit by count
  bool loop = false;
  bool live = false;         // at the machine's pace, as a live host plays it
  bool every_frame = false;  // the clip's own clock, even where nothing is recorded
  // On the clip's own clock, which stands still while anybody works: each frame is taken once.
  bool InStep() const { return !live && !virtual_camera && (every_frame || !output.empty()); }

  // Beauty and engine
  std::vector<std::pair<LXBeautyType, float>> beauty;
  std::vector<std::pair<int, float>> deform;  // by mode
  std::vector<std::pair<LXBodySlimmingType, float>> slim;
  std::optional<LookupOption> lookup;
  std::vector<std::pair<LXEffectType, bool>> stages;  // whole stages of the engine, on or off
  std::string effect;                                 // the folder of a magic effect, absolute; empty: none
  std::vector<MakeupOption> makeup;
  std::string group;  // a preset's name or a file; empty: the engine's own start-up preset
  bool engine = true;
  uint32_t engine_delay_ms = 0;       // added to every frame
  double engine_stop_after = -1;      // seconds into the run; negative: never
  std::vector<std::string> settings;  // JSON objects for the filter, in the order given
  std::vector<std::pair<vanta_host_switch, bool>> switches;

  bool beauty_filter = true;

  // Green screen
  std::optional<std::string> green_screen;  // a JSON object; empty: no such filter
  std::string green_screen_file;            // where it was read from; empty: from the command line
  bool pick_key = false;                    // print the backing's colour and end
  std::string background;                   // a file, or "color:RRGGBB"; empty: none

  // Faces
  std::string landmarks;  // file of found faces, "-" for standard output; empty: none
  bool draw_landmarks = false;
  bool FindsFaces() const { return !landmarks.empty() || draw_landmarks; }

  // The host application's part
  std::string ability_answers;      // a file of answers; empty: none
  std::vector<std::string> events;  // named events to make and to watch
  std::string commands;             // a script's file; empty: none
  bool interactive = false;         // commands come on standard input too

  bool monitor = false;  // the statistics datagrams, live

  // Output; an empty path means "not wanted"
  std::string output;
  bool virtual_camera = false;
  std::string snapshot;
  std::string matte;
  std::string compare;
  std::optional<DumpOption> dump;
  std::string report;
  std::string plot;
  double at = -1;  // seconds into the run at which pictures are taken; negative: halfway

  // Talk and places
  std::string log;
  bool quiet = false;
  bool verbose = false;
  std::string module;       // the plug-in's file; empty: look for it
  std::string module_data;  // its data folder; empty: look for it
};

}  // namespace vanta_run
