// Tables and presets that are read while frames go on.
#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "fixtures/lumivex/engine_fixture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

class LoadedLooks : public ::testing::Test {
 protected:
  LoadedLooks() { lumivex_set_frames_await_loads(false); }  // after the engine was made, which switches it on

  nlohmann::json Dump() {
    Picture picture(64, 64, kGrey);
    auto frame = picture.Frame();
    frame->dump_flag = 1;
    frame = engine_->processFrameData(std::move(frame));
    return nlohmann::json::parse(frame->dump_text);
  }

  // Frames go on until the condition holds.
  void Await(const std::function<bool(const nlohmann::json &)> &condition) {
    while (!condition(Dump())) std::this_thread::yield();
  }

  std::shared_ptr<LX::LumivexSync> engine_ = MakeEngine();
};

TEST_F(LoadedLooks, ATableTakesEffectWithALaterFrame) {
  const std::string table = std::string(LUMIVEX_DATA_DIR) + "/lookups/nuan.cube";
  SetLookup(*engine_, table, 0.75f);
  Await([&](const nlohmann::json &dump) { return dump["lookup"]["name"] == table; });
  EXPECT_EQ(Dump()["lookup"]["intensity"], 0.75);
}

TEST_F(LoadedLooks, AnIntensityThatIsSetMeanwhileIsTheNewTables) {
  const std::string table = std::string(LUMIVEX_DATA_DIR) + "/lookups/nuan.cube";
  SetLookup(*engine_, table, 0.75f);
  engine_->setLookupIntensity(0.25f);
  Await([&](const nlohmann::json &dump) { return dump["lookup"]["name"] == table; });
  EXPECT_EQ(Dump()["lookup"]["intensity"], 0.25);
}

TEST_F(LoadedLooks, ATableThatIsTakenBackNeverComes) {
  SetLookup(*engine_, std::string(LUMIVEX_DATA_DIR) + "/lookups/nuan.cube");
  SetLookup(*engine_, "");
  SetGroup(*engine_, "baixi");  // read after it
  Await([](const nlohmann::json &dump) { return dump["group"] == "baixi"; });
  EXPECT_EQ(Dump()["lookup"]["name"], "");
}

TEST_F(LoadedLooks, IntensitiesThatAreSetAfterAPresetGoOnTopOfIt) {
  engine_->setBeautyIntensityWithType(lumivex::kBeautyRuddy, 0.9f);
  SetGroup(*engine_, "baixi");
  engine_->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.05f);
  Await([](const nlohmann::json &dump) { return dump["group"] == "baixi"; });
  const nlohmann::json beauty = Dump()["beauty"];
  EXPECT_EQ(beauty["smooth"], 0.05);
  EXPECT_EQ(beauty["ruddy"], 0.15) << "what was set before is the preset's";
}

TEST_F(LoadedLooks, WaitForTheEndOfABatch) {
  engine_->beginBatchCommand();
  SetGroup(*engine_, "baixi");
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Dump()["group"], "");
  engine_->endBatchCommand();
  Await([](const nlohmann::json &dump) { return dump["group"] == "baixi"; });
}

}  // namespace
}  // namespace lumivex_test
