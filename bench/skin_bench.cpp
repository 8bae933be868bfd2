// What skin smoothing does to ten tones of skin: a portrait recoloured to each, with dark and red spots on it, through
// the open engine with its own search for faces. Prints what is left of the spots, of the edges of eyes and lips, of
// fine texture, and how much the rest of the picture changes. In one light, or in many before many backgrounds.
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

// Every light before every backdrop but each light's own two, in two halves that share neither size nor tilt.
std::vector<Scene> Scenes(bool second_half) {
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
  struct Backdrop {
    const char *name;
    cv::Scalar color;
    float grain;
  };
  const Backdrop backdrops[] = {{"", cv::Scalar::all(-1), 0},        {"wood", Bgr(150, 111, 71), 0.14F},
                                {"sand", Bgr(194, 172, 134), 0.08F}, {"cardboard", Bgr(176, 141, 106), 0.05F},
                                {"wall", Bgr(214, 206, 194), 0.02F}, {"grey wall", Bgr(128, 126, 124), 0.03F}};
  // Of each light which half sees which backdrop: the two that come last in a group of three by turns.
  std::vector<Scene> scenes;
  size_t number = 0;
  for (const Light &light : lights) {
    for (const Backdrop &backdrop : backdrops) {
      const size_t place = number++;
      const bool by_turns = place % 3 == 2;
      const bool held = by_turns ? (place / 3 + place / 6) % 2 == 1 : place % 2 == 1;
      if (held != second_half) continue;
      static std::vector<std::string> names;
      names.reserve(200);
      names.push_back(std::string(light.name) + (*backdrop.name ? ", " : "") + backdrop.name);
      Scene scene{names.back().c_str(), light.light, light.side, light.noise, backdrop.color, backdrop.grain};
      scene.setup.size = {kWidth, kHeight};
      scene.setup.middle = second_half ? cv::Point2f(600, 310) : cv::Point2f(660, 290);
      scene.setup.eye_distance =
          second_half ? 84.0F + 4.0F * static_cast<float>(number % 4) : 92.0F + 4.0F * static_cast<float>(number % 5);
      scene.setup.degrees = second_half ? -5.0F : 4.0F;
      scene.setup.mirror = second_half;
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

// The picture in the scene's light, before its backdrop.
cv::Mat InScene(const PortraitPicture &picture, const Scene &scene) {
  cv::Mat lit;
  picture.bgr.convertTo(lit, CV_32FC3);
  if (scene.backdrop[0] >= 0) {
    cv::Mat mask;
    PersonMask(picture).convertTo(mask, CV_32F, 1.0 / 255);
    // Long flecks, as wood and cloth have them.
    cv::RNG random(11);
    cv::Mat flecks(picture.bgr.size(), CV_32F);
    random.fill(flecks, cv::RNG::NORMAL, 0, 1);
    cv::GaussianBlur(flecks, flecks, cv::Size(0, 0), 6, 1.2);
    flecks *= scene.grain * 4;
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
  if (scene.noise > 0) {
    cv::RNG random(3);
    cv::Mat noise(lit.size(), CV_32FC3);
    random.fill(noise, cv::RNG::NORMAL, 0, scene.noise);
    lit += noise;
  }
  cv::Mat result;
  lit.convertTo(result, CV_8UC3);
  return result;
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
  bool found = false;
  const Planes after = Through(before, look, &found);
  figures.found += found;
  for (size_t i = 0; i < 2; ++i) {
    PortraitPicture spotted = plain;
    const auto spots = vanta_test::SpotsOn(spotted, kSpotSizes[i]);
    vanta_test::AddSpots(spotted, spots);
    const Planes in = PlanesOf(InScene(spotted, scene));
    const Planes out = Through(in, look, &found);
    figures.found += found;
    const Contrast had = SpotContrast(in, before, spots);
    const Contrast has = SpotContrast(out, after, spots);
    figures.left[i] = {has.luma / had.luma, has.chroma / had.chroma};
    if (i == 0) continue;
    figures.before = Cut(in, plain);
    figures.after = Cut(out, plain);
  }
  const float e = plain.eye_distance;
  std::vector<cv::Rect> features;
  for (const size_t mark : {size_t{4}, size_t{5}}) {
    features.emplace_back(cvRound(plain.marks[mark].x - 0.28F * e), cvRound(plain.marks[mark].y - 0.14F * e),
                          cvRound(0.56F * e), cvRound(0.28F * e));
  }
  const cv::Point2f mouth = (plain.marks[7] + plain.marks[8]) * 0.5F;
  features.emplace_back(cvRound(mouth.x - 0.5F * e), cvRound(mouth.y - 0.1F * e), cvRound(e), cvRound(0.45F * e));
  figures.edges = EdgeEnergy(after.y, features) / EdgeEnergy(before.y, features);
  // Fine texture on a cheek.
  cv::RNG random(5);
  cv::Mat grain(unspotted.size(), CV_16S);
  random.fill(grain, cv::RNG::NORMAL, 0, 3);
  cv::Mat grains;
  cv::merge(std::vector<cv::Mat>{grain, grain, grain}, grains);
  cv::Mat textured;
  cv::add(unspotted, grains, textured, cv::noArray(), CV_8UC3);
  const Planes texture = PlanesOf(textured);
  const Planes kept = Through(texture, {0.3F});
  const Planes smooth3 = Through(before, {0.3F});
  const cv::Point2f cheek = vanta_test::OnFace(plain, {-0.55F, 0.55F});
  const cv::Rect place(cvRound(cheek.x) - 16, cvRound(cheek.y) - 16, 32, 32);
  cv::Mat had_texture;
  cv::Mat has_texture;
  cv::subtract(texture.y(place), before.y(place), had_texture, cv::noArray(), CV_32F);
  cv::subtract(kept.y(place), smooth3.y(place), has_texture, cv::noArray(), CV_32F);
  figures.texture = cv::norm(has_texture) / cv::norm(had_texture);
  // What is no skin: above and beside the head, and the collar.
  const std::vector<cv::Rect> places = {{0, 0, 400, 500}, {880, 0, 400, 500}, {0, 560, 500, 160}, {780, 560, 500, 160}};
  for (const cv::Rect &rect : places)
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
void PrintScenes(const cv::Mat &portrait, bool second_half, const Look &look, size_t only, const std::string &part) {
  std::printf("%-20s  faces  left: luma  worst/best  chroma  edges  texture  outside (worst)\n", "scene");
  for (const Scene &scene : Scenes(second_half)) {
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

}  // namespace

// skin_bench [--tone N] [--pictures FOLDER] [--sheet FILE] [--dim] [--scenes chosen|held [--named TEXT]]: into the
// folder goes a picture for each tone, before beside after, into the file all of them. With --dim the portrait is
// mirrored, longer, smaller, noisy and at 0.7 of its light. --scenes prints one line for each of many lights before
// many backdrops: "chosen" are those on which the engine's constants were chosen, "held" the others; with --named those
// with the text in their name alone.
int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  std::string folder;
  std::string sheet;
  std::string scenes;
  std::string part;
  bool dim = false;
  size_t only = 0;  // 1 to 10; 0: all tones
  const Look look{0.8F};
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--pictures") == 0 && i + 1 < argc) folder = argv[++i];
    if (std::strcmp(argv[i], "--sheet") == 0 && i + 1 < argc) sheet = argv[++i];
    if (std::strcmp(argv[i], "--scenes") == 0 && i + 1 < argc) scenes = argv[++i];
    if (std::strcmp(argv[i], "--named") == 0 && i + 1 < argc) part = argv[++i];
    if (std::strcmp(argv[i], "--tone") == 0 && i + 1 < argc) only = static_cast<size_t>(std::atoi(argv[++i]));
    if (std::strcmp(argv[i], "--dim") == 0) dim = true;
  }
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  if (!scenes.empty()) {
    PrintScenes(portrait, scenes == "held", look, only, part);
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
