#include "face_pictures.h"

#include <opencv2/imgproc.hpp>

namespace vanta_bench {
namespace {

using vanta_test::PortraitPicture;

// Which marks of the portrait are compared.
constexpr size_t kMarksUsed[] = {4, 5, 6, 7, 8};

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

}  // namespace

lumivex::Nv12View Nv12::View() const {
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

PortraitSetup Setup(cv::Size size, cv::Point2f middle, float eyes) {
  PortraitSetup setup;
  setup.size = size;
  setup.middle = middle;
  setup.eye_distance = eyes;
  return setup;
}

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

}  // namespace vanta_bench
