// Requests that an effect makes of the host.
#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <obs.hpp>

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"
#include "vanta_filter/engine/ability_handler.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kError;
using vanta_test::kInfo;
using vanta_test::kWarning;

struct Handler final : ILiveEffectJsonAbilityHandler {
  void Reserved() override { calls.push_back("Reserved"); }
  void PostGameData(const std::string &raw, const std::string &method, const std::string &params) override {
    calls.push_back(method + "(" + params + ") of " + raw);
  }
  void PostSignalAfterLoadInteractiveBoxResource() override { calls.push_back("Loaded"); }
  void PostSignalAfterUnloadInteractiveBoxResource() override { calls.push_back("Unloaded"); }
  Texts calls;
};

class GameData : public RenderFixture {
 protected:
  void SetUp() override {
    Start();
    request_ = scripted_engine::Callbacks(1).game_data;
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, "effect_json_ability_handler",
                     static_cast<long long>(reinterpret_cast<intptr_t>(&handler_)));
    processor_->SetOBSData(settings, nullptr);
    log_.Clear();
  }
  void Request(const std::string &text) { request_(LX::BoomGameData{text}); }
  // Reaches the handler as `method` with `params`, the raw text beside them.
  void ExpectPosted(const std::string &text, const std::string &method, const std::string &params) {
    handler_.calls.clear();
    Request(text);
    EXPECT_EQ(handler_.calls, (Texts{method + "(" + params + ") of " + text}));
    EXPECT_TRUE(log_.Has(kInfo, "[beauty] PostGameDataCallback: " + method + " " + params)) << text;
  }
  void ExpectDropped(const std::string &text) {
    Request(text);
    EXPECT_EQ(handler_.calls, Texts{}) << text;
    EXPECT_TRUE(log_.Lines().empty()) << text;
  }
  static std::string Message(const std::string &ability, const std::string &method, const std::string &more = "") {
    return R"({"reqType":1,"seqId":2,"data":{"ability":")" + ability + R"(","method":")" + method + "\"" + more + "}}";
  }

  Handler handler_;
  std::function<void(const LX::BoomGameData &)> request_;
};

TEST_F(GameData, TextIsLoggedByTheRuleForEngineTexts) {
  Request(R"({"a":1})");
  EXPECT_EQ(host_double::CorvidLines(), (std::vector<LogLine>{{kInfo, R"(GameDataCallback: {"a":1})"}}));
  Request(R"(["%"])");
  EXPECT_TRUE(log_.Has(kError, "GameDataCallback____base64: WyIlIl0="));
}

TEST_F(GameData, EffectMethodsCarryTheirPayload) {
  const std::string payload = R"(,"params":{"effectJsonStr":"{\"x\":1}"})";
  ExpectPosted(Message("LiveEffectAbility", "playEffect", payload), "playEffect", R"({"x":1})");
  ExpectPosted(Message("LiveFlvStreamAbility", "sendEffectMessage", payload), "sendEffectMessage", R"({"x":1})");
}

TEST_F(GameData, MissingPayloadIsEmpty) {
  ExpectPosted(Message("LiveEffectAbility", "playEffect"), "playEffect", "");
  ExpectPosted(Message("LiveEffectAbility", "playEffect", R"(,"params":{})"), "playEffect", "");
  ExpectPosted(Message("LiveEffectAbility", "playEffect", R"(,"params":"text")"), "playEffect", "");
}

TEST_F(GameData, OtherMethodsCarryNone) {
  const std::string payload = R"(,"params":{"effectJsonStr":"x"})";
  for (const auto &[ability, method] :
       std::vector<std::pair<std::string, std::string>>{{"LiveResourceAbility", "getMagicFacePath"},
                                                        {"LiveResourceAbility", "getImagePath"},
                                                        {"LiveHttpAbility", "get"},
                                                        {"LiveStreamInfoAbility", "getPkId"},
                                                        {"LiveStreamInfoAbility", "isDeductMoment"},
                                                        {"LiveServerTimeAbility", "getCurrentServerTimeMs"},
                                                        {"LiveSwitchConfigAbility", "getValue"}})
    ExpectPosted(Message(ability, method, payload), method, "");
}

TEST_F(GameData, UnknownAbilityOrMethodReachesNobodyAndWritesNoLine) {
  ExpectDropped(Message("LiveUnknownAbility", "get"));
  ExpectDropped(Message("LiveHttpAbility", "post"));
  ExpectDropped(Message("LiveHttpAbility", "playEffect"));
  ExpectDropped(Message("liveeffectability", "playEffect"));
  ExpectDropped(Message("", ""));
  ExpectDropped(R"({"data":{}})");
}

TEST_F(GameData, MessageWithoutAnObjectOfDataIsDropped) {
  for (const char *text : {"null", "[]", "5", "\"text\"", "{}", R"({"data":null})", R"({"data":[]})", R"({"data":"x"})",
                           R"({"reqType":3010})", R"({"reqType":3010,"data":[]})"})
    ExpectDropped(text);
}

TEST_F(GameData, RequestType10005GoesRawEvenWithoutData) {
  ExpectPosted(R"({"reqType":10005})", "", "");
  ExpectPosted(R"({"reqType":10005,"data":{"ability":5}})", "", "");
}

TEST_F(GameData, RequestType3010IsClearEffectWhateverTheMessageSays) {
  ExpectPosted(R"({"reqType":3010,"data":{}})", "clearEffect", "");
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] kEffectMethodClearEffect: PostGameDataCallback"));
  ExpectPosted(R"({"reqType":3010,"data":{"ability":"LiveHttpAbility","method":"get"}})", "clearEffect", "");
}

TEST_F(GameData, ClearEffectWithoutAnEventGoesToTheHandlerWithoutParameters) {
  ExpectPosted(Message("LiveEffectAbility", "clearEffect", R"(,"params":{"effectJsonStr":"x"})"), "clearEffect", "");
}

TEST_F(GameData, ClearEffectSetsTheEventInsteadOfAskingTheHandler) {
  const std::string name = "vanta_clear" + std::to_string(getpid());
  sem_t *event = sem_open(("/" + name).c_str(), O_CREAT | O_EXCL, 0600, 0);
  ASSERT_NE(event, SEM_FAILED);
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, name);
  Request(Message("LiveEffectAbility", "clearEffect"));
  EXPECT_EQ(sem_trywait(event), 0);
  sem_close(event);
  sem_unlink(("/" + name).c_str());
  EXPECT_EQ(handler_.calls, Texts{});
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] kEffectMethodClearEffect: open event Success:" + name));
}

TEST_F(GameData, ClearEffectWhoseEventNobodyMadeIsAnErrorLine) {
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "vanta_nobody_made_this");
  Request(Message("LiveEffectAbility", "clearEffect"));
  EXPECT_EQ(handler_.calls, Texts{});
  EXPECT_TRUE(log_.Has(kError, "[beauty] kEffectMethodClearEffect: open event failed:vanta_nobody_made_this"));
}

TEST_F(GameData, EventNameCanBeTakenBackAndDiesWithTheProcessor) {
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "event");
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "");
  ExpectPosted(R"({"reqType":3010,"data":{}})", "clearEffect", "");
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "event");
  SetUp();  // a new processor, whose engine is the second
  request_ = scripted_engine::Callbacks(2).game_data;
  ExpectPosted(R"({"reqType":3010,"data":{}})", "clearEffect", "");
}

TEST_F(GameData, MalformedMessageThrowsBackToTheEngine) {
  for (const char *text : {"", "{", "cat", "\xFF"}) EXPECT_THROW(Request(text), nlohmann::json::parse_error) << text;
  for (const char *text :
       {R"({"data":{"ability":5}})", R"({"data":{"method":null}})", R"({"reqType":"5"})", R"({"seqId":{}})",
        R"({"data":{"ability":"LiveEffectAbility","method":"playEffect","params":{"effectJsonStr":5}}})"})
    EXPECT_THROW(Request(text), nlohmann::json::type_error) << text;
  EXPECT_EQ(handler_.calls, Texts{});
}

TEST_F(GameData, DeepNestingIsReadWithoutHarm) {
  constexpr size_t kDepth = 100000;
  ExpectDropped(std::string(kDepth, '[') + std::string(kDepth, ']'));
}

TEST_F(GameData, MissingHandlerIsAWarningAndTheRequestIsLost) {
  processor_->SetOBSData(nullptr, nullptr);
  Request(Message("LiveHttpAbility", "get"));
  EXPECT_TRUE(log_.Has(kWarning, "[beauty] ILiveEffectJsonAbilityHandler is nullptr"));
  EXPECT_FALSE(log_.HasText("PostGameDataCallback"));
}

}  // namespace
