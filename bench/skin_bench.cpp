// What skin smoothing does to ten tones of skin: a portrait recoloured to each, with dark and red spots on it, through
// the open engine with its own search for faces. Prints what is left of the spots, of the edges of eyes and lips, of
// fine texture, and how much the rest of the picture changes. In one light, or in many before many backgrounds.
#include <util/base.h>

#include <algorithm>
#include <array>
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

#include "fixtures/portrait/expressions.h"
#include "fixtures/portrait/skin_tones.h"
#include "lumivex/lumivex_values.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

using vanta_test::PortraitPicture;
using vanta_test::Recolouring;
using vanta_test::SkinArea;
using vanta_test::Spot;
using vanta_test::SpotKind;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kLeastFrames = 3;
constexpr int kMostFrames = 15;  // half a second: a search that finds nothing looks in another way each time
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
  bool unknown = false;  // the picture is called upside down, so that no face is found
  int called = 180;      // degrees by which it is then said to be turned
  std::vector<std::pair<LXBeautyType, float>> beauty{};
  std::vector<std::pair<int, float>> deform{};

  // "whiten=0.4,jaw=1": names of beauty values and of shapes. False where one is not known.
  bool Add(const std::string &text) {
    for (size_t at = 0; at < text.size();) {
      const size_t end = std::min(text.find(',', at), text.size());
      const size_t equals = text.find('=', at);
      if (equals >= end) return false;
      const std::string name = text.substr(at, equals - at);
      const float value = std::strtof(text.c_str() + equals + 1, nullptr);
      const size_t before = beauty.size() + deform.size();
      for (const auto &info : lumivex::kBeautyTypes)
        if (info.name == name) beauty.emplace_back(info.type, value);
      for (const auto &info : lumivex::kDeformModes)
        if (info.name == name) deform.emplace_back(static_cast<int>(info.mode), value);
      if (beauty.size() + deform.size() == before) return false;
      at = end + 1;
    }
    return true;
  }
};

// The picture after some frames: as soon as a face is found, or after half a second. `faces`: how many are found then.
Planes Through(const Planes &before, const Look &look, int *faces = nullptr) {
  LXEngineConfig config{};
  config.width = kWidth;
  config.height = kHeight;
  const auto engine = LX::LumivexSync::createEngine(&config);
  engine->updateTesseraParams(R"({"sync_detect":1})");  // faces in step: each frame has its own
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, look.smooth);
  for (const auto &[type, value] : look.beauty) engine->setBeautyIntensityWithType(type, value);
  for (const auto &[mode, value] : look.deform) engine->setDeformIntensityWithMode(mode, value);
  LX::FramePool pool;
  Planes after;
  bool seen = false;
  const int most = look.unknown ? kLeastFrames : kMostFrames;
  for (int i = 0; i < most; ++i) {
    auto frame = pool.takeFrameDataNV12(kWidth, kHeight, 0, 0);
    frame->timestamp = 33 * i;
    frame->rotation = look.unknown ? look.called : 0;
    frame->dump_flag = 1;
    for (int y = 0; y < kHeight; ++y)
      std::memcpy(frame->planes[0] + ptrdiff_t{frame->strides[0]} * y, before.y.ptr(y), kWidth);
    for (int y = 0; y < kHeight / 2; ++y)
      std::memcpy(frame->planes[1] + ptrdiff_t{frame->strides[1]} * y, before.uv.ptr(y), kWidth);
    frame = engine->processFrameData(std::move(frame));
    const size_t number = frame->dump_text.find("\"faces\":");
    const int count = number == std::string::npos ? 1 : std::atoi(frame->dump_text.c_str() + number + 8);
    seen = count > 0;
    if (faces) *faces = count;
    if (i + 1 < kLeastFrames || (!seen && i + 1 < most)) continue;
    after.y = cv::Mat(kHeight, kWidth, CV_8U, frame->planes[0], static_cast<size_t>(frame->strides[0])).clone();
    after.uv =
        cv::Mat(kHeight / 2, kWidth / 2, CV_8UC2, frame->planes[1], static_cast<size_t>(frame->strides[1])).clone();
    break;
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

// The part of the picture with the face.
cv::Mat Cut(const Planes &planes, const PortraitPicture &face) {
  const float e = face.eye_distance;
  const cv::Point2f eyes = (face.marks[4] + face.marks[5]) * 0.5F;
  const cv::Rect wanted(cvRound(eyes.x - 1.5F * e), cvRound(eyes.y - 1.4F * e), cvRound(3.0F * e), cvRound(3.45F * e));
  return planes.Bgr()(wanted & cv::Rect(0, 0, kWidth, kHeight)).clone();
}

// A light, and what stands behind the person.
struct Scene {
  const char *name;
  cv::Scalar light = cv::Scalar::all(1);  // of blue, green, red
  float side = 0;                         // of the light that the dark side of the picture lacks
  float noise = 0;
  cv::Scalar backdrop = cv::Scalar::all(-1);  // its colour; below 0: the portrait's own
  float grain = 0;                            // of the backdrop's light
  cv::Size2f flecks{6, 1.2F};                 // pixels that its flecks are wide and high
  int boards = 0;                             // pixels from joint to joint; 0: none
  uint64_t seed = 11;
  uint64_t noise_seed = 3;
  vanta_test::PortraitSetup setup{};
};

cv::Scalar Bgr(double red, double green, double blue) {
  return {blue, green, red};
}

Scene Plain(bool dim) {
  Scene scene{dim ? "dim" : "plain"};
  scene.setup.size = {kWidth, kHeight};
  scene.setup.middle = {640, 300};
  scene.setup.eye_distance = 100;
  if (!dim) return scene;
  scene.setup.eye_distance = 80;
  scene.setup.stretch = 1.1F;
  scene.setup.gain = 0.7F;
  scene.setup.noise = 1.5F;
  scene.setup.mirror = true;
  return scene;
}

// Other noise and another backdrop, and the person somewhere else, nearer or farther, and tilted otherwise.
void Redraw(Scene &scene, cv::RNG &random) {
  scene.seed = random.next();
  scene.noise_seed = random.next();
  scene.setup.middle.x += random.uniform(-30.0F, 30.0F);
  scene.setup.middle.y += random.uniform(-20.0F, 20.0F);
  scene.setup.eye_distance *= random.uniform(0.85F, 1.12F);
  scene.setup.degrees += random.uniform(-4.0F, 4.0F);
}

// Every light before every backdrop, in two halves that share neither size nor tilt nor a sample of what is behind.
// `seed`: 0, or the number of another draw of them.
std::vector<Scene> Scenes(bool second_half, uint64_t seed) {
  struct Light {
    const char *name;
    cv::Scalar light;
    float side;
    float noise;
  };
  const Light lights[] = {{"bright", Bgr(1, 1, 1), 0, 0},
                          {"warm", Bgr(1, 0.86, 0.66), 0, 1},
                          {"cool", Bgr(0.84, 0.95, 1), 0, 1},
                          {"side", Bgr(1, 1, 1), 0.6F, 1},
                          {"dim", Bgr(0.65, 0.65, 0.65), 0, 1.5F},
                          {"dim warm", Bgr(0.7, 0.6, 0.48), 0.3F, 1.5F},
                          {"darker", Bgr(0.5, 0.5, 0.5), 0, 1.5F},
                          {"greenish", Bgr(0.8, 0.88, 0.74), 0, 1},
                          {"dim side", Bgr(0.7, 0.7, 0.7), 0.5F, 2},
                          {"dim cool", Bgr(0.55, 0.62, 0.66), 0, 1.5F}};
  struct Sample {
    cv::Scalar color;
    float grain;
    cv::Size2f flecks;
    int boards;
  };
  struct Backdrop {
    const char *name;
    Sample samples[2];  // of each half
  };
  const Sample none{cv::Scalar::all(-1), 0, {}, 0};
  const Backdrop backdrops[] = {
      {"", {none, none}},
      {"wood", {{Bgr(150, 111, 71), 0.14F, {6, 1.2F}, 0}, {Bgr(186, 140, 96), 0.10F, {1.5F, 14}, 110}}},
      {"sand", {{Bgr(194, 172, 134), 0.08F, {6, 1.2F}, 0}, {Bgr(214, 188, 150), 0.12F, {1.5F, 1.5F}, 0}}},
      {"cardboard", {{Bgr(176, 141, 106), 0.05F, {6, 1.2F}, 0}, {Bgr(160, 122, 86), 0.04F, {2, 8}, 260}}},
      {"wall", {{Bgr(214, 206, 194), 0.02F, {6, 1.2F}, 0}, {Bgr(206, 190, 172), 0.03F, {3, 3}, 0}}},
      {"grey wall", {{Bgr(128, 126, 124), 0.03F, {6, 1.2F}, 0}, {Bgr(150, 147, 150), 0.02F, {3, 3}, 0}}}};
  static std::vector<std::string> names;
  names.reserve(200);
  cv::RNG random(seed);
  std::vector<Scene> scenes;
  size_t number = 0;
  for (size_t light = 0; light < std::size(lights); ++light) {
    for (size_t behind = 0; behind < std::size(backdrops); ++behind) {
      ++number;
      if ((light + behind) % 2 != (second_half ? 1U : 0U)) continue;
      const Backdrop &backdrop = backdrops[behind];
      const Sample &sample = backdrop.samples[second_half ? 1 : 0];
      names.push_back(std::string(lights[light].name) + (*backdrop.name ? ", " : "") + backdrop.name);
      Scene scene{names.back().c_str(), lights[light].light, lights[light].side, lights[light].noise, sample.color};
      scene.grain = sample.grain;
      scene.flecks = sample.flecks;
      scene.boards = sample.boards;
      if (second_half) scene.seed = 29;
      scene.setup.size = {kWidth, kHeight};
      scene.setup.middle = second_half ? cv::Point2f(600, 310) : cv::Point2f(660, 290);
      scene.setup.eye_distance =
          second_half ? 84.0F + 4.0F * static_cast<float>(number % 4) : 92.0F + 4.0F * static_cast<float>(number % 5);
      scene.setup.degrees = second_half ? -5.0F : 4.0F;
      scene.setup.mirror = second_half;
      if (seed != 0) Redraw(scene, random);
      scenes.push_back(scene);
    }
  }
  return scenes;
}

// The head with its hair, and the shoulders.
cv::Mat PersonMask(const PortraitPicture &picture) {
  const float e = picture.eye_distance;
  cv::Mat mask = cv::Mat::zeros(picture.bgr.size(), CV_8U);
  const cv::Point middle = vanta_test::OnFace(picture, {0, 0.25F});
  cv::ellipse(mask, middle, cv::Size(cvRound(1.45F * e), cvRound(1.9F * e)), 0, 0, 360, cv::Scalar(255), cv::FILLED);
  const std::vector<cv::Point> body = {
      vanta_test::OnFace(picture, {-0.9F, 1.4F}), vanta_test::OnFace(picture, {0.9F, 1.4F}),
      vanta_test::OnFace(picture, {2.6F, 2.8F}),  vanta_test::OnFace(picture, {3, 8}),
      vanta_test::OnFace(picture, {-3, 8}),       vanta_test::OnFace(picture, {-2.6F, 2.8F})};
  cv::fillPoly(mask, std::vector<std::vector<cv::Point>>{body}, cv::Scalar(255));
  cv::GaussianBlur(mask, mask, cv::Size(0, 0), 3);
  return mask;
}

// Light of the backdrop above its colour, as parts of it.
cv::Mat Flecks(const Scene &scene, const cv::Size &size) {
  cv::RNG random(scene.seed);
  cv::Mat flecks(size, CV_32F);
  random.fill(flecks, cv::RNG::NORMAL, 0, 1);
  // Long ones, as wood and cloth have them, or round ones; of the same strength.
  const cv::Size2f &fleck = scene.flecks;
  cv::GaussianBlur(flecks, flecks, cv::Size(0, 0), static_cast<double>(fleck.width), static_cast<double>(fleck.height));
  flecks *= scene.grain * 1.5F * std::sqrt(fleck.area());
  for (int left = 40; scene.boards > 0 && left < size.width; left += scene.boards) {
    flecks.colRange(left, std::min(left + 3, size.width)) -= 0.45F;
    const float lighter = random.uniform(-0.12F, 0.12F);
    flecks.colRange(left, std::min(left + scene.boards, size.width)) += lighter;
  }
  return flecks;
}

// As a camera gives it: with noise of that deviation in codes, and whole codes.
cv::Mat WithNoise(const cv::Mat &lit, float deviation, uint64_t seed) {
  cv::Mat noise = cv::Mat::zeros(lit.size(), CV_32FC3);
  if (deviation > 0) cv::RNG(seed).fill(noise, cv::RNG::NORMAL, 0, deviation);
  cv::Mat codes;
  cv::add(lit, noise, codes, cv::noArray(), CV_8UC3);
  return codes;
}

// The picture in the scene's light, before its backdrop. `people` is where somebody stands, CV_8U.
cv::Mat InScene(const PortraitPicture &picture, const Scene &scene, const cv::Mat &people) {
  cv::Mat lit;
  picture.bgr.convertTo(lit, CV_32FC3);
  if (scene.backdrop[0] >= 0) {
    cv::Mat mask;
    people.convertTo(mask, CV_32F, 1.0 / 255);
    const cv::Mat flecks = Flecks(scene, picture.bgr.size());
    for (int y = 0; y < lit.rows; ++y) {
      for (int x = 0; x < lit.cols; ++x) {
        const float part = mask.at<float>(y, x);
        for (int i = 0; i < 3; ++i) {
          const float behind = static_cast<float>(scene.backdrop[i]) * (1 + flecks.at<float>(y, x));
          float &value = lit.at<cv::Vec3f>(y, x)[i];
          value = part * value + (1 - part) * behind;
        }
      }
    }
  }
  const float left = picture.marks[4].x - picture.eye_distance;
  for (int x = 0; x < lit.cols; ++x) {
    const float across = std::clamp((static_cast<float>(x) - left) / (3 * picture.eye_distance), 0.0F, 1.0F);
    const double shade = 1 - scene.side * across;
    cv::Mat column = lit.col(x);
    cv::multiply(column, scene.light * shade, column);
  }
  return WithNoise(lit, scene.noise, scene.noise_seed);
}

cv::Mat InScene(const PortraitPicture &picture, const Scene &scene) {
  return InScene(picture, scene, PersonMask(picture));
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

// What is no skin: above and beside the head, and the collar.
const std::array<cv::Rect, 4> kOutside = {cv::Rect{0, 0, 400, 500}, cv::Rect{880, 0, 400, 500},
                                          cv::Rect{0, 560, 500, 160}, cv::Rect{780, 560, 500, 160}};

// Of the edges of eyes and lips.
double EdgesKept(const PortraitPicture &picture, const Planes &before, const Planes &after) {
  const float e = picture.eye_distance;
  std::vector<cv::Rect> features;
  for (const size_t mark : {size_t{4}, size_t{5}}) {
    features.emplace_back(cvRound(picture.marks[mark].x - 0.28F * e), cvRound(picture.marks[mark].y - 0.14F * e),
                          cvRound(0.56F * e), cvRound(0.28F * e));
  }
  const cv::Point2f mouth = (picture.marks[7] + picture.marks[8]) * 0.5F;
  features.emplace_back(cvRound(mouth.x - 0.5F * e), cvRound(mouth.y - 0.1F * e), cvRound(e), cvRound(0.45F * e));
  return EdgeEnergy(after.y, features) / EdgeEnergy(before.y, features);
}

// What one tone shows in one scene. Contrasts as parts of what they were.
struct Figures {
  int found = 0;     // of three pictures: without, with small and with large spots
  Contrast left[2];  // small and large spots
  double edges = 0;
  double texture = 0;
  double outside = 0;  // levels
  cv::Mat before, after;
};

Figures Measure(const cv::Mat &person, const Scene &scene, const Look &look) {
  Figures figures;
  const PortraitPicture plain = vanta_test::PlacePortrait(person, scene.setup);
  const cv::Mat unspotted = InScene(plain, scene);
  const Planes before = PlanesOf(unspotted);
  int faces = 0;
  const Planes after = Through(before, look, &faces);
  figures.found += faces > 0;
  for (size_t i = 0; i < 2; ++i) {
    PortraitPicture spotted = plain;
    const auto spots = vanta_test::SpotsOn(spotted, kSpotSizes[i]);
    vanta_test::AddSpots(spotted, spots);
    const Planes in = PlanesOf(InScene(spotted, scene));
    const Planes out = Through(in, look, &faces);
    figures.found += faces > 0;
    const Contrast had = SpotContrast(in, before, spots);
    const Contrast has = SpotContrast(out, after, spots);
    figures.left[i] = {has.luma / had.luma, has.chroma / had.chroma};
    if (i == 0) continue;
    figures.before = Cut(in, plain);
    figures.after = Cut(out, plain);
  }
  figures.edges = EdgesKept(plain, before, after);
  // Fine texture on a cheek.
  cv::RNG random(5);
  cv::Mat grain(unspotted.size(), CV_16S);
  random.fill(grain, cv::RNG::NORMAL, 0, 3);
  cv::Mat grains;
  cv::merge(std::vector<cv::Mat>{grain, grain, grain}, grains);
  cv::Mat textured;
  cv::add(unspotted, grains, textured, cv::noArray(), CV_8UC3);
  const Planes texture = PlanesOf(textured);
  Look low = look;
  low.smooth = 0.3F;
  const Planes kept = Through(texture, low);
  const Planes smooth3 = Through(before, low);
  const cv::Point2f cheek = vanta_test::OnFace(plain, {-0.55F, 0.55F});
  const cv::Rect place(cvRound(cheek.x) - 16, cvRound(cheek.y) - 16, 32, 32);
  cv::Mat had_texture;
  cv::Mat has_texture;
  cv::subtract(texture.y(place), before.y(place), had_texture, cv::noArray(), CV_32F);
  cv::subtract(kept.y(place), smooth3.y(place), has_texture, cv::noArray(), CV_32F);
  figures.texture = cv::norm(has_texture) / cv::norm(had_texture);
  for (const cv::Rect &rect : kOutside)
    figures.outside = std::max(figures.outside, cv::norm(after.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
  return figures;
}

cv::Mat PairOf(const Figures &figures, const cv::Size &size) {
  cv::Mat pair;
  cv::Mat halves[2];
  cv::resize(figures.before, halves[0], size, 0, 0, cv::INTER_AREA);
  cv::resize(figures.after, halves[1], size, 0, 0, cv::INTER_AREA);
  cv::hconcat(halves, 2, pair);
  cv::copyMakeBorder(pair, pair, 3, 3, 3, 3, cv::BORDER_CONSTANT, cv::Scalar::all(255));
  return pair;
}

// One line for a scene: means over the tones, or of that one, and the worst.
void PrintScenes(const cv::Mat &portrait, const std::vector<Scene> &scenes, const Look &look, size_t only,
                 const std::string &part) {
  std::printf("%-20s  faces  left: luma  worst/best  chroma  edges  texture  outside (worst)\n", "scene");
  for (const Scene &scene : scenes) {
    if (std::string(scene.name).find(part) == std::string::npos) continue;
    int found = 0;
    size_t tones = 0;
    double luma = 0, chroma = 0, least = 9, most = 0, edges = 9, texture = 9, outside = 0, worst_outside = 0;
    for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
      if (only != 0 && tone + 1 != only) continue;
      ++tones;
      const Figures figures = Measure(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[tone]), scene, look);
      const double left = (figures.left[0].luma + figures.left[1].luma) / 2;
      found += figures.found;
      luma += left;
      chroma += (figures.left[0].chroma + figures.left[1].chroma) / 2;
      least = std::min(least, left);
      most = std::max(most, left);
      edges = std::min(edges, figures.edges);
      texture = std::min(texture, figures.texture);
      outside += figures.outside;
      worst_outside = std::max(worst_outside, figures.outside);
    }
    const auto count = static_cast<double>(tones);
    std::printf("%-20s  %5d       %5.2f       %5.2f   %5.2f  %5.2f    %5.2f    %5.2f  (%.2f)\n", scene.name, found,
                luma / count, (1 - most) / (1 - least), chroma / count, edges, texture, outside / count, worst_outside);
    std::fflush(stdout);
  }
}

// How a portrait comes to its tone and its spots.
struct Way {
  const char *name;
  Recolouring recolouring;
  SkinArea area;
  SpotKind spots;
};
constexpr Way kWays[] = {
    {"gain", Recolouring::kGain, SkinArea::kFace, SpotKind::kSoft},
    {"linear light", Recolouring::kLinearLight, SkinArea::kFace, SpotKind::kLab},
    {"lab", Recolouring::kLab, SkinArea::kFace, SpotKind::kLab},
    {"lab, scaled", Recolouring::kLabScaled, SkinArea::kEllipse, SpotKind::kLab},
    {"gamma", Recolouring::kGamma, SkinArea::kEllipse, SpotKind::kSoft},
    {"lab by colour", Recolouring::kLab, SkinArea::kByColour, SpotKind::kLab},
    {"gain by colour", Recolouring::kGain, SkinArea::kByColour, SpotKind::kDiscs},
    {"linear, ellipse", Recolouring::kLinearLight, SkinArea::kEllipse, SpotKind::kDiscs},
};

// In which the picture is taken.
struct Condition {
  const char *name;
  cv::Scalar light = cv::Scalar::all(1);
  float noise = 0;
  int jpeg = 0;  // quality; 0: not compressed
  float eye_distance = 100;
  float degrees = 0;
  float turned = 0;  // degrees
  bool two = false;  // people
  float spot = 0.035F;
};

std::vector<Condition> Conditions() {
  std::vector<Condition> all = {{"plain"},
                                {"bright", cv::Scalar::all(1.3)},
                                {"dim", cv::Scalar::all(0.5), 1},
                                {"warm", Bgr(1.08, 0.9, 0.66)},
                                {"cold", Bgr(0.82, 0.95, 1.12)},
                                {"jpeg", cv::Scalar::all(1), 2, 55}};
  all.push_back({"small face", cv::Scalar::all(1), 0, 0, 45});
  all.push_back({"smaller, jpeg", cv::Scalar::all(1), 1, 75, 34});
  all.push_back({"large face", cv::Scalar::all(1), 0, 0, 150});
  all.push_back({"tilted", cv::Scalar::all(1), 0, 0, 90, 14});
  all.push_back({"turned", cv::Scalar::all(1), 0, 0, 90, 0, 20});
  Condition two{"two people"};
  two.two = true;
  all.push_back(two);
  Condition wide{"large spots"};
  wide.spot = 0.07F;
  all.push_back(wide);
  return all;
}

cv::Mat InCondition(const cv::Mat &bgr, const Condition &condition) {
  cv::Mat lit;
  bgr.convertTo(lit, CV_32FC3);
  cv::multiply(lit, condition.light, lit);
  const cv::Mat result = WithNoise(lit, condition.noise, 7);
  if (condition.jpeg == 0) return result;
  std::vector<uint8_t> file;
  cv::imencode(".jpg", result, file, {cv::IMWRITE_JPEG_QUALITY, condition.jpeg});
  return cv::imdecode(file, cv::IMREAD_COLOR);
}

// Turns the head of the same picture without and with spots, which go along: where they are in the turned picture is
// where a disc in their place comes to lie.
void TurnBoth(PortraitPicture &plain, PortraitPicture &spotted, std::vector<Spot> &spots, float degrees) {
  for (Spot &spot : spots) {
    PortraitPicture alone = plain;
    alone.bgr = cv::Mat(plain.bgr.size(), CV_8UC3, cv::Scalar());  // of its own: zeros() would clear the one they share
    cv::circle(alone.bgr, spot.middle, cvRound(spot.radius), cv::Scalar::all(255), cv::FILLED);
    vanta_test::TurnHead(alone, degrees);
    cv::Mat grey;
    cv::cvtColor(alone.bgr, grey, cv::COLOR_BGR2GRAY);
    const cv::Moments moments = cv::moments(grey);
    if (moments.m00 > 0) spot.middle = cv::Point2d(moments.m10, moments.m01) / moments.m00;
  }
  vanta_test::TurnHead(spotted, degrees);
  PortraitPicture without = plain;
  vanta_test::TurnHead(without, degrees);
  plain.bgr = without.bgr;
}

// One line for a way in a condition: what is left of the spots of each tone, and in which it is the most.
void PrintWays(const cv::Mat &portrait, const Look &look, size_t only, const std::string &part,
               const std::string &folder) {
  std::printf("%-30s  faces  left: luma  worst/best  chroma  edges  outside  of each tone (*: no face)\n",
              "recoloured by");
  for (const Way &way : kWays) {
    for (const Condition &condition : Conditions()) {
      const std::string name = std::string(way.name) + ", " + condition.name;
      if (name.find(part) == std::string::npos) continue;
      double luma = 0, chroma = 0, least = 9, most = 0, edges = 9, outside = 0;
      int found = 0;
      double tones = 0;
      std::string each;
      for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
        if (only != 0 && tone + 1 != only) continue;
        const cv::Mat person =
            vanta_test::Recoloured(portrait, vanta_test::kMonkTones[tone], way.recolouring, way.area);
        vanta_test::PortraitSetup setup;
        setup.size = {kWidth, kHeight};
        setup.middle = condition.two ? cv::Point2f(420, 300) : cv::Point2f(640, 300);
        setup.eye_distance = condition.eye_distance;
        setup.degrees = condition.degrees;
        PortraitPicture plain = vanta_test::PlacePortrait(person, setup);
        if (condition.two) {
          vanta_test::PortraitSetup second = setup;
          second.middle.x = 940;
          second.mirror = true;
          AddPortrait(
              plain,
              vanta_test::Recoloured(portrait, vanta_test::kMonkTones[(tone + 5) % 10], way.recolouring, way.area),
              second);
        }
        PortraitPicture spotted = plain;
        auto spots = vanta_test::SpotsOn(spotted, condition.spot);
        vanta_test::AddSpots(spotted, spots, way.spots);
        if (condition.turned != 0) {
          TurnBoth(plain, spotted, spots, condition.turned);
        }
        const Planes before = PlanesOf(InCondition(plain.bgr, condition));
        const Planes in = PlanesOf(InCondition(spotted.bgr, condition));
        int found_plain = 0;
        int found_spotted = 0;
        const Planes after = Through(before, look, &found_plain);
        const Planes out = Through(in, look, &found_spotted);
        const Contrast had = SpotContrast(in, before, spots);
        const Contrast has = SpotContrast(out, after, spots);
        const double left = has.luma / had.luma;
        luma += left;
        chroma += has.chroma / had.chroma;
        least = std::min(least, left);
        most = std::max(most, left);
        if (condition.turned == 0) edges = std::min(edges, EdgesKept(plain, before, after));
        found += (found_plain > 0) + (found_spotted > 0);
        ++tones;
        char text[40];
        std::snprintf(text, sizeof(text), " %.2f/%.2f%s", left, has.chroma / had.chroma, found_spotted ? "" : "*");
        each += text;
        for (const cv::Rect &rect : kOutside) {
          if (condition.two) break;
          outside = std::max(outside, cv::norm(after.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
        }
        if (!folder.empty()) {
          cv::Mat pair;
          cv::hconcat(Cut(in, plain), Cut(out, plain), pair);
          cv::imwrite(folder + "/" + name + " " + std::to_string(tone + 1) + ".png", pair);
        }
      }
      std::printf("%-30s  %5d       %5.2f       %5.2f   %5.2f  %5.2f    %5.2f %s\n", name.c_str(), found, luma / tones,
                  (1 - most) / (1 - least), chroma / tones, edges, outside, each.c_str());
      std::fflush(stdout);
    }
  }
}

// Why the second person's face is not found.
enum class Hidden { kUpsideDown, kTurned, kEyesCovered, kHalfCovered };
struct Hiding {
  const char *name;
  Hidden how;
};
constexpr Hiding kHidings[] = {{"upside down", Hidden::kUpsideDown},
                               {"turned", Hidden::kTurned},
                               {"eyes covered", Hidden::kEyesCovered},
                               {"half covered", Hidden::kHalfCovered}};

// Two people before a backdrop, the second one's face hidden.
struct Two {
  PortraitPicture plain, spotted;  // both of them, the second one with spots and without
  PortraitPicture first, second;   // each alone, without spots: for the places
  std::vector<Spot> first_spots, spots;
  cv::Mat mask;
};

void Cover(PortraitPicture &picture, Hidden how) {
  const bool half = how == Hidden::kHalfCovered;
  std::vector<cv::Point> board;
  for (const cv::Point2f &corner :
       half ? std::array<cv::Point2f, 4>{{{-1.6F, -2}, {0.05F, -2}, {0.05F, 2}, {-1.6F, 2}}}
            : std::array<cv::Point2f, 4>{{{-1.3F, -0.24F}, {1.3F, -0.24F}, {1.3F, 0.28F}, {-1.3F, 0.28F}}})
    board.push_back(vanta_test::OnFace(picture, corner));
  picture.bgr = picture.bgr.clone();
  cv::fillPoly(picture.bgr, std::vector<std::vector<cv::Point>>{board}, half ? Bgr(84, 96, 110) : Bgr(40, 52, 84));
}

void Lay(const PortraitPicture &person, const cv::Mat &mask, PortraitPicture &onto) {
  cv::Mat part;
  cv::cvtColor(mask, part, cv::COLOR_GRAY2BGR);
  cv::Mat there;
  cv::Mat rest;
  cv::multiply(person.bgr, part, there, 1.0 / 255);
  cv::multiply(onto.bgr, cv::Scalar::all(255) - part, rest, 1.0 / 255);
  onto.bgr = there + rest;
}

Two MakeTwo(const cv::Mat &portrait, size_t first_tone, size_t second_tone, Hidden how, bool second_half) {
  vanta_test::PortraitSetup setup;
  setup.size = {kWidth, kHeight};
  setup.eye_distance = second_half ? 74 : 80;
  setup.middle = {400, 290};
  setup.mirror = second_half;
  Two two;
  two.first = vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[first_tone]), setup);
  setup.middle = {900, 310};
  setup.eye_distance = second_half ? 86 : 76;
  if (how == Hidden::kUpsideDown) setup.degrees = second_half ? 172 : 180;
  two.second = vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[second_tone]), setup);
  two.first_spots = vanta_test::SpotsOn(two.first, 0.045F);
  two.spots = vanta_test::SpotsOn(two.second, 0.045F);
  PortraitPicture plain = two.second;
  PortraitPicture spotted = two.second;
  vanta_test::AddSpots(spotted, two.spots);
  PortraitPicture first_spotted = two.first;
  vanta_test::AddSpots(first_spotted, two.first_spots);
  const cv::Mat mask = PersonMask(two.second);
  if (how == Hidden::kTurned) TurnBoth(plain, spotted, two.spots, second_half ? -58.0F : 58.0F);
  if (how == Hidden::kEyesCovered || how == Hidden::kHalfCovered) {
    Cover(plain, how);
    Cover(spotted, how);
    // Those that are still seen.
    std::erase_if(two.spots, [&](const Spot &spot) {
      const auto x = cvRound(spot.middle.x);
      const auto y = cvRound(spot.middle.y);
      return cv::norm(plain.bgr.at<cv::Vec3b>(y, x), spotted.bgr.at<cv::Vec3b>(y, x)) == 0;
    });
  }
  two.plain = two.first;
  two.spotted = first_spotted;
  Lay(plain, mask, two.plain);
  Lay(spotted, mask, two.spotted);
  cv::max(mask, PersonMask(two.first), two.mask);
  return two;
}

// Beside, between and above the two.
const std::array<cv::Rect, 3> kOutsideTwo = {cv::Rect{0, 0, 180, 450}, cv::Rect{560, 0, 110, 400},
                                             cv::Rect{1120, 0, 160, 450}};

// One line for each scene and each way to hide the second person's face: what is left of their spots beside a known
// face, and where no face is known; means over the tones.
void PrintBeside(const cv::Mat &portrait, bool second_half, uint64_t seed, const Look &look, size_t only,
                 const std::string &part, const std::string &folder) {
  std::printf(
      "%-34s  one face  left: luma (worst) chroma  edges  first  outside   nobody known: luma chroma  outside\n",
      "scene");
  for (const Scene &scene : Scenes(second_half, seed)) {
    for (const Hiding &hiding : kHidings) {
      const std::string name = std::string(scene.name) + ", " + hiding.name;
      if (name.find(part) == std::string::npos) continue;
      int one = 0;
      double tones = 0, luma = 0, worst = 0, chroma = 0, edges = 9, first = 0, outside = 0;
      double luma_unknown = 0, chroma_unknown = 0, outside_unknown = 0;
      for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
        if (only != 0 && tone + 1 != only) continue;
        const Two two = MakeTwo(portrait, (tone + (second_half ? 3 : 5)) % 10, tone, hiding.how, second_half);
        const Planes before = PlanesOf(InScene(two.plain, scene, two.mask));
        const Planes in = PlanesOf(InScene(two.spotted, scene, two.mask));
        int faces = 0;
        int faces_spotted = 0;
        const Planes after = Through(before, look, &faces);
        const Planes out = Through(in, look, &faces_spotted);
        if (!folder.empty()) {
          cv::Mat pair;
          cv::vconcat(in.Bgr(), out.Bgr(), pair);
          cv::imwrite(folder + "/" + name + " " + std::to_string(tone + 1) + ".png", pair);
        }
        if (faces != 1 || faces_spotted != 1) continue;
        ++one;
        ++tones;
        Look nobody = look;
        nobody.unknown = true;
        nobody.called = hiding.how == Hidden::kUpsideDown ? 90 : 180;
        const Planes unknown = Through(before, nobody);
        const Planes unknown_spotted = Through(in, nobody);
        const Contrast had = SpotContrast(in, before, two.spots);
        const Contrast has = SpotContrast(out, after, two.spots);
        const Contrast has_unknown = SpotContrast(unknown_spotted, unknown, two.spots);
        const auto left = [](double has, double had) { return had > 0 ? has / had : 0.0; };
        luma += left(has.luma, had.luma);
        worst = std::max(worst, left(has.luma, had.luma));
        chroma += left(has.chroma, had.chroma);
        luma_unknown += left(has_unknown.luma, had.luma);
        chroma_unknown += left(has_unknown.chroma, had.chroma);
        first += SpotContrast(out, after, two.first_spots).luma / SpotContrast(in, before, two.first_spots).luma;
        if (hiding.how == Hidden::kUpsideDown) edges = std::min(edges, EdgesKept(two.second, before, after));
        for (const cv::Rect &rect : kOutsideTwo) {
          outside = std::max(outside, cv::norm(after.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
          outside_unknown =
              std::max(outside_unknown, cv::norm(unknown.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
        }
      }
      std::printf(
          "%-34s  %8d        %5.2f  (%.2f)  %5.2f  %5.2f  %5.2f    %5.2f                 %5.2f  %5.2f    %5.2f\n",
          name.c_str(), one, luma / tones, worst, chroma / tones, edges, first / tones, outside, luma_unknown / tones,
          chroma_unknown / tones, outside_unknown);
      std::fflush(stdout);
    }
  }
}

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
  std::string folder;
  std::string sheet;
  std::string scenes;
  std::string beside;
  std::string part;
  bool dim = false;
  bool ways = false;
  uint64_t seed = 0;
  size_t only = 0;  // 1 to 10; 0: all tones
  Look look{0.8F};
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
    PrintWays(portrait, look, only, part, folder);
    return 0;
  }
  if (!beside.empty()) {
    PrintBeside(portrait, beside == "held", seed, look, only, part, folder);
    return 0;
  }
  if (!scenes.empty()) {
    PrintScenes(portrait, Scenes(scenes == "held", seed), look, only, part);
    return 0;
  }
  std::vector<cv::Mat> pairs;
  std::printf("tone  face  small: luma chroma   large: luma chroma   edges  texture(.3)  outside\n");
  for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
    if (only != 0 && tone + 1 != only) continue;
    const Figures figures = Measure(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[tone]), Plain(dim), look);
    std::printf("%4zu  %2d/3        %5.2f  %5.2f         %5.2f  %5.2f     %5.2f   %5.2f        %5.2f\n", tone + 1,
                figures.found, figures.left[0].luma, figures.left[0].chroma, figures.left[1].luma,
                figures.left[1].chroma, figures.edges, figures.texture, figures.outside);
    std::fflush(stdout);
    if (!folder.empty()) cv::imwrite(folder + "/tone" + std::to_string(tone + 1) + ".png", PairOf(figures, {200, 230}));
    pairs.push_back(PairOf(figures, {120, 138}));
  }
  if (!sheet.empty() && !cv::imwrite(sheet, Sheet(pairs, 5), {cv::IMWRITE_JPEG_QUALITY, 88})) return 1;
  return 0;
}
