// What faces cost the thread of the frames in the open engine, in processor time of that thread, beside the shrinking
// of the same luma plane to a width of 640 by OpenCV; what its search thread takes; and how soon, how steadily and how
// exactly faces are shown. Pictures come in real time: the search beside them depends on it. The two are measured turn
// by turn, each after half a picture's time of sleep and on planes that the other does not touch, since a frame comes
// from another thread and is in no cache. What the shrinking takes again and again of one plane is printed beside it.
//   face_bench [--out FILE] [--seconds N] [--clip FILE] [--only textures|pedestrians]
// The clip is one of people in the street, too small for faces to be found: by default that of Debian's opencv-doc.
#include <util/base.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "face_scenes.h"
#include "face_times.h"

namespace {

constexpr const char *kClip = "/usr/share/doc/opencv-doc/examples/data/vtest.avi";

std::string Argument(int argc, char **argv, const char *name, const char *otherwise) {
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::strcmp(argv[i], name) == 0) return argv[i + 1];
  }
  return otherwise;
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  cv::setNumThreads(1);
  const double seconds = std::max(1.0, std::atof(Argument(argc, argv, "--seconds", "8").c_str()));
  if (vanta_bench::Portrait().empty()) {
    std::fprintf(stderr, "no portrait at %s\n", VANTA_PORTRAIT);
    return 2;
  }
  std::vector<vanta_bench::Row> rows;
  const std::string clip = Argument(argc, argv, "--clip", kClip);
  if (const std::string only = Argument(argc, argv, "--only", ""); !only.empty()) {
    if (only == "textures") vanta_bench::Textures(rows);
    if (only == "pedestrians") vanta_bench::Pedestrians(clip, rows);
    return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
  }
  vanta_bench::CostsAt720(seconds, rows);
  vanta_bench::CostsAt1080(seconds, rows);
  vanta_bench::FindAndDrop(rows);
  vanta_bench::SecondFace(rows);
  vanta_bench::Jitter(seconds, rows);
  vanta_bench::Motion(rows);
  vanta_bench::EndBesideLoops(rows);
  vanta_bench::Textures(rows);
  vanta_bench::Pedestrians(clip, rows);
  return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
}
