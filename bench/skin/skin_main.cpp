// What skin smoothing does to ten tones of skin: a portrait recoloured to each, with dark and red spots on it, through
// the open engine with its own search for faces. Prints what is left of the spots, of the edges of eyes and lips, of
// fine texture, and how much the rest of the picture changes. In one light, or in many before many backgrounds.
#include <util/base.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <opencv2/core.hpp>
#include <string>

#include "fixtures/portrait/portrait.h"
#include "lumivex/lumivex_control.h"
#include "skin_tables.h"

namespace {

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

// skin_bench [--tone N] [--pictures FOLDER] [--sheet FILE] [--dim] [--unknown] [--look NAME=VALUE,...]
// [--scenes chosen|held] [--beside chosen|held] [--seed N] [--ways] [--named TEXT]: into the folder goes a picture for
// each tone, before beside after, into the file all of them. With --unknown no face is found. With --dim the portrait
// is mirrored, longer, smaller, noisy and at 0.7 of its light. --scenes prints one line for each of many lights before
// many backdrops: "chosen" are those on which the engine's constants were chosen, "held" the others; with --seed drawn
// anew, with --named those with the text in their name alone. --beside puts a second person into them, whose face is
// hidden in several ways. --ways prints one line for each of other ways to recolour the portrait and to draw spots, in
// each of some conditions.
int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  lumivex_set_frames_await_loads(true);
  std::string folder;
  std::string sheet;
  std::string scenes;
  std::string beside;
  std::string part;
  bool dim = false;
  bool ways = false;
  uint64_t seed = 0;
  size_t only = 0;  // 1 to 10; 0: all tones
  skin_bench::Look look{0.8F};
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--pictures") == 0 && i + 1 < argc) folder = argv[++i];
    if (std::strcmp(argv[i], "--sheet") == 0 && i + 1 < argc) sheet = argv[++i];
    if (std::strcmp(argv[i], "--scenes") == 0 && i + 1 < argc) scenes = argv[++i];
    if (std::strcmp(argv[i], "--beside") == 0 && i + 1 < argc) beside = argv[++i];
    if (std::strcmp(argv[i], "--named") == 0 && i + 1 < argc) part = argv[++i];
    if (std::strcmp(argv[i], "--seed") == 0 && i + 1 < argc) seed = std::strtoull(argv[++i], nullptr, 10);
    if (std::strcmp(argv[i], "--tone") == 0 && i + 1 < argc) only = static_cast<size_t>(std::atoi(argv[++i]));
    if (std::strcmp(argv[i], "--look") == 0 && i + 1 < argc && !look.Add(argv[++i])) {
      std::fprintf(stderr, "no such value in %s\n", argv[i]);
      return 2;
    }
    if (std::strcmp(argv[i], "--unknown") == 0) look.unknown = true;
    if (std::strcmp(argv[i], "--dim") == 0) dim = true;
    if (std::strcmp(argv[i], "--ways") == 0) ways = true;
  }
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  if (ways) {
    skin_bench::PrintWays(portrait, look, only, part, folder);
    return 0;
  }
  if (!beside.empty()) {
    skin_bench::PrintBeside(portrait, beside == "held", seed, look, only, part, folder);
    return 0;
  }
  if (!scenes.empty()) {
    skin_bench::PrintScenes(portrait, scenes == "held", seed, look, only, part);
    return 0;
  }
  return skin_bench::PrintTones(portrait, dim, look, only, folder, sheet) ? 0 : 1;
}
