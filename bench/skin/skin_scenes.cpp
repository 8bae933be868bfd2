#include "skin_scenes.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "engine_pictures.h"
#include "fixtures/portrait/expressions.h"

namespace skin_bench {

namespace {

// Other noise and another backdrop, and the person somewhere else, nearer or farther, and tilted otherwise.
void Redraw(Scene &scene, cv::RNG &random) {
  scene.seed = random.next();
  scene.noise_seed = random.next();
  scene.setup.middle.x += random.uniform(-30.0F, 30.0F);
  scene.setup.middle.y += random.uniform(-20.0F, 20.0F);
  scene.setup.eye_distance *= random.uniform(0.85F, 1.12F);
  scene.setup.degrees += random.uniform(-4.0F, 4.0F);
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

}  // namespace

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

cv::Mat WithNoise(const cv::Mat &lit, float deviation, uint64_t seed) {
  cv::Mat noise = cv::Mat::zeros(lit.size(), CV_32FC3);
  if (deviation > 0) cv::RNG(seed).fill(noise, cv::RNG::NORMAL, 0, deviation);
  cv::Mat codes;
  cv::add(lit, noise, codes, cv::noArray(), CV_8UC3);
  return codes;
}

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

}  // namespace skin_bench
