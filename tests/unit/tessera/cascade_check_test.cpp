#include "vision/cascade_check.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <opencv2/core.hpp>
#include <ostream>
#include <stdexcept>
#include <string>

#include "vision/cascade_files.h"

namespace {

std::string TextOf(const char *name) {
  std::ifstream file(tessera::FindCascade(name, "", {}), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The text with the first `from` behind `after` replaced. Fails the test where it is not there.
std::string Changed(std::string text, const std::string &after, const std::string &from, const std::string &to) {
  const size_t start = text.find(after);
  const size_t at = start == std::string::npos ? start : text.find(from, start);
  if (at == std::string::npos) {
    ADD_FAILURE() << "no '" << from << "' behind '" << after << "'";
    return text;
  }
  return text.replace(at, from.size(), to);
}

// What is said of it; empty: it is sound.
std::string FaultOf(const std::string &text) {
  try {
    tessera::RequireFlatXml(text);
    const cv::FileStorage storage(text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
    tessera::RequireSoundCascade(storage.getFirstTopLevelNode());
    return {};
  } catch (const std::exception &error) {
    return error.what();
  }
}

TEST(CascadeCheck, OwnCascadesAreSound) {
  for (const char *name : {tessera::kFaceCascade, tessera::kEyeCascade, tessera::kQuickCascade})
    EXPECT_EQ(FaultOf(TextOf(name)), "") << name;
}

struct Damage {
  const char *name;
  const char *cascade;
  const char *after;
  const char *from;
  const char *to;
  const char *fault;
};

std::ostream &operator<<(std::ostream &out, const Damage &damage) {
  return out << damage.name;
}

class DamagedCascade : public testing::TestWithParam<Damage> {};

TEST_P(DamagedCascade, IsRefused) {
  const Damage &damage = GetParam();
  const std::string damaged = Changed(TextOf(damage.cascade), damage.after, damage.from, damage.to);
  EXPECT_NE(FaultOf(damaged).find(damage.fault), std::string::npos) << FaultOf(damaged);
}

constexpr const char *kHaar = tessera::kFaceCascade;
constexpr const char *kLbp = tessera::kQuickCascade;
INSTANTIATE_TEST_SUITE_P(
    Cascade, DamagedCascade,
    testing::Values(
        Damage{"Window", kHaar, "<featureType>", "<width>20", "<width>100000", "no size"},
        Damage{"WindowsText", kHaar, "<featureType>", "<width>20", "<width>wide", "no size"},
        Damage{"Kind", kHaar, "<cascade", "HAAR", "HOG", "another kind"},
        Damage{"Categories", kLbp, "<featureParams>", "256", "32", "categories"},
        Damage{"ManyCategories", kLbp, "<featureParams>", "256", "100000", "categories"},
        Damage{"LostStages", kHaar, "<stageNum>", "20", "21", "as many stages"},
        Damage{"LostTrees", kHaar, "<stages>", "<maxWeakCount>3", "<maxWeakCount>4", "as many trees"},
        Damage{"Threshold", kHaar, "<stageThreshold>", "3.5069230198860168e-01", "1e999", "threshold"},
        Damage{"CutNodes", kHaar, "<internalNodes>", " -2 1 1.3076160103082657e-02", "", "nodes and leaves"},
        Damage{"LostLeaf", kHaar, "<leafValues>", "2.6293140649795532e-01", "", "nodes and leaves"},
        Damage{"FarChild", kHaar, "<internalNodes>", "0 1 0", "0 7 0", "a child"},
        Damage{"FarLeaf", kHaar, "<internalNodes>", "-1 -2 1", "-1 -9 1", "a child"},
        Damage{"CircleOfNodes", kHaar, "<internalNodes>", "-1 -2 1", "1 -2 1", "a child"},
        Damage{"Feature", kLbp, "<internalNodes>", "0 -1 2 ", "0 -1 999999 ", "looks at a feature"},
        Damage{"NegativeFeature", kLbp, "<internalNodes>", "0 -1 2 ", "0 -1 -5 ", "looks at a feature"},
        Damage{"Blocks", kLbp, "<features>", "0 0 3 5</rect>", "0 0 20 20</rect>", "blocks"},
        Damage{"Rectangle", kHaar, "<features>", "<_>\n          2 7 ", "<_>\n          19 7 ", "rectangle"},
        Damage{"TiltedRectangle", kHaar, "<features>", "</rects>", "</rects><tilted>1</tilted>", "tilted"},
        Damage{"Weight", kHaar, "<features>", " -1.", " many", "weight"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(CascadeCheck, RefusesWhatNestsDeep) {
  std::string text = "<?xml version=\"1.0\"?>\n<opencv_storage>";
  for (int i = 0; i < 200000; ++i) text += "<a>";
  EXPECT_NE(FaultOf(text).find("nested too deep"), std::string::npos);
}

TEST(CascadeCheck, RefusesAnEndBeforeAnyBeginning) {
  const std::string text = "<?xml version=\"1.0\"?></internalNodes><a></opencv_storage>";
  EXPECT_NE(FaultOf(text).find("has not begun"), std::string::npos);
}

TEST(CascadeCheck, RefusesZeroBytes) {
  std::string text = TextOf(tessera::kQuickCascade);
  text.insert(text.find("version"), 3, '\0');
  EXPECT_NE(FaultOf(text).find("no text"), std::string::npos);
}

TEST(CascadeCheck, RefusesOtherFormatsOfOpenCv) {
  EXPECT_NE(FaultOf("{\"cascade\": {}}").find("no XML"), std::string::npos);
  EXPECT_NE(FaultOf("%YAML:1.0\n---\ncascade: 1\n").find("no XML"), std::string::npos);
}

}  // namespace
