// Prints how far the open vision runner's points are from the hand marks of a portrait, as parts of the distance
// between the eyes: turned, scaled, mirrored, stretched, dark, grey and noisy. Each picture is the first that its
// runner sees.
//   tessera_accuracy             the table
//   tessera_accuracy --draw FILE the points drawn into four of these pictures
#include <sys/resource.h>
#include <util/base.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"

namespace {

using vanta_test::kMarks;
using vanta_test::PortraitSetup;

struct Row {
  std::string name;
  std::vector<PortraitSetup> setups;
};

PortraitSetup Usual() {
  PortraitSetup setup;
  setup.size = {1280, 720};
  setup.middle = {640, 320};
  setup.eye_distance = 80;
  return setup;
}

// Both ways round, so that nothing is measured on one side's light alone.
Row MakeRow(const std::string &name, const std::function<void(PortraitSetup &)> &change) {
  Row row{name, {}};
  for (const bool mirror : {false, true}) {
    for (const float degrees : {-4.0F, 0.0F, 4.0F}) {
      PortraitSetup setup = Usual();
      setup.mirror = mirror;
      setup.degrees = degrees;
      setup.seed = row.setups.size() + 1;
      change(setup);
      row.setups.push_back(setup);
    }
  }
  return row;
}

std::vector<Row> Rows() {
  std::vector<Row> rows;
  for (const float degrees : {-30.0F, -20.0F, -15.0F, -10.0F, -5.0F, 0.0F, 5.0F, 10.0F, 15.0F, 20.0F, 30.0F}) {
    char name[32];
    std::snprintf(name, sizeof name, "turned by %+.0f degrees", static_cast<double>(degrees));
    rows.push_back(MakeRow(name, [degrees](PortraitSetup &setup) { setup.degrees = degrees + setup.degrees / 4; }));
  }
  for (const float distance : {32.0F, 40.0F, 60.0F, 120.0F, 180.0F}) {
    rows.push_back(MakeRow("eyes " + std::to_string(static_cast<int>(distance)) + " pixels apart",
                           [distance](PortraitSetup &setup) { setup.eye_distance = distance; }));
  }
  for (const float noise : {5.0F, 10.0F, 20.0F, 30.0F}) {
    rows.push_back(MakeRow("noise of " + std::to_string(static_cast<int>(noise)) + " codes",
                           [noise](PortraitSetup &setup) { setup.noise = noise; }));
  }
  rows.push_back(MakeRow("a quarter as bright, noise of 4", [](PortraitSetup &setup) {
    setup.gain = 0.25F;
    setup.noise = 4;
  }));
  rows.push_back(MakeRow("without colour", [](PortraitSetup &setup) { setup.grey = true; }));
  rows.push_back(MakeRow("face shortened to 90 %", [](PortraitSetup &setup) { setup.stretch = 0.9F; }));
  rows.push_back(MakeRow("face lengthened to 110 %", [](PortraitSetup &setup) { setup.stretch = 1.1F; }));
  return rows;
}

struct Errors {
  double sum = 0;
  double worst = 0;
  int count = 0;

  void Add(double error) {
    sum += error;
    worst = std::max(worst, error);
    ++count;
  }
  double Mean() const { return count ? sum / count : 0; }
};

double CpuMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  const auto total = [](const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
  };
  return total(usage.ru_utime) + total(usage.ru_stime);
}

// Marks 0..3 are eye corners, 4 and 5 pupils, 6 the nose, 7 and 8 the mouth, 9 and 10 the lips. The jaw is the last.
constexpr size_t kGroups = 6;
constexpr size_t kGroupOf[kMarks] = {0, 0, 0, 0, 1, 1, 2, 3, 3, 4, 4};
constexpr size_t kJaw = 5;

void PrintTable(const cv::Mat &portrait) {
  std::printf("%-34s | %7s", "", "found");
  for (const char *group : {"eye corners", "pupils", "nose tip", "mouth corners", "lips", "jaw"}) {
    std::printf(" | %-14s", group);
  }
  std::printf("\n%-34s | %7s", "1280x720, eyes 80 pixels apart", "");
  for (size_t group = 0; group < kGroups; ++group) std::printf(" | %-14s", "  mean   worst");
  std::printf("\n");
  Errors points[kMarks];
  for (const Row &row : Rows()) {
    Errors groups[kGroups];
    size_t found = 0;
    for (const PortraitSetup &setup : row.setups) {
      vanta_test::PortraitPicture picture = vanta_test::PlacePortrait(portrait, setup);
      vanta_test::FaceReader reader;
      const auto faces = reader.Run(picture);
      if (faces.empty()) continue;
      ++found;
      const auto errors = vanta_test::MarkErrors(faces[0], picture);
      for (size_t i = 0; i < kMarks; ++i) {
        groups[kGroupOf[i]].Add(static_cast<double>(errors[i]));
        points[i].Add(static_cast<double>(errors[i]));
      }
      for (const float error : vanta_test::JawErrors(faces[0], picture)) groups[kJaw].Add(static_cast<double>(error));
    }
    std::printf("%-34s | %3zu/%-3zu", row.name.c_str(), found, row.setups.size());
    for (const Errors &group : groups) std::printf(" | %6.3f  %6.3f", group.Mean(), group.worst);
    std::printf("\n");
  }
  std::printf("\n%-34s |    mean   worst\n", "all of these");
  for (size_t i = 0; i < kMarks; ++i) {
    std::printf("%-34s | %6.3f  %6.3f\n", vanta_test::PortraitMarks()[i].name, points[i].Mean(), points[i].worst);
  }
}

// CPU time on this thread for one face that is followed, for the first picture, and where there is no face.
void PrintTimes(const cv::Mat &portrait) {
  cv::setNumThreads(1);
  std::printf("\n%-34s | %12s | %12s | %12s\n", "milliseconds of one core", "first", "followed", "no face");
  for (const cv::Size size : {cv::Size(640, 360), cv::Size(1280, 720), cv::Size(1920, 1080)}) {
    PortraitSetup setup = Usual();
    setup.size = size;
    setup.middle = {static_cast<float>(size.width) * 0.5F, static_cast<float>(size.height) * 0.45F};
    setup.eye_distance = static_cast<float>(size.width) / 16;
    vanta_test::PortraitPicture picture = vanta_test::PlacePortrait(portrait, setup);
    vanta_test::FaceReader reader;
    const double start = CpuMilliseconds();
    reader.Run(picture);
    const double first = CpuMilliseconds();
    constexpr int kRuns = 40;
    for (int i = 0; i < kRuns; ++i) reader.Run(picture);
    const double followed = CpuMilliseconds();
    picture.i420.rowRange(0, size.height).setTo(110);
    cv::randn(picture.i420.rowRange(0, size.height), 110, 30);
    reader.Run(picture);
    const double lost = CpuMilliseconds();
    for (int i = 0; i < kRuns; ++i) reader.Run(picture);
    const double end = CpuMilliseconds();
    std::printf("%4d x %-27d | %12.1f | %12.1f | %12.1f\n", size.width, size.height, first - start,
                (followed - first) / kRuns, (end - lost) / kRuns);
  }
}

void Draw(const cv::Mat &portrait, const std::string &file) {
  std::vector<cv::Mat> shots;
  const auto shoot = [&](const std::function<void(PortraitSetup &)> &change) {
    PortraitSetup setup = Usual();
    setup.size = {640, 720};
    setup.middle = {320, 340};
    setup.eye_distance = 150;
    change(setup);
    vanta_test::PortraitPicture picture = vanta_test::PlacePortrait(portrait, setup);
    vanta_test::FaceReader reader;
    for (const vanta_test::ReadFace &face : reader.Run(picture)) {
      for (const cv::Point2f &point : face.points) {
        cv::circle(picture.bgr, point, 2, cv::Scalar(80, 255, 80), cv::FILLED, cv::LINE_AA);
      }
      cv::rectangle(picture.bgr, face.box, cv::Scalar(255, 255, 255));
    }
    for (const cv::Point2f &mark : picture.marks) {
      cv::drawMarker(picture.bgr, mark, cv::Scalar(60, 60, 255), cv::MARKER_TILTED_CROSS, 8);
    }
    shots.push_back(picture.bgr);
  };
  shoot([](PortraitSetup &) {});
  shoot([](PortraitSetup &setup) { setup.degrees = -20; });
  shoot([](PortraitSetup &setup) {
    setup.mirror = true;
    setup.degrees = 15;
    setup.noise = 20;
  });
  shoot([](PortraitSetup &setup) {
    setup.eye_distance = 100;
    setup.grey = true;
    setup.gain = 0.5F;
  });
  cv::Mat sheet;
  cv::hconcat(shots, sheet);
  cv::imwrite(file, sheet);
}

}  // namespace

int main(int count, char **arguments) {
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  if (portrait.empty()) {
    std::fprintf(stderr, "no portrait at %s\n", VANTA_PORTRAIT);
    return 1;
  }
  if (count == 3 && std::strcmp(arguments[1], "--draw") == 0) {
    Draw(portrait, arguments[2]);
    return 0;
  }
  base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);  // each runner says where its cascade lies
  PrintTable(portrait);
  PrintTimes(portrait);
  return 0;
}
