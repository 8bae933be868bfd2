// What faces cost the thread of the frames in the open engine, in processor time of that thread, beside the shrinking
// of the same luma plane to a width of 640 by OpenCV; what its search thread takes; and how soon, how steadily and how
// exactly faces are shown. Pictures come in real time: the search beside them depends on it. The two are measured turn
// by turn, each after half a picture's time of sleep and on planes that the other does not touch, since a frame comes
// from another thread and is in no cache. What the shrinking takes again and again of one plane is printed beside it.
//   face_bench [--out FILE] [--seconds N] [--clip FILE] [--only textures|pedestrians]
// The clip is one of people in the street, too small for faces to be found: by default that of Debian's opencv-doc.
#include <sys/resource.h>
#include <util/base.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <thread>
#include <vector>

#include "faces/face_finder.h"
#include "fixtures/portrait/portrait.h"
#include "pixels/nv12_view.h"
#include "ratio.h"
#include "tessera/point_layout.h"

namespace {

using vanta_bench::Median;
using vanta_bench::Row;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;

constexpr const char *kClip = "/usr/share/doc/opencv-doc/examples/data/vtest.avi";
constexpr double kRate = 30;        // pictures a second
constexpr double kMostFound = 0.5;  // seconds
constexpr double kMostDropped = 0.3;
constexpr double kMostJitter = 0.05;  // pixels of 1280x720
constexpr double kMostError = 0.06;   // of the pupils' distance, 95 of 100
// p99 of the frame's thread to the median of the shrinking.
constexpr double kMostRatio = 20;
const cv::Size k720(1280, 720);
const cv::Size k1080(1920, 1080);

double seconds_of_a_scene = 8;

struct Nv12 {
  cv::Mat luma;
  cv::Mat chroma;
  std::vector<cv::Point2f> truth;  // the five marks below, of each face; empty where no face is

  lumivex::Nv12View View() const {
    lumivex::Nv12View view;
    view.y = luma.data;
    view.uv = chroma.data;
    view.y_stride = static_cast<ptrdiff_t>(luma.step[0]);
    view.uv_stride = static_cast<ptrdiff_t>(chroma.step[0]);
    view.width = luma.cols;
    view.height = luma.rows;
    view.chroma_width = chroma.cols;
    view.chroma_height = chroma.rows;
    return view;
  }
};

// The marks that are compared: pupils, tip of the nose, corners of the mouth.
constexpr size_t kMarksUsed[] = {4, 5, 6, 7, 8};

const cv::Mat &Portrait() {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  return portrait;
}

Nv12 FromBgr(const cv::Mat &bgr, double noise, uint64_t seed) {
  cv::Mat noisy = bgr;
  if (noise > 0) {
    cv::RNG random(seed);
    cv::Mat field(bgr.size(), CV_16SC3);
    random.fill(field, cv::RNG::NORMAL, 0, noise);
    cv::add(bgr, field, noisy, cv::noArray(), CV_8UC3);
  }
  cv::Mat i420;
  cv::cvtColor(noisy, i420, cv::COLOR_BGR2YUV_I420);
  const int width = bgr.cols;
  const int height = bgr.rows;
  Nv12 made;
  made.luma = i420.rowRange(0, height).clone();
  uint8_t *u = i420.data + ptrdiff_t{width} * height;
  const cv::Mat planes[] = {cv::Mat(height / 2, width / 2, CV_8U, u),
                            cv::Mat(height / 2, width / 2, CV_8U, u + ptrdiff_t{width} * height / 4)};
  cv::merge(planes, 2, made.chroma);
  return made;
}

// A room with shapes in it.
cv::Mat Background(cv::Size size) {
  cv::RNG random(11);
  cv::Mat coarse(9, 16, CV_8UC3);
  random.fill(coarse, cv::RNG::UNIFORM, 40, 200);
  cv::Mat background;
  cv::resize(coarse, background, size, 0, 0, cv::INTER_CUBIC);
  for (int i = 0; i < 25; ++i) {
    const cv::Point at(random.uniform(0, size.width), random.uniform(0, size.height));
    const cv::Scalar colour(random.uniform(0, 255), random.uniform(0, 255), random.uniform(0, 255));
    cv::rectangle(background, cv::Rect(at, cv::Size(random.uniform(10, 160), random.uniform(10, 160))), colour,
                  cv::FILLED);
  }
  return background;
}

PortraitSetup Setup(cv::Size size, cv::Point2f middle, float eyes) {
  PortraitSetup setup;
  setup.size = size;
  setup.middle = middle;
  setup.eye_distance = eyes;
  return setup;
}

// The faces stand on the background, the last one's marks are the truth.
Nv12 WithFaces(cv::Size size, const std::vector<PortraitSetup> &faces, double noise, uint64_t seed) {
  PortraitPicture picture;
  picture.bgr = Background(size);
  std::vector<cv::Point2f> truth;
  for (const PortraitSetup &setup : faces) {
    vanta_test::AddPortrait(picture, Portrait(), setup);
    const PortraitPicture alone = vanta_test::PlacePortrait(Portrait(), setup);
    truth.clear();
    for (const size_t mark : kMarksUsed) truth.push_back(alone.marks[mark]);
  }
  Nv12 made = FromBgr(picture.bgr, noise, seed);
  made.truth = truth;
  return made;
}

// --- measuring

double Percentile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, static_cast<size_t>(part * static_cast<double>(values.size())))];
}

struct Shot {
  double ms = 0;
  lumivex::Faces faces;
};

// One engine's finder, fed in real time.
class Feed {
 public:
  explicit Feed(double rate = kRate)
      : rate_(rate),
        period_(
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(1 / rate))) {
    finder_.SetParams({{"max_face_num", "3"}});
  }

  Shot Give(const Nv12 &picture) {
    SleepUntilNext();
    is_due_ = false;
    time_ += static_cast<uint64_t>(1e9 / rate_);
    Shot shot;
    shot.ms = vanta_bench::ProcessorMilliseconds(
        [&] { finder_.Find(picture.View(), {}, time_, lumivex::FaceNeed::kPicture); });
    shot.faces = finder_.Found();
    return shot;
  }
  // Until the next picture is due. Give does so, too.
  void SleepUntilNext() {
    if (is_due_) return;
    next_ = std::max(next_ + period_, std::chrono::steady_clock::now() - period_);
    std::this_thread::sleep_until(next_);
    is_due_ = true;
  }
  void SleepHalf() const { std::this_thread::sleep_until(next_ + period_ / 2); }
  template <typename Finder>
  static double ShareOf(const Finder &finder) {
    if constexpr (requires { finder.TimeOfSearch().Share(); }) {
      return finder.TimeOfSearch().Share();
    } else {
      return 0;
    }
  }
  double SearchShare() const { return ShareOf(finder_); }

 private:
  lumivex::FaceFinder finder_;
  double rate_;
  std::chrono::steady_clock::duration period_;
  bool is_due_ = false;
  uint64_t time_ = 1;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

// The work that the frame's thread is compared with.
class Shrinking {
 public:
  explicit Shrinking(const std::vector<Nv12> &pictures) {
    for (size_t i = 0; i < std::min(pictures.size(), kMostPlanes); ++i) planes_.push_back(pictures[i].luma.clone());
  }

  double Milliseconds(size_t picture) {
    const cv::Mat &luma = planes_[picture % planes_.size()];
    return vanta_bench::ProcessorMilliseconds(
        [&] { cv::resize(luma, small_, cv::Size(640, luma.rows * 640 / luma.cols), 0, 0, cv::INTER_LINEAR); });
  }
  double MillisecondsInCache() {
    std::vector<double> times;
    for (int i = 0; i < 25; ++i) times.push_back(Milliseconds(0));
    return Median(times);
  }

 private:
  static constexpr size_t kMostPlanes = 24;
  std::vector<cv::Mat> planes_;
  cv::Mat small_;
};

// What happened to the frame's thread in its slowest picture.
struct Slowest {
  double ms = 0;
  int picture = 0;
  long page_faults = 0;
  long preemptions = 0;
};

// Times of the frame's thread, over the pictures of a scene.
class Times {
 public:
  Times(Feed &feed, const std::vector<Nv12> &pictures) : feed_(feed), pictures_(pictures), shrinking_(pictures) {}

  // Shows the next picture. Without `counts` it is one of those in which the scene begins.
  Shot Show(bool counts) {
    const auto at = static_cast<size_t>(shown_);
    feed_.SleepUntilNext();
    rusage before{};
    getrusage(RUSAGE_THREAD, &before);
    Shot shot = feed_.Give(pictures_[at % pictures_.size()]);
    rusage after{};
    getrusage(RUSAGE_THREAD, &after);
    if (counts) {
      times_.push_back(shot.ms);
      if (shot.ms > slowest_.ms) {
        slowest_ = {shot.ms, shown_, after.ru_minflt - before.ru_minflt, after.ru_nivcsw - before.ru_nivcsw};
      }
      feed_.SleepHalf();
      others_.push_back(shrinking_.Milliseconds(at));
    }
    ++shown_;
    return shot;
  }

  Row Print(const std::string &name) {
    const double other = Median(others_);
    const double p99 = Percentile(times_, 0.99);
    const double in_cache = shrinking_.MillisecondsInCache();
    Row row{name + ", p99", p99, other, p99 / other, kMostRatio};
    vanta_bench::PrintRow(row);
    std::printf("    p50 %.2f  p99 %.2f  max %.2f ms (picture %d, %ld page faults, preempted %ld times)\n",
                Percentile(times_, 0.5), p99, slowest_.ms, slowest_.picture, slowest_.page_faults,
                slowest_.preemptions);
    std::printf("    search thread %.0f %% of a core; shrinking in the cache %.3f ms, p99 is %.0f of those\n",
                100 * feed_.SearchShare(), in_cache, p99 / in_cache);
    std::fflush(stdout);
    return row;
  }

 private:
  Feed &feed_;
  const std::vector<Nv12> &pictures_;
  Shrinking shrinking_;
  std::vector<double> times_;
  std::vector<double> others_;
  Slowest slowest_;
  int shown_ = 0;
};

// A scene begins with a second in which faces are found.
Row Cost(const std::string &name, const std::vector<Nv12> &pictures) {
  Feed feed;
  Times times(feed, pictures);
  for (int i = 0; i < static_cast<int>(kRate); ++i) times.Show(false);
  size_t faces = 0;
  size_t most = 0;
  for (int i = 0; i < static_cast<int>(seconds_of_a_scene * kRate); ++i) {
    faces = times.Show(true).faces.size();
    most = std::max(most, faces);
  }
  const Row row = times.Print(name);
  std::printf("    faces %zu, at most %zu\n", faces, most);
  return row;
}

Row Figure(const std::string &name, const char *unit, double value, double bar) {
  Row row{name, value, bar, value / bar, 1};
  std::printf("%-58s   %.3f %s (at most %.3f)%s\n", name.c_str(), value, unit, bar,
              vanta_bench::Passes(row) ? "" : "  MISSED");
  std::fflush(stdout);
  return row;
}

// --- scenes

void Costs(cv::Size size, const std::string &name, std::vector<Row> &rows) {
  const float unit = static_cast<float>(size.width) / 16;
  const cv::Point2f middle(static_cast<float>(size.width) * 0.5F, static_cast<float>(size.height) * 0.45F);
  std::vector<Nv12> pictures;
  for (uint64_t i = 0; i < 6; ++i) pictures.push_back(WithFaces(size, {}, 3, i + 1));
  rows.push_back(Cost(name + " no face", pictures));
  pictures.clear();
  for (uint64_t i = 0; i < 6; ++i) pictures.push_back(WithFaces(size, {Setup(size, middle, unit)}, 3, i + 1));
  rows.push_back(Cost(name + " one face, still", pictures));
  pictures.clear();
  constexpr int kSteps = 24;
  for (int i = 0; i < kSteps; ++i) {  // there and back
    const float at = static_cast<float>(i) / kSteps * 2 * static_cast<float>(CV_PI);
    PortraitSetup setup = Setup(size, middle + cv::Point2f(std::sin(at) * unit, 0), unit * (1 + 0.1F * std::cos(at)));
    setup.degrees = 10 * std::sin(at);
    pictures.push_back(WithFaces(size, {setup}, 3, static_cast<uint64_t>(i) + 1));
  }
  rows.push_back(Cost(name + " one face, moving", pictures));
  pictures.clear();
  for (uint64_t i = 0; i < 6; ++i) {
    std::vector<PortraitSetup> three;
    for (const float x : {0.2F, 0.5F, 0.8F}) {
      three.push_back(Setup(size, {static_cast<float>(size.width) * x, middle.y}, unit * 0.8F));
    }
    pictures.push_back(WithFaces(size, three, 3, i + 1));
  }
  rows.push_back(Cost(name + " three faces", pictures));
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

// From picture to picture, of the five points that are published.
void Jitter(std::vector<Row> &rows) {
  std::vector<Nv12> pictures;
  for (uint64_t i = 0; i < 40; ++i) pictures.push_back(WithFaces(k720, {Setup(k720, {640, 330}, 80)}, 3, i + 1));
  Feed feed;
  std::vector<cv::Point2f> last;
  std::vector<double> moves;
  std::vector<double> errors;
  for (int i = 0; i < static_cast<int>(seconds_of_a_scene * kRate) + 60; ++i) {
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

// A face that moves, turns and comes nearer: its points' error, and by how many pictures they are late.
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

// How long the end of an engine's finder takes where all processors are wanted by others.
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
    ends.push_back(vanta_bench::Milliseconds([&feed] { feed.reset(); }) / 1000);
  }
  stop = true;
  for (std::thread &loop : loops) loop.join();
  rows.push_back(Figure("end beside six endless loops, longest", "s", Percentile(ends, 1), 1));
}

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
  seconds_of_a_scene = std::max(1.0, std::atof(Argument(argc, argv, "--seconds", "8").c_str()));
  if (Portrait().empty()) {
    std::fprintf(stderr, "no portrait at %s\n", VANTA_PORTRAIT);
    return 2;
  }
  std::vector<Row> rows;
  const std::string clip = Argument(argc, argv, "--clip", kClip);
  if (const std::string only = Argument(argc, argv, "--only", ""); !only.empty()) {
    if (only == "textures") Textures(rows);
    if (only == "pedestrians") Pedestrians(clip, rows);
    return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
  }
  Costs(k720, "faces 1280x720,", rows);
  Costs(k1080, "faces 1920x1080,", rows);
  FindAndDrop(rows);
  SecondFace(rows);
  Jitter(rows);
  Motion(rows);
  EndBesideLoops(rows);
  Textures(rows);
  Pedestrians(clip, rows);
  return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
}
