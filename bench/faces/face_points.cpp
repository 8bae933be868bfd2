// How soon, how steadily and how exactly faces are shown, and that none is where there is none.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <thread>

#include "face_scenes.h"
#include "face_times.h"
#include "tessera/point_layout.h"

namespace vanta_bench {
namespace {

constexpr double kMostFound = 0.5;  // seconds
constexpr double kMostDropped = 0.3;
constexpr double kMostJitter = 0.05;  // pixels of 1280x720
constexpr double kMostError = 0.06;   // of the pupils' distance, 95 of 100

double MeanError(const lumivex::Face &face, const std::vector<cv::Point2f> &truth) {
  constexpr size_t kPoints[] = {tessera::kLeftPupil, tessera::kRightPupil, tessera::kNoseTip, tessera::kMouthLeftCorner,
                                tessera::kMouthRightCorner};
  const double unit = std::hypot(truth[1].x - truth[0].x, truth[1].y - truth[0].y);
  double sum = 0;
  for (size_t i = 0; i < truth.size(); ++i) {
    sum +=
        static_cast<double>(std::hypot(face.points[kPoints[i]].x - truth[i].x, face.points[kPoints[i]].y - truth[i].y));
  }
  return sum / static_cast<double>(truth.size()) / unit;
}

}  // namespace

void Textures(std::vector<Row> &rows) {
  std::vector<Nv12> pictures;
  for (uint64_t seed = 1; seed <= 60; ++seed) {
    cv::RNG random(seed);
    const int side = 4 + static_cast<int>(seed * 2);
    cv::Mat coarse(side * 9 / 16, side, CV_8UC3);
    random.fill(coarse, cv::RNG::UNIFORM, 10, 245);
    cv::Mat bgr;
    cv::resize(coarse, bgr, k720, 0, 0, seed % 2 ? cv::INTER_CUBIC : cv::INTER_NEAREST);
    pictures.push_back(FromBgr(bgr, 3, seed));
  }
  Feed feed;
  int false_faces = 0;
  for (size_t i = 0; i < static_cast<size_t>(60 * kRate); ++i) {
    false_faces += !feed.Give(pictures[i / 30 % pictures.size()]).faces.empty();
  }
  rows.push_back(Figure("textures, pictures with a false face in a minute", "", false_faces, 0.5));
}

void FindAndDrop(std::vector<Row> &rows) {
  const Nv12 empty = WithFaces(k720, {}, 3, 1);
  std::vector<double> found;
  std::vector<double> dropped;
  for (int round = 0; round < 12; ++round) {
    const float eyes = 60 + 10 * static_cast<float>(round);
    const PortraitSetup setup = Setup(k720, {500.0F + 20 * static_cast<float>(round), 330}, eyes);
    const Nv12 with = WithFaces(k720, {setup}, 3, 2);
    Feed feed;
    for (int i = 0; i < 10 + round; ++i) feed.Give(empty);
    int pictures = 0;
    while (pictures < 60 && feed.Give(with).faces.empty()) ++pictures;
    found.push_back(pictures / kRate);
    for (int i = 0; i < 20; ++i) feed.Give(with);
    pictures = 0;
    while (pictures < 60 && !feed.Give(empty).faces.empty()) ++pictures;
    dropped.push_back(pictures / kRate);
  }
  std::printf("found after %.2f s in the median, dropped after %.2f s\n", Median(found), Median(dropped));
  rows.push_back(Figure("new face shown, longest", "s", Percentile(found, 1), kMostFound));
  rows.push_back(Figure("face dropped after a cut, longest", "s", Percentile(dropped, 1), kMostDropped));

  // Out over the edge.
  std::vector<Nv12> pictures;
  int gone = 0;
  for (int i = 0; i < 60; ++i) {
    const float x = 1000 + 14 * static_cast<float>(i);
    if (!gone && x > 1280) gone = i;
    pictures.push_back(WithFaces(k720, {Setup(k720, {x, 330}, 90)}, 3, static_cast<uint64_t>(i)));
  }
  Feed feed;
  for (int i = 0; i < 40; ++i) feed.Give(pictures[0]);
  int last = -1;
  std::vector<double> errors;
  for (int i = 0; i < 60; ++i) {
    const Shot shot = feed.Give(pictures[static_cast<size_t>(i)]);
    if (shot.faces.empty()) continue;
    last = i;
    errors.push_back(MeanError(shot.faces[0], pictures[static_cast<size_t>(i)].truth));
  }
  rows.push_back(Figure("face dropped behind the edge, after its middle", "s", std::max(0, last + 1 - gone) / kRate,
                        kMostDropped));
  rows.push_back(Figure("error on the way over the edge, 95 of 100", "", Percentile(errors, 0.95), 2 * kMostError));
}

void SecondFace(std::vector<Row> &rows) {
  const PortraitSetup first = Setup(k720, {380, 330}, 80);
  const PortraitSetup second = Setup(k720, {900, 330}, 90);
  const Nv12 one = WithFaces(k720, {first}, 3, 1);
  const Nv12 two = WithFaces(k720, {first, second}, 3, 1);
  std::vector<double> found;
  for (int round = 0; round < 8; ++round) {
    Feed feed;
    for (int i = 0; i < 30 + round; ++i) feed.Give(one);
    int pictures = 0;
    while (pictures < 60 && feed.Give(two).faces.size() < 2) ++pictures;
    found.push_back(pictures / kRate);
  }
  std::printf("second face after %.2f s in the median\n", Median(found));
  rows.push_back(Figure("second face shown, longest", "s", Percentile(found, 1), kMostFound));
}

void Jitter(double seconds, std::vector<Row> &rows) {
  std::vector<Nv12> pictures;
  for (uint64_t i = 0; i < 40; ++i) pictures.push_back(WithFaces(k720, {Setup(k720, {640, 330}, 80)}, 3, i + 1));
  Feed feed;
  std::vector<cv::Point2f> last;
  std::vector<double> moves;
  std::vector<double> errors;
  for (int i = 0; i < static_cast<int>(seconds * kRate) + 60; ++i) {
    const Nv12 &picture = pictures[static_cast<size_t>(i * 7) % pictures.size()];
    const Shot shot = feed.Give(picture);
    if (i < 60 || shot.faces.empty()) continue;
    errors.push_back(MeanError(shot.faces[0], picture.truth));
    std::vector<cv::Point2f> now;
    for (const size_t point : {0, 9, 18, 97, 99})
      now.emplace_back(shot.faces[0].points[point].x, shot.faces[0].points[point].y);
    for (size_t k = 0; k < last.size(); ++k)
      moves.push_back(static_cast<double>(std::hypot(now[k].x - last[k].x, now[k].y - last[k].y)));
    last = now;
  }
  double sum = 0;
  for (const double move : moves) sum += move;
  rows.push_back(Figure("jitter at rest, noise of 3, mean from picture to picture", "px",
                        moves.empty() ? 9 : sum / static_cast<double>(moves.size()), kMostJitter));
  rows.push_back(Figure("error at rest, 95 of 100", "", Percentile(errors, 0.95), kMostError));
}

void Motion(std::vector<Row> &rows) {
  std::vector<Nv12> pictures;
  constexpr int kSteps = 60;
  for (int i = 0; i < kSteps; ++i) {
    const float at = static_cast<float>(i) / kSteps * 2 * static_cast<float>(CV_PI);
    PortraitSetup setup = Setup(k720, {640 + 180 * std::sin(at), 330 + 30 * std::sin(2 * at)}, 80 + 20 * std::cos(at));
    setup.degrees = 15 * std::sin(2 * at);
    pictures.push_back(WithFaces(k720, {setup}, 3, static_cast<uint64_t>(i) + 1));
  }
  Feed feed;
  std::vector<double> errors;
  double along = 0;
  double moved = 0;
  int shown = 0;
  for (int i = 0; i < 4 * kSteps; ++i) {
    const Nv12 &picture = pictures[static_cast<size_t>(i) % kSteps];
    const Nv12 &before = pictures[static_cast<size_t>(i + kSteps - 1) % kSteps];
    const Shot shot = feed.Give(picture);
    if (i < kSteps) continue;
    if (shot.faces.empty()) continue;
    ++shown;
    errors.push_back(MeanError(shot.faces[0], picture.truth));
    const cv::Point2f step = (picture.truth[0] + picture.truth[1] - before.truth[0] - before.truth[1]) * 0.5F;
    const auto &points = shot.faces[0].points;
    const cv::Point2f eyes(0.5F * (points[tessera::kLeftPupil].x + points[tessera::kRightPupil].x),
                           0.5F * (points[tessera::kLeftPupil].y + points[tessera::kRightPupil].y));
    along -= static_cast<double>((eyes - (picture.truth[0] + picture.truth[1]) * 0.5F).dot(step));
    moved += static_cast<double>(step.dot(step));
  }
  std::printf("moving face: error %.3f in the median; shown in %d of %d pictures\n", Median(errors), shown, 3 * kSteps);
  rows.push_back(Figure("error in motion, 95 of 100", "", Percentile(errors, 0.95), kMostError));
  rows.push_back(Figure("lag in motion", "pictures", along / moved, 0.25));
}

void EndBesideLoops(std::vector<Row> &rows) {
  std::atomic<bool> stop{false};
  std::vector<std::thread> loops;
  for (int i = 0; i < 6; ++i) {
    loops.emplace_back([&stop] {
      while (!stop) {
      }
    });
  }
  const Nv12 picture = WithFaces(k720, {}, 3, 1);
  std::vector<double> ends;
  for (int round = 0; round < 8; ++round) {
    auto feed = std::make_unique<Feed>();
    for (int i = 0; i < 15 + 2 * round; ++i) feed->Give(picture);
    ends.push_back(Milliseconds([&feed] { feed.reset(); }) / 1000);
  }
  stop = true;
  for (std::thread &loop : loops) loop.join();
  rows.push_back(Figure("end beside six endless loops, longest", "s", Percentile(ends, 1), 1));
}

}  // namespace vanta_bench
