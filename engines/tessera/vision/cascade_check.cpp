#include "vision/cascade_check.h"

#include <cmath>
#include <cstddef>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>

namespace tessera {
namespace {

constexpr int kMostDepth = 32;  // a cascade has eight levels
constexpr int kMostSide = 256;  // of the window in which it looks, pixels; those of OpenCV have 20 to 45
constexpr int kMostStages = 1000;
constexpr int kMostParts = 100000;  // features; trees of a stage; nodes of a tree
constexpr int kMostRects = 3;       // of a Haar feature
constexpr int kCategories = 256;    // that an LBP feature tells apart
constexpr size_t kNodeValues = 3;   // of a node: left, right, feature; then a threshold or which categories go left
constexpr size_t kValuesOfSubset = kCategories / 32;

void Require(bool sound, const char *fault) {
  if (!sound) throw std::runtime_error(fault);
}

cv::FileNode Part(const cv::FileNode &whole, const char *name) {
  Require(whole.isMap(), "its parts do not stand where they should");
  return whole[name];
}

bool IsNumber(const cv::FileNode &node) {
  return node.isInt() || node.isReal();
}

// As OpenCV will read it.
int Whole(const cv::FileNode &node, int least, int most, const char *fault) {
  Require(IsNumber(node), fault);
  const int value = static_cast<int>(node);
  Require(value >= least && value <= most, fault);
  return value;
}

void RequireFinite(const cv::FileNode &node, const char *fault) {
  Require(IsNumber(node) && std::isfinite(static_cast<float>(node)), fault);
}

struct Kind {
  cv::Size window;
  bool haar = false;
  int features = 0;
  size_t node_values = 0;
};

// ---- Features ----

cv::Rect ReadRect(const cv::FileNode &node, size_t values, cv::Size window) {
  constexpr char kFault[] = "a feature's rectangle is not inside its window";
  Require(node.isSeq() && node.size() == values, kFault);
  cv::FileNodeIterator value = node.begin();
  cv::Rect rect;
  rect.x = Whole(*value, 0, window.width - 1, kFault);
  rect.y = Whole(*++value, 0, window.height - 1, kFault);
  rect.width = Whole(*++value, 1, window.width - rect.x, kFault);
  rect.height = Whole(*++value, 1, window.height - rect.y, kFault);
  return rect;
}

void RequireHaarFeature(const cv::FileNode &feature, cv::Size window) {
  const cv::FileNode rects = Part(feature, "rects");
  Require(rects.isSeq() && rects.size() > 0 && rects.size() <= kMostRects, "a feature has not one to three rectangles");
  const cv::FileNode tilted = Part(feature, "tilted");
  Require(tilted.empty() || IsNumber(tilted), "a feature is neither upright nor tilted");
  for (const cv::FileNode &node : rects) {
    const cv::Rect rect = ReadRect(node, 5, window);
    RequireFinite(node[4], "a rectangle's weight is no number");
    // Turned by 45 degrees about its upper left corner it goes down on both sides.
    if (!tilted.empty() && static_cast<int>(tilted) != 0) {
      Require(rect.x >= rect.height && rect.y + rect.width + rect.height <= window.height,
              "a tilted feature is not inside its window");
    }
  }
}

// The rectangle is the first of three by three.
void RequireLbpFeature(const cv::FileNode &feature, cv::Size window) {
  const cv::Rect rect = ReadRect(Part(feature, "rect"), 4, window);
  Require(rect.x + 3 * rect.width <= window.width && rect.y + 3 * rect.height <= window.height,
          "a feature's blocks are not inside its window");
}

// ---- Trees ----

// A child is another node, further back, so that the way down ends; or a leaf: 0, -1, -2...
void RequireChild(const cv::FileNode &node, int own, int nodes) {
  constexpr char kFault[] = "a tree's node has a child that is not there";
  const int child = Whole(node, -nodes, nodes - 1, kFault);
  Require(child <= 0 || child > own, kFault);
}

void RequireTree(const cv::FileNode &tree, const Kind &kind) {
  constexpr char kFault[] = "a tree has not as many nodes and leaves as it needs";
  const cv::FileNode nodes = Part(tree, "internalNodes"), leaves = Part(tree, "leafValues");
  Require(nodes.isSeq() && leaves.isSeq() && nodes.size() > 0 && nodes.size() % kind.node_values == 0, kFault);
  const size_t count = nodes.size() / kind.node_values;
  Require(count <= kMostParts && leaves.size() == count + 1, kFault);
  cv::FileNodeIterator value = nodes.begin();
  for (int own = 0; own < static_cast<int>(count); ++own) {
    RequireChild(*value, own, static_cast<int>(count));
    RequireChild(*++value, own, static_cast<int>(count));
    Whole(*++value, 0, kind.features - 1, "a tree's node looks at a feature that is not there");
    ++value;
    for (size_t i = kNodeValues; i < kind.node_values; ++i, ++value)
      RequireFinite(*value, "a tree's node has no threshold");
  }
  for (const cv::FileNode &leaf : leaves) RequireFinite(leaf, "a tree's leaf is no number");
}

void RequireStage(const cv::FileNode &stage, const Kind &kind) {
  RequireFinite(Part(stage, "stageThreshold"), "a stage has no threshold");
  const cv::FileNode trees = Part(stage, "weakClassifiers");
  const int count = Whole(Part(stage, "maxWeakCount"), 1, kMostParts, "a stage does not say how many trees it has");
  Require(trees.isSeq() && trees.size() == static_cast<size_t>(count), "a stage has not as many trees as it says");
  for (const cv::FileNode &tree : trees) RequireTree(tree, kind);
}

Kind ReadKind(const cv::FileNode &root) {
  Kind kind;
  const cv::FileNode type = Part(root, "featureType"), stage_type = Part(root, "stageType");
  Require(type.isString() && stage_type.isString() && static_cast<std::string>(stage_type) == "BOOST",
          "it does not say what kind of cascade it is");
  kind.haar = static_cast<std::string>(type) == "HAAR";
  Require(kind.haar || static_cast<std::string>(type) == "LBP", "it has features of another kind");
  constexpr char kSize[] = "its window has no size that it can have";
  kind.window = {Whole(Part(root, "width"), 3, kMostSide, kSize), Whole(Part(root, "height"), 3, kMostSide, kSize)};
  const cv::FileNode parameters = Part(root, "featureParams");
  const int categories = kind.haar ? 0 : kCategories;
  Whole(Part(parameters, "maxCatCount"), categories, categories, "it has not as many categories as its features");
  kind.node_values = kNodeValues + (kind.haar ? 1 : kValuesOfSubset);
  return kind;
}

}  // namespace

void RequireFlatXml(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  Require(text.starts_with("<?xml"), "it is no XML");
  Require(text.find('\0') == std::string_view::npos, "it is no text");  // OpenCV's parser takes it for its end
  int depth = 0;  // OpenCV's parser reads nothing where the first tag is an end
  for (size_t at = text.find('<'); at < text.size(); at = text.find('<', at + 1)) {
    if (text.substr(at).starts_with("<!--")) {
      at = text.find("-->", at);
      if (at == std::string_view::npos) break;
    } else if (text.substr(at).starts_with("</")) {
      Require(--depth >= 0, "a part ends that has not begun");
    } else if (!text.substr(at).starts_with("<?")) {
      Require(++depth <= kMostDepth, "its parts are nested too deep");
    }
  }
  // OpenCV's parser reads on where a text ends inside of a tag.
  Require(text.substr(0, text.find_last_not_of(" \t\r\n") + 1).ends_with("</opencv_storage>"), "its end is missing");
}

void RequireSoundCascade(const cv::FileNode &root) {
  Kind kind = ReadKind(root);
  const cv::FileNode features = Part(root, "features"), stages = Part(root, "stages");
  Require(features.isSeq() && features.size() > 0 && features.size() <= kMostParts, "it has no features");
  kind.features = static_cast<int>(features.size());
  for (const cv::FileNode &feature : features)
    kind.haar ? RequireHaarFeature(feature, kind.window) : RequireLbpFeature(feature, kind.window);
  const int count = Whole(Part(root, "stageNum"), 1, kMostStages, "it does not say how many stages it has");
  Require(stages.isSeq() && stages.size() == static_cast<size_t>(count), "it has not as many stages as it says");
  for (const cv::FileNode &stage : stages) RequireStage(stage, kind);
}

}  // namespace tessera
