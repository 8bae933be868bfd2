#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

using Map = std::function<void(double &red, double &green, double &blue)>;

void Identity(double &, double &, double &) {}
void SwapRedAndBlue(double &red, double &, double &blue) {
  std::swap(red, blue);
}
void Halve(double &red, double &green, double &blue) {
  red /= 2;
  green /= 2;
  blue /= 2;
}

std::string CubeText(int side, const Map &map, const std::string &head = "", double low = 0.0, double high = 1.0) {
  std::string text = "# a comment\nTITLE \"test\"\n" + head + "LUT_3D_SIZE " + std::to_string(side) + "\n\n";
  for (int blue = 0; blue < side; ++blue) {
    for (int green = 0; green < side; ++green) {
      for (int red = 0; red < side; ++red) {
        const auto at = [&](int index) { return low + (high - low) * index / (side - 1); };
        double rgb[3] = {at(red), at(green), at(blue)};
        map(rgb[0], rgb[1], rgb[2]);
        char line[80];
        std::snprintf(line, sizeof(line), "%.6f %.6f %.6f\n", rgb[0], rgb[1], rgb[2]);
        text += line;
      }
    }
  }
  return text;
}

std::string PictureTable(const std::string &name, int tiles, const Map &map, int depth = CV_8U) {
  const int side = tiles * tiles;
  const double white = depth == CV_8U ? 255.0 : 65535.0;
  cv::Mat picture(tiles * side, tiles * side, CV_MAKETYPE(depth, 3));
  for (int blue = 0; blue < side; ++blue) {
    for (int green = 0; green < side; ++green) {
      for (int red = 0; red < side; ++red) {
        double rgb[3] = {red / (side - 1.0), green / (side - 1.0), blue / (side - 1.0)};
        map(rgb[0], rgb[1], rgb[2]);
        const int y = blue / tiles * side + green;
        const int x = blue % tiles * side + red;
        for (int i = 0; i < 3; ++i) {
          const double value = std::round(rgb[2 - i] * white);
          if (depth == CV_8U) {
            picture.at<cv::Vec3b>(y, x)[i] = static_cast<uint8_t>(value);
          } else {
            picture.at<cv::Vec3w>(y, x)[i] = static_cast<uint16_t>(value);
          }
        }
      }
    }
  }
  const std::string path = OwnFolder() + "/" + name;
  EXPECT_TRUE(cv::imwrite(path, picture));
  return path;
}

// Codes of every kind, also such as no RGB colour has.
Picture AllCodes() {
  Picture picture(256, 256, kGrey);
  for (int y = 0; y < 256; y += 2) {
    for (int x = 0; x < 256; x += 2) {
      picture.FillRect(x, y, x + 2, y + 2, {(x * 7 + y * 3) % 256, x, y});
    }
  }
  return picture;
}

Picture Looked(const Picture &original, const std::string &path, float intensity = 1.0f, int color_code = 2,
               int32_t type = lumivex::kLookupByFileName) {
  const auto engine = MakeEngine();
  SetLookup(*engine, path, intensity, type);
  Picture picture = original;
  Process(*engine, picture, color_code);
  return picture;
}

int MostDifference(const Picture &a, const Picture &b) {
  int most = 0;
  for (int y = 0; y < a.Height(); ++y) {
    for (int x = 0; x < a.Width(); ++x) {
      most = std::max({most, std::abs(a.Luma(x, y) - b.Luma(x, y)), std::abs(a.U(x, y) - b.U(x, y)),
                       std::abs(a.V(x, y) - b.V(x, y))});
    }
  }
  return most;
}

// BT.709, partial range.
Codes CodesOf(double red, double green, double blue) {
  const double luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  return {static_cast<int>(std::lround(16 + 219 * luma)),
          static_cast<int>(std::lround(128 + 224 * (blue - luma) / 1.8556)),
          static_cast<int>(std::lround(128 + 224 * (red - luma) / 1.5748))};
}

TEST(CubeFile, ThatChangesNothingLeavesThePicture) {
  const Picture before = AllCodes();
  for (const int side : {2, 17, 33}) {
    const std::string path = WriteFile("identity.cube", CubeText(side, Identity));
    for (const int color_code : {0, 1, 2, 3, 5}) {
      EXPECT_LE(MostDifference(Looked(before, path, 1.0f, color_code), before), 1) << side << ' ' << color_code;
    }
  }
}

TEST(CubeFile, MapsColoursAsWritten) {
  const std::string path = WriteFile("swap.cube", CubeText(9, SwapRedAndBlue));
  for (const auto &[red, green, blue] : {std::tuple(0.8, 0.5, 0.3), {0.2, 0.6, 0.7}, {0.5, 0.5, 0.5}}) {
    const Picture after = Looked(Picture(16, 16, CodesOf(red, green, blue)), path);
    const Codes wanted = CodesOf(blue, green, red);
    EXPECT_NEAR(after.Luma(8, 8), wanted.y, 2);
    EXPECT_NEAR(after.U(8, 8), wanted.u, 2);
    EXPECT_NEAR(after.V(8, 8), wanted.v, 2);
  }
}

TEST(CubeFile, TellsItsOwnDimension) {
  const std::string path = WriteFile("halve.cube", CubeText(5, Halve));
  LXLookupInfo info{};
  std::snprintf(info.path, sizeof(info.path), "%s", path.c_str());
  info.intensity = 1.0f;
  info.dimension = 64;
  const auto engine = MakeEngine();
  engine->setLookupInfo(info);
  Picture picture(16, 16, CodesOf(0.6, 0.6, 0.6));
  Process(*engine, picture, 2);
  EXPECT_NEAR(picture.Luma(8, 8), CodesOf(0.3, 0.3, 0.3).y, 1);
}

TEST(CubeFile, MayHaveADomainOfItsOwn) {
  const std::string path =
      WriteFile("domain.cube", CubeText(9, Identity, "DOMAIN_MIN -1 -1 -1\nDOMAIN_MAX 3.0 3.0 3.0\n", -1.0, 3.0));
  const Picture before = AllCodes();
  EXPECT_LE(MostDifference(Looked(before, path), before), 1);
}

TEST(CubeFile, IsReadWithTheTypeInsteadOfTheExtension) {
  const std::string path = WriteFile("halve.txt", CubeText(5, Halve));
  const Picture before(16, 16, CodesOf(0.6, 0.6, 0.6));
  EXPECT_LT(Looked(before, path, 1.0f, 2, lumivex::kLookupCube).Luma(8, 8), before.Luma(8, 8) - 40);
}

TEST(CubeFile, MayHaveLinesOfAnotherSystem) {
  std::string text = CubeText(3, Halve);
  for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) text.insert(at, "\r");
  const Picture before(16, 16, CodesOf(0.6, 0.6, 0.6));
  EXPECT_LT(Looked(before, WriteFile("crlf.cube", text)).Luma(8, 8), before.Luma(8, 8) - 40);
}

struct BrokenFile {
  const char *text;
  const char *reason;
};

class BrokenCube : public ::testing::TestWithParam<BrokenFile> {};

TEST_P(BrokenCube, IsOneLogLineAndThePictureGoesOn) {
  const std::string path = WriteFile("broken.cube", GetParam().text);
  const Picture before = AllCodes();
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  SetLookup(*engine, path);
  const auto lines = log.LinesWith("[lumivex]");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].text.find(path), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find(GetParam().reason), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find("; "), std::string::npos) << "no remedy: " << lines[0].text;
  Picture picture = before;
  Process(*engine, picture, 2);
  EXPECT_TRUE(picture == before);
  EXPECT_EQ(log.LinesWith("[lumivex]").size(), 1u) << "frames add no lines";
}

INSTANTIATE_TEST_SUITE_P(
    Files, BrokenCube,
    ::testing::Values(BrokenFile{"", "LUT_3D_SIZE is missing"},
                      BrokenFile{"LUT_3D_SIZE 1\n0 0 0\n", "line 1: LUT_3D_SIZE is not a number from 2 to 256"},
                      BrokenFile{"LUT_3D_SIZE 1000000\n", "LUT_3D_SIZE is not a number from 2 to 256"},
                      BrokenFile{"LUT_3D_SIZE two\n", "LUT_3D_SIZE is not a number from 2 to 256"},
                      BrokenFile{"LUT_3D_SIZE 2\nLUT_3D_SIZE 2\n", "line 2: LUT_3D_SIZE stands there twice"},
                      BrokenFile{"LUT_3D_SIZE 2\n0 0 0\n1 1 1\n", "it holds 2 of 8 entries"},
                      BrokenFile{"LUT_3D_SIZE 2\n0 0\n", "line 2: an entry is not three numbers"},
                      BrokenFile{"LUT_3D_SIZE 2\n0 0 0 0\n", "line 2: an entry is not three numbers"},
                      BrokenFile{"LUT_3D_SIZE 2\n0 0 nan\n", "line 2: an entry is not three numbers"},
                      BrokenFile{"0 0 0\n", "line 1: entries come before LUT_3D_SIZE"},
                      BrokenFile{"LUT_1D_SIZE 4\n", "line 1: it holds a 1D table"},
                      BrokenFile{"LUT_3D_SIZE 2\nDOMAIN_MIN 0\n", "line 2: a domain is not three numbers"},
                      BrokenFile{"LUT_3D_SIZE 2\nLUT_3D_INPUT_RANGE 0 inf\n", "line 2: an input range is not two"},
                      BrokenFile{"LUT_3D_SIZE 2\nLUT_3D_INPUT_RANGE nan 1\n", "line 2: an input range is not two"},
                      BrokenFile{"LUT_3D_SIZE 256\n", "it holds 0 of 16777216 entries"},
                      BrokenFile{"\x89PNG\r\n\x1a\n", "line 1: "},
                      BrokenFile{"NONSENSE 1\n", "line 1: unknown keyword"}));

TEST(CubeFile, WithMoreEntriesThanItsSizeTellsIsRefused) {
  const std::string path = WriteFile("long.cube", CubeText(2, Halve) + "0 0 0\n");
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, path) == before);
  EXPECT_TRUE(log.HasText("more entries than its size tells"));
}

TEST(CubeFile, WithAnEmptyDomainIsRefused) {
  const std::string path = WriteFile("flat.cube", CubeText(2, Halve, "DOMAIN_MAX 0 0 0\n"));
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, path) == before);
  EXPECT_TRUE(log.HasText("its domain is empty"));
}

TEST(PictureTable, ThatChangesNothingLeavesThePicture) {
  const Picture before = AllCodes();
  EXPECT_LE(MostDifference(Looked(before, PictureTable("64.png", 8, Identity)), before), 2);
  EXPECT_LE(MostDifference(Looked(before, PictureTable("16.png", 4, Identity)), before), 2);
  EXPECT_LE(MostDifference(Looked(before, PictureTable("deep.png", 4, Identity, CV_16U)), before), 1);
}

TEST(PictureTable, MapsColoursAsDrawn) {
  const Picture after = Looked(Picture(16, 16, CodesOf(0.8, 0.5, 0.3)), PictureTable("swap.png", 8, SwapRedAndBlue));
  const Codes wanted = CodesOf(0.3, 0.5, 0.8);
  EXPECT_NEAR(after.Luma(8, 8), wanted.y, 2);
  EXPECT_NEAR(after.U(8, 8), wanted.u, 2);
  EXPECT_NEAR(after.V(8, 8), wanted.v, 2);
}

TEST(PictureTable, OfAnImpossibleSizeIsOneLogLine) {
  const std::string path = OwnFolder() + "/odd.png";
  ASSERT_TRUE(cv::imwrite(path, cv::Mat(100, 100, CV_8UC3, cv::Scalar(0, 0, 0))));
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, path) == before);
  EXPECT_EQ(log.CountWith("a picture of 100 by 100 pixels holds no table"), 1u);
}

TEST(PictureTable, ThatTellsOfAHugeSizeIsRefusedUndecoded) {
  // The signature, and a header that tells of 9000 by 9000 pixels.
  const std::string path =
      WriteFile("huge.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x23\x28\0\0\x23\x28\x08\x02\0\0\0", 29));
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, path) == before);
  EXPECT_EQ(log.CountWith("a picture of 9000 by 9000 pixels holds no table"), 1u);
}

TEST(PictureTable, ThatIsNoPictureIsOneLogLine) {
  const std::string path = WriteFile("text.png", "no picture");
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, path) == before);
  EXPECT_EQ(log.CountWith(path), 1u);
}

TEST(Lookup, OfTheModuleIsFoundByItsName) {
  int count = 0;
  for (const auto &entry : std::filesystem::directory_iterator(std::string(LUMIVEX_DATA_DIR) + "/lookups")) {
    const vanta_test::LogCapture log;
    const Picture before = AllCodes();
    EXPECT_FALSE(Looked(before, entry.path().filename().string()) == before) << entry.path();
    EXPECT_FALSE(log.HasText("lookup table")) << entry.path();
    ++count;
  }
  EXPECT_GE(count, 1);
}

TEST(Lookup, ThatDoesNotExistIsOneLogLine) {
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, "/nowhere/at all.cube") == before);
  EXPECT_EQ(log.CountWith("/nowhere/at all.cube: no such file; "), 1u);
}

TEST(Lookup, ThatIsAFolderIsOneLogLine) {
  const vanta_test::LogCapture log;
  const Picture before = AllCodes();
  EXPECT_TRUE(Looked(before, OwnFolder()) == before);
  EXPECT_EQ(log.CountWith("no such file"), 1u);
}

TEST(Lookup, ThatIsBrokenLeavesTheFormerOneAsItWas) {
  const auto engine = MakeEngine();
  SetLookup(*engine, WriteFile("halve.cube", CubeText(3, Halve)));
  Picture former = AllCodes();
  Process(*engine, former);
  SetLookup(*engine, "/nowhere/at all.cube", 0.5f);
  Picture picture = AllCodes();
  Process(*engine, picture);
  EXPECT_TRUE(picture == former);
}

TEST(Lookup, WithAnEmptyPathIsOff) {
  const auto engine = MakeEngine();
  SetLookup(*engine, WriteFile("halve.cube", CubeText(3, Halve)));
  const vanta_test::LogCapture log;
  SetLookup(*engine, "");
  EXPECT_TRUE(log.LinesWith("[lumivex]").empty());
  const Picture before = AllCodes();
  Picture picture = before;
  Process(*engine, picture);
  EXPECT_TRUE(picture == before);
}

TEST(Lookup, IntensityMixesWithTheOriginal) {
  const std::string path = WriteFile("halve.cube", CubeText(5, Halve));
  const Picture before(16, 16, CodesOf(0.8, 0.8, 0.8));
  EXPECT_NEAR(Looked(before, path, 0.5f).Luma(8, 8), CodesOf(0.6, 0.6, 0.6).y, 1);
  EXPECT_TRUE(Looked(before, path, 0.0f) == before);
  EXPECT_TRUE(Looked(before, path, 5.0f) == Looked(before, path, 1.0f)) << "clamped to 1";
}

TEST(Lookup, IntensityCanBeSetAlone) {
  const auto engine = MakeEngine();
  SetLookup(*engine, WriteFile("halve.cube", CubeText(5, Halve)), 1.0f);
  engine->setLookupIntensity(0.25f);
  Picture picture(16, 16, CodesOf(0.8, 0.8, 0.8));
  Process(*engine, picture, 2);
  EXPECT_NEAR(picture.Luma(8, 8), CodesOf(0.7, 0.7, 0.7).y, 1);
}

TEST(Lookup, WorksOnOddSizes) {
  const std::string path = WriteFile("halve.cube", CubeText(5, Halve));
  const Codes codes = CodesOf(0.8, 0.8, 0.8);
  const int wanted = CodesOf(0.4, 0.4, 0.4).y;
  for (const auto &[width, height] : {std::pair(1, 1), {1, 4}, {4, 1}, {7, 5}}) {
    const Picture after = Looked(Picture(width, height, codes, 5), path);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) EXPECT_NEAR(after.Luma(x, y), wanted, 1) << x << ',' << y;
    }
    EXPECT_TRUE(after.MarginsUntouched());
  }
}

// Pixels are looked up several at a time, the rest of a row one by one.
TEST(Lookup, GivesAPixelTheSameInAPictureOfAnyWidth) {
  const std::string path = WriteFile("swap.cube", CubeText(5, SwapRedAndBlue));
  const auto cut = [](int width) {
    Picture picture(width, 6, kGrey);
    picture.FillLuma([](int x, int y) { return 60 + (x * 37 + y * 91) % 120; });
    picture.FillChroma(
        [](int x, int y) { return std::pair<int, int>(90 + (x * 13 + y) % 60, 100 + (x * 5 + y) % 50); });
    return picture;
  };
  const Picture wide = Looked(cut(300), path);
  for (const int width : {2, 6, 8, 14, 20, 126, 128, 130, 134, 142, 270}) {
    const Picture after = Looked(cut(width), path);
    for (int y = 0; y < after.Height(); ++y) {
      for (int x = 0; x < width; ++x) {
        ASSERT_EQ(after.Luma(x, y), wide.Luma(x, y)) << width << ": " << x << ',' << y;
        ASSERT_EQ(after.U(x, y), wide.U(x, y)) << width << ": " << x << ',' << y;
        ASSERT_EQ(after.V(x, y), wide.V(x, y)) << width << ": " << x << ',' << y;
      }
    }
  }
}

}  // namespace
}  // namespace lumivex_test
