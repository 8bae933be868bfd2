// The plot: what gnuplot is told, and that it draws it.
#include "plot/plot_script.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/failure.h"
#include "plot/gnuplot.h"

namespace vanta_test {
namespace {

namespace fs = std::filesystem;
using vanta_run::PendingFile;
using vanta_run::PlotScript;
using vanta_run::RunFigures;

RunFigures Figures() {
  RunFigures figures;
  figures.seconds = 3;
  figures.followed.push_back({0.3, 1, 33.5, false, R"({"beauty_ms":12.25})"});
  figures.followed.push_back({1.3, 2, 66.5, false, ""});
  figures.by_second.push_back({0, 1, {30, 30, 0, 0}});
  figures.by_second.push_back({1, 2, {30, 26, 2, 1}});
  return figures;
}

TEST(PlotScript, HoldsDelayAndEngineTimeOfEachFollowedFrame) {
  EXPECT_NE(PlotScript(Figures()).find("$frames << EOD\n0.300 33.500 12.250\n1.300 66.500 NaN\nEOD\n"),
            std::string::npos);
}

TEST(PlotScript, HoldsJanksOfEachSecond) {
  EXPECT_NE(PlotScript(Figures()).find("$seconds << EOD\n0.500 1.000 0 0\n1.500 1.000 2 1\nEOD\n"), std::string::npos);
}

// As high as one second's would be, over its whole time: the eye sees no second of hundreds.
TEST(PlotScript, RecordOfSeveralSecondsIsABoxOfTheirWidthAndMeanHeight) {
  RunFigures figures;
  figures.by_second.push_back({2, 7, {150, 50, 10, 5}});
  EXPECT_NE(PlotScript(figures).find("$seconds << EOD\n4.500 5.000 2 1\nEOD\n"), std::string::npos)
      << PlotScript(figures);
}

// Owns: a folder.
class Plot : public testing::Test {
 protected:
  Plot() {
    std::string pattern = (fs::temp_directory_path() / "vanta_plot_XXXXXX").string();
    folder_ = mkdtemp(pattern.data()) ? pattern : "/nowhere";
  }
  ~Plot() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  std::string Drawn(const std::string &script) const {
    const std::string path = (folder_ / "it's a \"plot\".png").string();
    PendingFile file(path);
    vanta_run::DrawPlot(script, file);
    file.Commit();
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  fs::path folder_;
};

// Signature, then width and height behind the first chunk's head.
void ExpectWholePicture(const std::string &png) {
  ASSERT_GT(png.size(), 2000u);
  EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_EQ(png.substr(16, 8), std::string("\0\0\3\xe8\0\0\2\x6c", 8));
  EXPECT_EQ(png.substr(png.size() - 8, 4), "IEND");
}

TEST_F(Plot, IsAPictureOfItsSize) {
  ExpectWholePicture(Drawn(PlotScript(Figures())));
}

TEST_F(Plot, OfARunWithoutFiguresIsAPictureToo) {
  ExpectWholePicture(Drawn(PlotScript(RunFigures())));
}

TEST_F(Plot, ScriptThatGnuplotRefusesIsAnOutputError) {
  try {
    Drawn("plot nonsense(\n");
    FAIL() << "nonsense was drawn";
  } catch (const vanta_run::Failure &failure) {
    EXPECT_EQ(failure.code(), vanta_run::kExitOutput);
  }
  EXPECT_TRUE(fs::is_empty(folder_));
}

}  // namespace
}  // namespace vanta_test
