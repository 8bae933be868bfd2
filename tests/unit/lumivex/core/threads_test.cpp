// Frames that several processors work on, and frames that take too long.
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 358;
constexpr int kHeight = 322;  // five bands and a rest

class Threads : public WithScriptedRunner {
 protected:
  Threads() : former_(cv::getNumThreads()) {
    cv::setNumThreads(8);  // also where there are fewer processors
    Script().faces = {{{180, 130}, 60}};
  }
  ~Threads() override { cv::setNumThreads(former_); }

  // Everything that works on rows.
  static std::shared_ptr<LX::LumivexSync> Everything(const std::string &threads) {
    const auto engine = MakeEngine(kWidth, kHeight);
    engine->updateTesseraParams(R"({"threads":)" + threads + "}");
    for (const lumivex::BeautyTypeInfo &info : lumivex::kBeautyTypes)
      engine->setBeautyIntensityWithType(info.type, 0.6f);
    for (const lumivex::DeformModeInfo &info : lumivex::kDeformModes)
      engine->setDeformIntensityWithMode(info.mode, 0.5f);
    std::vector<LXMakeupInfo> makeup;
    for (const lumivex::MakeupPartInfo &part : lumivex::kMakeupParts) {
      LXMakeupInfo layer{};
      std::strncpy(layer.resourceDir, "color:b02040", sizeof(layer.resourceDir) - 1);
      std::strncpy(layer.key, std::string(part.name).c_str(), sizeof(layer.key) - 1);
      layer.intensity = 0.7f;
      makeup.push_back(layer);
    }
    engine->setMakeupInfo(makeup);
    SetLookup(*engine, std::string(LUMIVEX_DATA_DIR) + "/lookups/nuan.cube");
    engine->setMediaResource(Media());
    return engine;
  }

  static Picture Frame() {
    Picture picture(kWidth, kHeight, kSkin, 5);
    picture.FillLuma([](int x, int y) { return 90 + x / 5 + Noise(x, y, 12); });
    picture.FillChroma([](int x, int y) { return std::pair<int, int>(110 + Noise(x, y, 3), 150 + Noise(y, x, 3)); });
    return picture;
  }

 private:
  static LXMediaResource Media() {
    cv::Mat picture(90, 120, CV_8UC4);
    for (int y = 0; y < picture.rows; ++y) {
      for (int x = 0; x < picture.cols; ++x) picture.at<cv::Vec4b>(y, x) = cv::Vec4b(2 * x, 2 * y, 200, (x * y) % 256);
    }
    const std::string file = OwnFolder() + "/media.png";
    cv::imwrite(file, picture);
    LXMediaResource media{};
    media.type = lumivex::kMediaPicture;
    std::strncpy(media.mediaPath, file.c_str(), sizeof(media.mediaPath) - 1);
    return media;
  }

  const int former_;
};

TEST_F(Threads, OfAnyNumberGiveTheSameBytes) {
  const auto after = [](const std::string &threads) {
    const auto engine = Everything(threads);
    Picture picture = Frame();
    for (int i = 0; i < 2; ++i) {
      picture = Frame();
      Process(*engine, picture);
    }
    return picture;
  };
  const Picture expected = after("1");
  EXPECT_FALSE(expected == Frame());
  for (const char *threads : {"2", "3", "8"}) EXPECT_TRUE(after(threads) == expected) << threads;
}

TEST_F(Threads, AreNoParameterOfTheRunner) {
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.5f);
  engine->updateTesseraParams(R"({"threads":2,"max_face_num":2})");
  Picture picture = Frame();
  Process(*engine, picture);
  EXPECT_EQ(Script().params.count("threads"), 0u);
  EXPECT_EQ(Script().params["max_face_num"], "2");
}

// ---- Quality ----

nlohmann::json QualityAfter(bool await) {
  const auto engine = MakeEngine(192, 108);
  lumivex_set_frames_await_loads(await);
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.5f);
  Picture picture(192, 108, kSkin);
  for (uint64_t i = 1; i <= 80; ++i) {
    auto frame = picture.Frame();
    frame->timestamp = 60'000 * i;  // no engine is so quick
    engine->processFrameData(std::move(frame));
  }
  return nlohmann::json::parse(engine->getStats())["quality"];
}

TEST_F(Threads, QualityStepsDownWhereFramesComeTooFast) {
  const nlohmann::json quality = QualityAfter(false);
  EXPECT_EQ(quality["step"], 2);
  EXPECT_GT(quality["lowered_frames"].get<int>(), 0);
}

TEST_F(Threads, QualityIsWholeWhereNothingMayDependOnTheMachine) {
  const nlohmann::json quality = QualityAfter(true);
  EXPECT_EQ(quality["step"], 0);
  EXPECT_EQ(quality["lowered_frames"], 0);
}

}  // namespace
}  // namespace lumivex_test
