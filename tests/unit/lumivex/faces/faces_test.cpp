// The vision step: when it runs, what the runner sees, and what the host is told.
#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"
#include "lumivex/lumivex_control.h"
#include "lumivex/lumivex_values.h"
#include "vanta_filter/landmark/tessera_api.h"

namespace lumivex_test {
namespace {

using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;
using tessera::Any;

class FaceFinder : public WithScriptedRunner {};
class VisionParams : public WithScriptedRunner {};
class VisionStats : public WithScriptedRunner {};

// The last landmarks that an engine gave its host.
struct Host {
  int calls = 0;
  std::shared_ptr<CpuData> data;

  void Listen(LX::LumivexSync &engine) {
    engine.setTesseraCpuDataFunc([this](const std::shared_ptr<CpuData> &given) {
      ++calls;
      data = given;
    });
  }
  tessera::TesseraOut &Landmarks() const {
    return *static_cast<tessera::TesseraOut *>(data->at("landmarks")->payload.get());
  }
  std::vector<Any> Faces() const {
    Any root = *Landmarks().getAny();
    Any result = root.asMap().get("landmarks_out", Any());
    Any faces = result.asMap().get("faces", Any());
    return faces.asVec();
  }
  // In the runner's order.
  std::vector<tessera::TesseraPoint> Points(size_t face) const {
    Any entry = Faces().at(face);
    const Any list = entry.asMap().get("pos", Any());
    return *static_cast<const std::vector<tessera::TesseraPoint> *>(list.payload.get());
  }
  float Box(size_t face, const char *side) const {
    Any entry = Faces().at(face);
    Any box = entry.asMap().get("range_expand", Any());
    return box.asMap().get(side, Any(0)).toFloat32();
  }
};

std::shared_ptr<LX::FrameData> ProcessAt(LX::LumivexSync &engine, Picture &picture, uint64_t timestamp,
                                         int32_t rotation = 0, bool flip = false) {
  auto frame = picture.Frame();
  frame->timestamp = timestamp;
  frame->rotation = rotation;
  frame->flip = flip;
  return engine.processFrameData(frame);
}

TEST_F(FaceFinder, DoesNotRunWhenNothingNeedsFaces) {
  const auto engine = MakeEngine(320, 240);
  engine->setBeautyIntensityWithType(lumivex::kBeautySharpen, 0.5f);
  Picture picture(320, 240, kSkin);
  Process(*engine, picture);
  EXPECT_EQ(Script().created, 0);
  EXPECT_EQ(Script().runs, 0);
}

TEST_F(FaceFinder, GivesTheHostTheRunnersResultAsAnObject) {
  Script().faces = {{{160, 100}, 60}};
  const auto engine = MakeEngine(320, 240);
  Host host;
  host.Listen(*engine);
  Picture picture(320, 240, kGrey);
  EXPECT_GT(Process(*engine, picture)->tessera_ms, 0.0f);
  ASSERT_EQ(host.calls, 1);
  ASSERT_EQ(host.data->size(), 1u);
  const Any &object = *host.data->at("landmarks");
  EXPECT_EQ(object.tag, Any::kObject);
  EXPECT_EQ(object.object_name, "tessera::TesseraOut");
  ASSERT_EQ(host.Faces().size(), 1u);
  EXPECT_EQ(host.Points(0).size(), 101u);
}

TEST_F(FaceFinder, TellsTheHostOfAPictureWithoutFaces) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  ASSERT_EQ(host.calls, 1);
  EXPECT_TRUE(host.Faces().empty());
}

TEST_F(FaceFinder, LooksFifteenTimesASecondForTheHostAlone) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  for (uint64_t i = 0; i < 60; ++i) ProcessAt(*engine, picture, 1 + i * 16'666'667);
  EXPECT_GE(host.calls, 12);
  EXPECT_LE(host.calls, 15);
  EXPECT_EQ(Script().runs, host.calls);
}

TEST_F(FaceFinder, LooksAgainWhenTheFramesTimeGoesBack) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  ProcessAt(*engine, picture, 5'000'000'000);
  ProcessAt(*engine, picture, 1'000'000'000);
  EXPECT_EQ(host.calls, 2);
}

TEST_F(FaceFinder, BearsACallbackThatThrowsAndSaysSoOnce) {
  const auto engine = MakeEngine(64, 64);
  int calls = 0;
  engine->setTesseraCpuDataFunc([&](auto) {
    ++calls;
    throw std::runtime_error("no object");
  });
  const vanta_test::LogCapture log;
  Picture picture(64, 64, kGrey);
  for (int i = 0; i < 3; ++i) EXPECT_NE(Process(*engine, picture), nullptr);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(log.CountWith("[lumivex] the host's callback for landmarks failed: no object"), 1u);
}

TEST_F(FaceFinder, BearsACallbackThatSetsAnother) {
  const auto engine = MakeEngine(64, 64);
  int first = 0;
  int second = 0;
  auto token = std::make_shared<int>(7);
  engine->setTesseraCpuDataFunc([&, token](auto) {
    engine->setTesseraCpuDataFunc([&](auto) { ++second; });
    first += *token;
  });
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  Process(*engine, picture);
  EXPECT_EQ(first, 7);
  EXPECT_EQ(second, 1);
}

TEST_F(FaceFinder, StopsWhenTheCallbackIsTakenAway) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  engine->setTesseraCpuDataFunc(nullptr);
  Process(*engine, picture);
  EXPECT_EQ(host.calls, 1);
  EXPECT_EQ(Script().runs, 1);
}

TEST_F(FaceFinder, WithoutARunnerTheRestGoesOn) {
  for (const bool refuses : {true, false}) {
    Script() = {};
    Script().refuses = refuses;
    Script().init_result = 1;
    const auto engine = MakeEngine(64, 64);
    Host host;
    host.Listen(*engine);
    engine->setBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.5f);
    const Picture before(64, 64, kGrey);
    Picture picture = before;
    Process(*engine, picture);
    EXPECT_FALSE(picture == before);
    EXPECT_EQ(host.calls, 0);
    EXPECT_EQ(Script().runs, 0);
  }
}

// A host that listens while the runner's models are being read, until the test says that they are.
class FaceFinderWhileModelsAreRead : public FaceFinder {
 protected:
  FaceFinderWhileModelsAreRead() {
    Script().init_awaits = read_.get_future();
    engine_ = MakeEngine(64, 64);
    lumivex_set_frames_await_loads(false);
    host_.Listen(*engine_);
  }

  std::promise<void> read_;
  decltype(MakeEngine(0, 0)) engine_;
  Host host_;
  Picture picture_{64, 64, kGrey};
};

TEST_F(FaceFinderWhileModelsAreRead, GoesOnWithTheFrames) {
  for (int i = 0; i < 3; ++i) Process(*engine_, picture_);
  EXPECT_EQ(host_.calls, 0);
  read_.set_value();
  while (host_.calls == 0) {
    Process(*engine_, picture_);
    std::this_thread::yield();
  }
  EXPECT_NE(Script().init_thread, std::this_thread::get_id());
}

TEST_F(FaceFinderWhileModelsAreRead, WaitsNoLongerOnceNobodyNeedsThem) {
  Process(*engine_, picture_);
  EXPECT_EQ(lumivex_pending_loads(), 1);
  engine_->setTesseraCpuDataFunc(nullptr);
  Process(*engine_, picture_);
  EXPECT_EQ(lumivex_pending_loads(), 0);
  read_.set_value();
}

TEST_F(FaceFinder, TriesARunnerAgainForAnotherModelFolderOnly) {
  Script().init_result = 1;
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  engine->setModelRootPath("one");
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  Process(*engine, picture);
  EXPECT_EQ(Script().created, 1);
  EXPECT_EQ(Script().model_folder, "one");
  Script().init_result = 0;
  engine->setModelRootPath("two");
  Process(*engine, picture);
  EXPECT_EQ(Script().created, 2);
  EXPECT_EQ(Script().model_folder, "two");
  EXPECT_EQ(host.calls, 1);
}

TEST_F(FaceFinder, BearsARunnerThatThrowsOrGivesNothing) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  const vanta_test::LogCapture log;
  Script().throws = true;
  Process(*engine, picture);
  Process(*engine, picture);
  Script().throws = false;
  Script().is_mute = true;
  Process(*engine, picture);
  EXPECT_EQ(host.calls, 0);
  EXPECT_EQ(log.CountWith("as the script says"), 1u);
}

TEST_F(FaceFinder, ShowsTheRunnerTheUprightPicture) {
  struct Case {
    int32_t rotation;
    bool flip;
    bool tall;
    int mark_x;  // where the stored picture's upper left quarter lies upright, 0 or 1
    int mark_y;
  };
  const Case cases[] = {{0, false, false, 0, 0},   {0, true, false, 1, 0},   {90, false, true, 1, 0},
                        {180, false, false, 1, 1}, {270, false, true, 0, 1}, {90, true, true, 1, 1}};
  for (const Case &each : cases) {
    Script() = {};
    const auto engine = MakeEngine(96, 64);
    Host host;
    host.Listen(*engine);
    Picture picture(96, 64, kGrey, 32);
    picture.FillRect(0, 0, 48, 32, kBlue);
    ProcessAt(*engine, picture, 0, each.rotation, each.flip);
    const cv::Size size = each.tall ? cv::Size(64, 96) : cv::Size(96, 64);
    ASSERT_EQ(Script().luma.size(), size) << each.rotation;
    const int x = size.width / 4 + each.mark_x * size.width / 2;
    const int y = size.height / 4 + each.mark_y * size.height / 2;
    EXPECT_EQ(Script().luma.at<uint8_t>(y, x), kBlue.y) << each.rotation << each.flip;
    EXPECT_EQ(Script().u.at<uint8_t>(y / 2, x / 2), kBlue.u) << each.rotation << each.flip;
    EXPECT_EQ(Script().v.at<uint8_t>(y / 2, x / 2), kBlue.v) << each.rotation << each.flip;
    EXPECT_EQ(Script().luma.at<uint8_t>(size.height - 1 - y, size.width - 1 - x), kGrey.y);
  }
}

TEST_F(FaceFinder, GivesPointsAndBoxesInTheFramesPixels) {
  struct Case {
    int32_t rotation;
    bool flip;
    float x;  // of the upright picture's place 100, 60 on the frame of 320 by 240
    float y;
  };
  const Case cases[] = {{0, false, 100, 60},    {0, true, 220, 60},     {90, false, 60, 140},
                        {180, false, 220, 180}, {270, false, 260, 100}, {-90, false, 260, 100}};
  for (const Case &each : cases) {
    Script() = {};
    Script().raw_faces = {std::vector<cv::Point2f>(101, cv::Point2f(100, 60))};
    const auto engine = MakeEngine(320, 240);
    Host host;
    host.Listen(*engine);
    Picture picture(320, 240, kGrey);
    ProcessAt(*engine, picture, 0, each.rotation, each.flip);
    ASSERT_EQ(host.calls, 1);
    EXPECT_NEAR(host.Points(0)[50].x, each.x, 0.01f) << each.rotation << each.flip;
    EXPECT_NEAR(host.Points(0)[50].y, each.y, 0.01f) << each.rotation << each.flip;
    EXPECT_NEAR(host.Box(0, "left"), each.x, 1.01f) << each.rotation << each.flip;
    EXPECT_NEAR(host.Box(0, "top"), each.y, 1.01f) << each.rotation << each.flip;
    EXPECT_GE(host.Box(0, "width"), 0.0f);
  }
}

TEST_F(FaceFinder, DividesALargePictureAndGivesItsOwnPixelsBack) {
  Script().faces = {{{320, 180}, 100}};
  const auto engine = MakeEngine(1920, 1080);
  Host host;
  host.Listen(*engine);
  Picture picture(1920, 1080, kGrey);
  Process(*engine, picture);
  EXPECT_EQ(Script().luma.size(), cv::Size(640, 360));
  EXPECT_EQ(Script().u.size(), cv::Size(320, 180));
  EXPECT_NEAR(host.Points(0)[99].x, 960.0f, 2.0f) << "the tip of the nose";
}

TEST_F(FaceFinder, ShowsTheRunnerTheColoursOfALargePictureAtTheirPlaces) {
  for (const cv::Size size : {cv::Size(1280, 720), cv::Size(1920, 1080), cv::Size(1284, 724)}) {
    Script() = {};
    const auto engine = MakeEngine(size.width, size.height);
    Host host;
    host.Listen(*engine);
    Picture picture(size.width, size.height, kGrey, 32);
    picture.FillRect(0, 0, size.width / 2, size.height / 2, kBlue);
    Process(*engine, picture);
    const int x = Script().u.cols / 2;
    const int y = Script().u.rows / 2;
    ASSERT_EQ(Script().v.size(), Script().u.size());
    EXPECT_EQ(Script().u.at<uint8_t>(y - 2, x - 2), kBlue.u) << size.width;
    EXPECT_EQ(Script().v.at<uint8_t>(y - 2, x - 2), kBlue.v) << size.width;
    EXPECT_EQ(Script().u.at<uint8_t>(y - 2, x + 2), kGrey.u) << size.width;
    EXPECT_EQ(Script().v.at<uint8_t>(y + 2, x - 2), kGrey.v) << size.width;
  }
}

TEST_F(FaceFinder, BearsOddAndTinyPictures) {
  for (const cv::Size size : {cv::Size(1, 1), cv::Size(3, 2), cv::Size(2, 5), cv::Size(641, 3)}) {
    const auto engine = MakeEngine(size.width, size.height);
    Host host;
    host.Listen(*engine);
    Picture picture(size.width, size.height, kGrey, 5);
    for (const int32_t rotation : {0, 90, 180, 270}) {
      EXPECT_NE(ProcessAt(*engine, picture, 0, rotation, rotation == 180), nullptr);
    }
    EXPECT_EQ(host.calls, 4);
    EXPECT_TRUE(picture.MarginsUntouched());
  }
}

TEST_F(VisionParams, GoToTheRunner) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  engine->updateTesseraParams(R"({"max_face_num": 5})");
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  EXPECT_EQ(Script().params["max_face_num"], "5");
  engine->updateTesseraParams(R"({"landmarks_param": {"max_face_num": "2", "use_mask": true}})");
  EXPECT_EQ(Script().params["max_face_num"], "2");
  EXPECT_EQ(Script().params["use_mask"], "1");
  EXPECT_EQ(Script().created, 1);
}

TEST_F(VisionParams, AskForASearchBesideTheFramesUnlessTheHostWantsToWait) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  EXPECT_EQ(Script().params["sync_detect"], "0");
  engine->updateTesseraParams(R"({"sync_detect": 1})");
  EXPECT_EQ(Script().params["sync_detect"], "1");
}

TEST_F(VisionParams, TellOfAnotherOrientation) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  ProcessAt(*engine, picture, 0, 90);
  const std::string turned = Script().params["orientation"];
  ProcessAt(*engine, picture, 0, 270);
  const std::string turned_back = Script().params["orientation"];
  EXPECT_NE(turned, turned_back);
  ProcessAt(*engine, picture, 0, 270, true);
  EXPECT_NE(Script().params["orientation"], turned_back);
}

TEST_F(VisionParams, ThatAreNoGoodAreSaidAndChangeNothing) {
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  engine->updateTesseraParams(R"({"max_face_num": 4})");
  const vanta_test::LogCapture log;
  for (const char *text : {"", "{", "[1]", "null", R"({"landmarks_param": 3})", R"({"max_face_num": [1]})"}) {
    engine->updateTesseraParams(text);
  }
  EXPECT_EQ(log.CountWith("they stay as they are"), 6u);
  Process(*engine, picture);
  EXPECT_EQ(Script().params["max_face_num"], "4");
}

TEST_F(VisionStats, TellTheShareOfTheRunnersSearchThread) {
  Script().search_processor_ms = 30;
  Script().search_elapsed_ms = 200;
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  std::string text;
  engine->getTesseraStat(text);
  EXPECT_NEAR(nlohmann::json::parse(text)["face_search_share"].get<double>(), 0.15, 0.001);
  EXPECT_NEAR(nlohmann::json::parse(engine->getStats())["face_search_share"].get<double>(), 0.15, 0.001);
}

TEST_F(VisionStats, TellHowFarMouthAndEyesAreOpenAndHowSureThatIs) {
  ScriptedFace face{{32, 20}, 16};
  face.mouth_open = 0.25f;
  face.mouth_confidence = 0.75f;
  face.eyes_open = {0.125f, 1.0f};
  face.eyes_confidence = {0.5f, 0.375f};
  Script().faces = {face};
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
  const auto faces = [&engine] { return nlohmann::json::parse(engine->getStats())[lumivex::kStatsFaces]; };
  EXPECT_EQ(faces(), nlohmann::json::parse(R"([{"confidence": 1.0, "mouth": {"open": 0.25, "confidence": 0.75},
                                               "left_eye": {"open": 0.125, "confidence": 0.5},
                                               "right_eye": {"open": 1.0, "confidence": 0.375}}])"));
  Script().faces = {};
  Process(*engine, picture);
  EXPECT_TRUE(faces().empty());
}

TEST_F(VisionStats, TellOfFaces) {
  Script().faces = {{{32, 20}, 16}};
  const auto engine = MakeEngine(64, 64);
  Host host;
  host.Listen(*engine);
  Picture picture(64, 64, kGrey);
  auto frame = picture.Frame();
  frame->dump_flag = 1;
  frame = engine->processFrameData(frame);
  ASSERT_NE(frame, nullptr);
  const auto dump = nlohmann::json::parse(frame->dump_text);
  EXPECT_EQ(dump["faces"], 1);
  EXPECT_TRUE(dump["stages_ms"].contains("faces"));
  std::string text;
  engine->getTesseraStat(text);
  EXPECT_EQ(nlohmann::json::parse(text)["face_frames"], 1);
}

}  // namespace
}  // namespace lumivex_test
