// What each of ten tones shows in one light, or in many before many backdrops.
#include <algorithm>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "skin_measures.h"
#include "skin_scenes.h"
#include "skin_tables.h"

namespace skin_bench {

namespace {

constexpr float kSpotSizes[] = {0.035F, 0.07F};  // distances between the eyes

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

}  // namespace

bool PrintTones(const cv::Mat &portrait, bool dim, const Look &look, size_t only, const std::string &folder,
                const std::string &sheet) {
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
  return sheet.empty() || cv::imwrite(sheet, Sheet(pairs, 5), {cv::IMWRITE_JPEG_QUALITY, 88});
}

void PrintScenes(const cv::Mat &portrait, bool second_half, uint64_t seed, const Look &look, size_t only,
                 const std::string &part) {
  std::printf("%-20s  faces  left: luma  worst/best  chroma  edges  texture  outside (worst)\n", "scene");
  for (const Scene &scene : Scenes(second_half, seed)) {
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

}  // namespace skin_bench
