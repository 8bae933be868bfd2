#include "engine/callbacks/ability_calls.h"

#include <obs.hpp>

#include "engine/callbacks/game_data.h"
#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"
#include "vanta_filter/engine/ability_handler.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kInfo;
using vanta_test::kWarning;

struct AbilityHandler final : ILiveEffectJsonAbilityHandler {
  void Reserved() override { calls.push_back("Reserved"); }
  void PostGameData(const std::string &raw, const std::string &method, const std::string &params) override {
    calls.push_back("PostGameData(" + raw + ", " + method + ", " + params + ")");
  }
  void PostSignalAfterLoadInteractiveBoxResource() override { calls.push_back("Loaded"); }
  void PostSignalAfterUnloadInteractiveBoxResource() override { calls.push_back("Unloaded"); }
  Texts calls;
};

class AbilityCalls : public testing::Test {
 protected:
  void SetHandler(AbilityHandler *handler) {
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, "effect_json_ability_handler",
                     static_cast<long long>(reinterpret_cast<intptr_t>(handler)));
    calls_.SetSettings(settings);
  }

  LogCapture log_;
  AbilityHandler handler_;
  vanta::AbilityCalls calls_;
};

TEST_F(AbilityCalls, ReachTheHandlerThatTheSettingsName) {
  SetHandler(&handler_);
  calls_.PostGameData("text", {"getPkId", "params"});
  calls_.PostBoxLoaded();
  calls_.PostBoxUnloaded();
  EXPECT_EQ(handler_.calls, (Texts{"PostGameData(text, getPkId, params)", "Loaded", "Unloaded"}));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] PostGameDataCallback: getPkId params"));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][MagicTreasureChest] PostSignalAfterLoadInteractiveBoxResource"));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][MagicTreasureChest] PostSignalAfterUnloadInteractiveBoxResource"));
}

TEST_F(AbilityCalls, WithoutAHandlerAreAWarningEach) {
  SetHandler(nullptr);
  calls_.PostGameData("text", {});
  calls_.PostBoxLoaded();
  calls_.PostBoxUnloaded();
  EXPECT_EQ(log_.Count("[beauty] ILiveEffectJsonAbilityHandler is nullptr"), 3u);
  EXPECT_TRUE(log_.Has(kWarning, "[beauty] ILiveEffectJsonAbilityHandler is nullptr"));
}

TEST_F(AbilityCalls, WithoutSettingsAreAWarning) {
  calls_.PostBoxLoaded();
  EXPECT_TRUE(log_.Has(kWarning, "[beauty] ILiveEffectJsonAbilityHandler is nullptr"));
}

TEST_F(AbilityCalls, ReadTheHandlerAnewEachTime) {
  SetHandler(&handler_);
  calls_.PostBoxLoaded();
  SetHandler(nullptr);
  calls_.PostBoxLoaded();
  EXPECT_EQ(handler_.calls, (Texts{"Loaded"}));
}

}  // namespace
