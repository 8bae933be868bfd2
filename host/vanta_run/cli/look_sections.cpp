#include "cli/look_sections.h"

#include <nlohmann/json.hpp>

#include "capture/key_config.h"
#include "cli/engine_values.h"
#include "cli/row_readers.h"
#include "commands/settings_update.h"

namespace vanta_run {
namespace {

void RequireSettings(const std::string &value) {
  const auto json = nlohmann::json::parse(value, nullptr, false);
  if (!json.is_object()) BadValue("settings", value, "give a JSON object, '{\"no_green_matting\":true}' for instance");
  try {
    CheckSettings(json);
  } catch (const BadCommand &reason) {
    throw Failure(kExitUsage, "--settings", reason.what(), "see vanta-run --help");
  }
}

}  // namespace

OptionSection BeautySection(Options &options) {
  return {
      "BEAUTY",
      {{.name = "beauty",
        .letter = 'b',
        .value = "LIST",
        .text = "intensities, as in 'smooth=0.7,whiten=0.4':",
        .items = BeautyItems(),
        .read = [&options](const std::string &value) { ReadBeauty(value, options); },
        .many = true,
        .of_beauty = true,
        .completes = Completes::kWords,
        .words = WordsOf(BeautyItems())},
       {.name = "deform",
        .value = "LIST",
        .text = "shapes of the face, as in 'slim_face=0.5,eye_size=0.3':",
        .items = DeformItems(),
        .read = [&options](const std::string &value) { ReadDeform(value, options); },
        .many = true,
        .of_beauty = true,
        .completes = Completes::kWords,
        .words = WordsOf(DeformItems())},
       {.name = "slim",
        .value = "LIST",
        .text = "shapes of the body, as in 'waist=0.5'. Where its parts are is told from the face:",
        .items = SlimItems(),
        .read = [&options](const std::string &value) { ReadSlim(value, options); },
        .many = true,
        .of_beauty = true,
        .completes = Completes::kWords,
        .words = WordsOf(SlimItems())},
       {.name = "lookup",
        .value = "FILE[=I]",
        .text = "colour table, .cube or square PNG, at intensity I from 0 to 1 (default 1)",
        .read = [&options](const std::string &value) { options.lookup = ReadLookup(value); },
        .of_beauty = true,
        .completes = Completes::kFiles},
       {.name = "group",
        .value = "NAME|FILE",
        .text = "a preset of the engine (\"jingdian\" is its start-up preset) or a preset file",
        .read = Keep(options.group),
        .of_beauty = true,
        .completes = Completes::kFiles},
       {.name = "stage",
        .value = "LIST",
        .text = "whole stages of the engine, as in 'green-matting=on,relight=off':",
        .items = StageItems(),
        .read = [&options](const std::string &value) { ReadStages(value, options); },
        .many = true,
        .of_beauty = true,
        .completes = Completes::kWords,
        .words = WordsOf(StageItems())},
       {.name = "makeup",
        .value = "DIR[=I]",
        .text =
            "a layer of makeup at intensity I from 0 to 1 (default 1); may be given more than once. The layer's key "
            "for SetMakeupIntensityWithKey is the folder's name",
        .read = [&options](const std::string &value) { options.makeup.push_back(ReadMakeup(value)); },
        .many = true,
        .of_beauty = true,
        .completes = Completes::kFolders},
       {.name = "makeup-color",
        .value = "PART=RRGGBB[,I]",
        .text =
            "makeup of a colour at intensity I from 0 to 1 (default 1), as in 'lips=b03040,0.7'; once for each part:",
        .items = MakeupPartItems(),
        .read = [&options](const std::string &value) { options.makeup.push_back(ReadMakeupColor(value)); },
        .many = true,
        .of_beauty = true,
        .completes = Completes::kWords,
        .words = WordsOf(MakeupPartItems())},
       {.name = "effect",
        .value = "DIR",
        .text = "plays the magic effect in this folder; this program's ability handler shows what it asks for",
        .read = [&options](const std::string &value) { options.effect = ReadEffectFolder(value); },
        .of_beauty = true,
        .completes = Completes::kFolders},
       {.name = "settings",
        .value = "JSON",
        .text = "settings for the running filter; may be given more than once. Its keys:",
        .items = {{"no_green_matting", "true, false"},
                  {"lx_enable_nvdx_interop", "\"open\", \"close\""},
                  {"sceneitem_orientation_info", "{\"hor_flip\":..,\"ver_flip\":..,\"rot_deg\":..}"},
                  {"effect_json_ability_handler", "true: this program's, false: none"}},
        .read =
            [&options](const std::string &value) {
              RequireSettings(value);
              options.settings.push_back(value);
            },
        .many = true,
        .of_beauty = true},
       {.name = "no-beauty",
        .text = "leave the beauty filter out, and with it the engine and its cost",
        .read = Set(options.beauty_filter, false)}}};
}

OptionSection FacesSection(Options &options) {
  return {
      "FACES",
      {{.name = "landmarks",
        .value = "FILE",
        .text = "adds the landmark filter behind the beauty filter and writes each of its signals as a line of JSON: "
                "seconds into the run, size of the picture, points, boxes. \"-\" is standard output",
        .read = Keep(options.landmarks),
        .writes = true,
        .completes = Completes::kFiles},
       {.name = "draw-landmarks",
        .text = "adds it too, and draws points and boxes over the picture, in the recording and the snapshot",
        .read = Set(options.draw_landmarks)}}};
}

OptionSection GreenScreenSection(Options &options) {
  return {
      "GREEN SCREEN",
      {{.name = "green-screen",
        .value = "FILE|JSON",
        .text = "key the input before a green or blue backing, behind the beauty filter. The value is the filter's "
                "config, a file or a text that begins with \"{\": '{\"keyColor\":[0.2,0.68,0.28]}'. \"{}\" takes the "
                "defaults, a pure green",
        .read =
            [&options](const std::string &value) {
              options.green_screen = ReadKeyConfig(value);
              options.green_screen_file = IsKeyConfigText(value) ? "" : value;
            },
        .completes = Completes::kFiles},
       {.name = "pick-key",
        .text = "print a config with the colour of the backing in the input's first frame and what else helps, on "
                "standard error what was found (how even its light is, noise, spill), and end: vanta-run --input "
                "take.mp4 --pick-key >key.json",
        .read = Set(options.pick_key)},
       {.name = "background",
        .value = "FILE|color:RRGGBB",
        .text = "a video, a picture or a colour below the input; it fills the canvas. Default: black",
        .read = Keep(options.background),
        .completes = Completes::kFiles}}};
}

}  // namespace vanta_run
