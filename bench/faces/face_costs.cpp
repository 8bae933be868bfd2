// What faces cost the thread of the frames.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "face_scenes.h"
#include "face_times.h"

namespace vanta_bench {
namespace {

// A scene begins with a second in which faces are found.
Row Cost(const std::string &name, const std::vector<Nv12> &pictures, double seconds) {
  Feed feed;
  Times times(feed, pictures);
  for (int i = 0; i < static_cast<int>(kRate); ++i) times.Show(false);
  size_t faces = 0;
  size_t most = 0;
  for (int i = 0; i < static_cast<int>(seconds * kRate); ++i) {
    faces = times.Show(true).faces.size();
    most = std::max(most, faces);
  }
  const Row row = times.Print(name);
  std::printf("    faces %zu, at most %zu\n", faces, most);
  return row;
}

void Costs(cv::Size size, const std::string &name, double seconds, std::vector<Row> &rows) {
  const float unit = static_cast<float>(size.width) / 16;
  const cv::Point2f middle(static_cast<float>(size.width) * 0.5F, static_cast<float>(size.height) * 0.45F);
  std::vector<Nv12> pictures;
  for (uint64_t i = 0; i < 6; ++i) pictures.push_back(WithFaces(size, {}, 3, i + 1));
  rows.push_back(Cost(name + " no face", pictures, seconds));
  pictures.clear();
  for (uint64_t i = 0; i < 6; ++i) pictures.push_back(WithFaces(size, {Setup(size, middle, unit)}, 3, i + 1));
  rows.push_back(Cost(name + " one face, still", pictures, seconds));
  pictures.clear();
  constexpr int kSteps = 24;
  for (int i = 0; i < kSteps; ++i) {  // there and back
    const float at = static_cast<float>(i) / kSteps * 2 * static_cast<float>(CV_PI);
    PortraitSetup setup = Setup(size, middle + cv::Point2f(std::sin(at) * unit, 0), unit * (1 + 0.1F * std::cos(at)));
    setup.degrees = 10 * std::sin(at);
    pictures.push_back(WithFaces(size, {setup}, 3, static_cast<uint64_t>(i) + 1));
  }
  rows.push_back(Cost(name + " one face, moving", pictures, seconds));
  pictures.clear();
  for (uint64_t i = 0; i < 6; ++i) {
    std::vector<PortraitSetup> three;
    for (const float x : {0.2F, 0.5F, 0.8F}) {
      three.push_back(Setup(size, {static_cast<float>(size.width) * x, middle.y}, unit * 0.8F));
    }
    pictures.push_back(WithFaces(size, three, 3, i + 1));
  }
  rows.push_back(Cost(name + " three faces", pictures, seconds));
}

}  // namespace

void CostsAt720(double seconds, std::vector<Row> &rows) {
  Costs(k720, "faces 1280x720,", seconds, rows);
}

void CostsAt1080(double seconds, std::vector<Row> &rows) {
  Costs(k1080, "faces 1920x1080,", seconds, rows);
}

void Pedestrians(const std::string &clip, std::vector<Row> &rows) {
  constexpr int kWidth = 768;
  constexpr int kHeight = 576;
  if (!std::filesystem::exists(clip)) {
    std::printf("pedestrians: no clip at %s (Debian's opencv-doc has it), left out\n", clip.c_str());
    return;
  }
  const std::string command = "ffmpeg -v error -i '" + clip + "' -f rawvideo -pix_fmt nv12 -";
  FILE *pipe = popen(command.c_str(), "r");
  std::vector<Nv12> pictures;
  while (pipe) {
    Nv12 picture{cv::Mat(kHeight, kWidth, CV_8U), cv::Mat(kHeight / 2, kWidth / 2, CV_8UC2), {}};
    if (std::fread(picture.luma.data, 1, picture.luma.total(), pipe) != picture.luma.total()) break;
    if (std::fread(picture.chroma.data, 2, picture.chroma.total(), pipe) != picture.chroma.total()) break;
    pictures.push_back(picture);
  }
  if (pipe) pclose(pipe);
  if (pictures.empty()) {
    std::printf("pedestrians: ffmpeg cannot read %s, left out\n", clip.c_str());
    return;
  }
  const double rate = 10;
  Feed feed(rate);
  Times times(feed, pictures);
  const Shot first = times.Show(false);
  int false_faces = !first.faces.empty();
  const auto count = std::max<size_t>(static_cast<size_t>(60 * rate), pictures.size());
  for (size_t i = 1; i < count; ++i) false_faces += !times.Show(true).faces.empty();
  rows.push_back(times.Print("pedestrians 768x576 at 10 a second"));
  std::printf("    first picture, in which the runner starts: %.2f ms\n", first.ms);
  rows.push_back(Figure("pedestrians, pictures with a false face", "", false_faces, 0.5));
}

}  // namespace vanta_bench
