// What skin smoothing does to ten tones of skin: a portrait recoloured to each, with dark and red spots on it, through
// the open engine with its own search for faces. Prints what is left of the spots, of the edges of eyes and lips, of
// fine texture, and how much the rest of the picture changes.
#include <util/base.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "fixtures/portrait/skin_tones.h"
#include "lumivex/lumivex_values.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

using vanta_test::PortraitPicture;
using vanta_test::Spot;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr float kSpotSizes[] = {0.035F, 0.07F};  // distances between the eyes

void Quiet(int, const char *, va_list, void *) {}

struct Planes {
  cv::Mat y;
  cv::Mat uv;  // CV_8UC2

  cv::Mat Bgr() const {
    cv::Mat bgr;
    cv::cvtColorTwoPlane(y, uv, bgr, cv::COLOR_YUV2BGR_NV12);
    return bgr;
  }
};

Planes PlanesOf(const cv::Mat &bgr) {
  cv::Mat i420;
  cv::cvtColor(bgr, i420, cv::COLOR_BGR2YUV_I420);
  Planes planes;
  planes.y = i420.rowRange(0, bgr.rows).clone();
  const uint8_t *u = i420.ptr(bgr.rows);
  const uint8_t *v = u + bgr.rows * bgr.cols / 4;
  cv::merge(std::vector<cv::Mat>{cv::Mat(bgr.rows / 2, bgr.cols / 2, CV_8U, const_cast<uint8_t *>(u)),
                                 cv::Mat(bgr.rows / 2, bgr.cols / 2, CV_8U, const_cast<uint8_t *>(v))},
            planes.uv);
  return planes;
}

struct Look {
  float smooth = 0.0F;
};

// The picture after some frames, so that the search for faces has answered.
Planes Through(const Planes &before, const Look &look, bool *found = nullptr) {
  LXEngineConfig config{};
  config.width = kWidth;
  config.height = kHeight;
  const auto engine = LX::LumivexSync::createEngine(&config);
  engine->updateTesseraParams(R"({"sync_detect":1})");  // faces in step: each frame has its own
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, look.smooth);
  LX::FramePool pool;
  Planes after;
  for (int i = 0; i < 4; ++i) {
    auto frame = pool.takeFrameDataNV12(kWidth, kHeight, 0, 0);
    frame->timestamp = 33 * i;
    frame->dump_flag = 1;
    for (int y = 0; y < kHeight; ++y)
      std::memcpy(frame->planes[0] + ptrdiff_t{frame->strides[0]} * y, before.y.ptr(y), kWidth);
    for (int y = 0; y < kHeight / 2; ++y)
      std::memcpy(frame->planes[1] + ptrdiff_t{frame->strides[1]} * y, before.uv.ptr(y), kWidth);
    frame = engine->processFrameData(std::move(frame));
    if (i < 3) continue;
    if (found) *found = frame->dump_text.find("\"faces\":0") == std::string::npos;
    after.y = cv::Mat(kHeight, kWidth, CV_8U, frame->planes[0], static_cast<size_t>(frame->strides[0])).clone();
    after.uv =
        cv::Mat(kHeight / 2, kWidth / 2, CV_8UC2, frame->planes[1], static_cast<size_t>(frame->strides[1])).clone();
  }
  return after;
}

// What the spots differ from the same picture without them, in the middle of each.
struct Contrast {
  double luma = 0.0;
  double chroma = 0.0;
};
Contrast SpotContrast(const Planes &with, const Planes &without, const std::vector<Spot> &spots) {
  Contrast sum;
  for (const Spot &spot : spots) {
    const cv::Point at(cvRound(spot.middle.x), cvRound(spot.middle.y));
    const int half = std::max(cvRound(spot.radius * 0.7F), 1);
    const cv::Rect place(at.x - half, at.y - half, 2 * half + 1, 2 * half + 1);
    const cv::Rect ring(at.x - 6 * half, at.y - 6 * half, 12 * half + 1, 12 * half + 1);
    const auto contrast = [&](const cv::Mat &a, const cv::Mat &b, const cv::Rect &inner, const cv::Rect &outer) {
      return (cv::mean(a(inner)) - cv::mean(a(outer))) - (cv::mean(b(inner)) - cv::mean(b(outer)));
    };
    const auto halved = [](const cv::Rect &r) { return cv::Rect(r.x / 2, r.y / 2, r.width / 2 + 1, r.height / 2 + 1); };
    sum.luma += std::abs(contrast(with.y, without.y, place, ring)[0]);
    const cv::Scalar chroma = contrast(with.uv, without.uv, halved(place), halved(ring));
    if (spot.red) sum.chroma += std::hypot(chroma[0], chroma[1]);
  }
  return sum;
}

double EdgeEnergy(const cv::Mat &luma, const std::vector<cv::Rect> &places) {
  double sum = 0.0;
  for (const cv::Rect &place : places) {
    cv::Mat x;
    cv::Mat y;
    cv::Sobel(luma(place), x, CV_32F, 1, 0);
    cv::Sobel(luma(place), y, CV_32F, 0, 1);
    cv::Mat strength;
    cv::magnitude(x, y, strength);
    std::vector<float> values(strength.begin<float>(), strength.end<float>());
    std::sort(values.begin(), values.end());
    for (size_t i = values.size() * 8 / 10; i < values.size(); ++i) sum += values[i];  // the edges themselves
  }
  return sum;
}

// The spotted face before beside after.
cv::Mat PairOf(const Planes &in, const Planes &out, const PortraitPicture &face, const cv::Size &size) {
  const float e = face.eye_distance;
  const cv::Point2f eyes = (face.marks[4] + face.marks[5]) * 0.5F;
  const cv::Rect wanted(cvRound(eyes.x - 1.5F * e), cvRound(eyes.y - 1.4F * e), cvRound(3.0F * e), cvRound(3.45F * e));
  const cv::Rect place = wanted & cv::Rect(0, 0, kWidth, kHeight);
  cv::Mat pair;
  cv::Mat halves[2];
  cv::resize(in.Bgr()(place), halves[0], size, 0, 0, cv::INTER_AREA);
  cv::resize(out.Bgr()(place), halves[1], size, 0, 0, cv::INTER_AREA);
  cv::hconcat(halves, 2, pair);
  cv::copyMakeBorder(pair, pair, 3, 3, 3, 3, cv::BORDER_CONSTANT, cv::Scalar::all(255));
  return pair;
}

// Rows of that many pairs.
cv::Mat Sheet(const std::vector<cv::Mat> &pairs, size_t in_row) {
  cv::Mat sheet;
  for (size_t first = 0; first < pairs.size(); first += in_row) {
    cv::Mat row;
    cv::hconcat(std::vector<cv::Mat>(pairs.begin() + static_cast<ptrdiff_t>(first),
                                     pairs.begin() + static_cast<ptrdiff_t>(std::min(first + in_row, pairs.size()))),
                row);
    sheet.push_back(row);
  }
  return sheet;
}

}  // namespace

// skin_bench [--pictures FOLDER] [--sheet FILE] [--dim]: into the folder goes a picture for each tone, before beside
// after, into the file all of them. With --dim the portrait is mirrored, longer, smaller, noisy and at 0.7 of its
// light: none of the engine's constants was chosen on that one.
int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  std::string folder;
  std::string sheet;
  bool dim = false;
  const Look look{0.8F};
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--pictures") == 0 && i + 1 < argc) folder = argv[++i];
    if (std::strcmp(argv[i], "--sheet") == 0 && i + 1 < argc) sheet = argv[++i];
    if (std::strcmp(argv[i], "--dim") == 0) dim = true;
  }
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  vanta_test::PortraitSetup setup;
  setup.size = {kWidth, kHeight};
  setup.middle = {640, 300};
  setup.eye_distance = 100;
  if (dim) {
    setup.eye_distance = 80;
    setup.stretch = 1.1F;
    setup.gain = 0.7F;
    setup.noise = 1.5F;
    setup.mirror = true;
  }
  std::vector<cv::Mat> pairs;
  std::printf("tone  face  small: luma chroma   large: luma chroma   edges  texture(.3)  outside\n");
  for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
    const cv::Mat person = vanta_test::Recoloured(portrait, vanta_test::kMonkTones[tone]);
    const PortraitPicture plain = vanta_test::PlacePortrait(person, setup);
    const Planes before = PlanesOf(plain.bgr);
    bool found = false;
    const Planes after = Through(before, look, &found);
    std::printf("%4zu  %4s ", tone + 1, found ? "yes" : "no");
    for (const float size : kSpotSizes) {
      PortraitPicture spotted = plain;
      const auto spots = vanta_test::SpotsOn(spotted, size);
      vanta_test::AddSpots(spotted, spots);
      const Planes in = PlanesOf(spotted.bgr);
      const Planes out = Through(in, look);
      const Contrast had = SpotContrast(in, before, spots);
      const Contrast has = SpotContrast(out, after, spots);
      std::printf("       %5.2f  %5.2f  ", has.luma / had.luma, has.chroma / had.chroma);
      if (size != kSpotSizes[1]) continue;
      if (!folder.empty())
        cv::imwrite(folder + "/tone" + std::to_string(tone + 1) + ".png", PairOf(in, out, plain, {200, 230}));
      pairs.push_back(PairOf(in, out, plain, {120, 138}));
    }
    const float e = plain.eye_distance;
    std::vector<cv::Rect> features;
    for (const size_t mark : {size_t{4}, size_t{5}}) {
      features.emplace_back(cvRound(plain.marks[mark].x - 0.28F * e), cvRound(plain.marks[mark].y - 0.14F * e),
                            cvRound(0.56F * e), cvRound(0.28F * e));
    }
    const cv::Point2f mouth = (plain.marks[7] + plain.marks[8]) * 0.5F;
    features.emplace_back(cvRound(mouth.x - 0.5F * e), cvRound(mouth.y - 0.1F * e), cvRound(e), cvRound(0.45F * e));
    const double edges = EdgeEnergy(after.y, features) / EdgeEnergy(before.y, features);
    // Fine texture on a cheek.
    cv::Mat noisy = plain.bgr.clone();
    cv::RNG random(5);
    cv::Mat grain(noisy.size(), CV_16S);
    random.fill(grain, cv::RNG::NORMAL, 0, 3);
    cv::Mat grains;
    cv::merge(std::vector<cv::Mat>{grain, grain, grain}, grains);
    cv::Mat textured;
    cv::add(noisy, grains, textured, cv::noArray(), CV_8UC3);
    const Planes texture = PlanesOf(textured);
    const Planes kept = Through(texture, {0.3F});
    const Planes smooth3 = Through(before, {0.3F});
    const cv::Point2f cheek = vanta_test::OnFace(plain, {-0.55F, 0.55F});
    const cv::Rect place(cvRound(cheek.x) - 16, cvRound(cheek.y) - 16, 32, 32);
    cv::Mat had_texture;
    cv::Mat has_texture;
    cv::subtract(texture.y(place), before.y(place), had_texture, cv::noArray(), CV_32F);
    cv::subtract(kept.y(place), smooth3.y(place), has_texture, cv::noArray(), CV_32F);
    const double pores = cv::norm(has_texture) / cv::norm(had_texture);
    // What is no skin: above and beside the head, and the collar.
    double outside = 0.0;
    const std::vector<cv::Rect> places = {
        {0, 0, 400, 500}, {880, 0, 400, 500}, {0, 560, 500, 160}, {780, 560, 500, 160}};
    for (const cv::Rect &rect : places)
      outside = std::max(outside, cv::norm(after.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
    std::printf("   %5.2f   %5.2f        %5.2f\n", edges, pores, outside);
  }
  if (!sheet.empty() && !cv::imwrite(sheet, Sheet(pairs, 5), {cv::IMWRITE_JPEG_QUALITY, 88})) return 1;
  return 0;
}
