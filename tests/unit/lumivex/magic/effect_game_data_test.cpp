// Game data between effects and the host.
#include <stdexcept>

#include "fixtures/lumivex/effect_fixture.h"
#include "fixtures/process/log_capture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

class EffectGameData : public EffectFixture {
 protected:
  void PlayEffect(const json &more) {
    json effect = {{"format", 1}, {"layers", {RedLayer({{"id", "box"}, {"hidden", true}}), RedLayer({{"id", "lid"}})}}};
    effect["layers"][1].update({{"anchor", "bottom_right"}});
    effect.update(more);
    Play(WriteEffect("effect", effect));
  }
};

json Message(int type, const char *method) {
  return {{"reqType", type}, {"data", {{"ability", "LiveEffectAbility"}, {"method", method}, {"params", {{"n", 7}}}}}};
}

TEST_F(EffectGameData, IsSentAtTheStartAtATimeAndAtTheEnd) {
  PlayEffect({{"duration", 300},
              {"messages",
               {{{"at", "end"}, {"game_data", Message(3, "c")}},
                {{"at", 200}, {"game_data", Message(2, "b")}},
                {{"at", 100}, {"game_data", {{"seqId", 77}}}},
                {{"at", "start"}, {"game_data", Message(1, "a")}}}}});
  ASSERT_EQ(messages_.size(), 1u);
  json first = Message(1, "a");
  first["seqId"] = 1;
  EXPECT_EQ(messages_[0], first);
  Show(110);
  ASSERT_EQ(messages_.size(), 2u);
  EXPECT_EQ(messages_[1], (json{{"seqId", 77}})) << "a number of its own stays";
  Show(100);
  ASSERT_EQ(messages_.size(), 3u);
  EXPECT_EQ(messages_[2]["data"]["method"], "b");
  EXPECT_EQ(messages_[2]["seqId"], 2);
  Show(100);
  ASSERT_EQ(messages_.size(), 5u);
  EXPECT_EQ(messages_[3]["data"]["method"], "c");
}

TEST_F(EffectGameData, AsksToClearTheEffectAtItsNaturalEnd) {
  PlayEffect({{"duration", 100}});
  Show(90);
  EXPECT_TRUE(messages_.empty());
  Show(20);
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(
      messages_[0],
      (json{{"reqType", 3010},
            {"seqId", 1},
            {"data", {{"ability", "LiveEffectAbility"}, {"method", "clearEffect"}, {"params", json::object()}}}}));
  Show(100);
  EXPECT_EQ(messages_.size(), 1u);
}

TEST_F(EffectGameData, FromTheHostShowsAndHidesLayers) {
  PlayEffect({{"on", {{{"reqType", 3011}, {"show", {"box"}}, {"hide", {"lid"}}}}}});
  engine_->setBoomGameData(R"({"reqType":3012})");
  Picture picture = Show();
  EXPECT_TRUE(Is(picture, 2, 2, kGrey));
  EXPECT_TRUE(Is(picture, 63, 47, kRedCodes));
  engine_->setBoomGameData(R"({"reqType":3011})");
  picture = Show();
  EXPECT_TRUE(Is(picture, 2, 2, kRedCodes));
  EXPECT_TRUE(Is(picture, 63, 47, kGrey));
}

TEST_F(EffectGameData, ALayersTimesCountFromWhenItIsShown) {
  PlayEffect({{"layers", {RedLayer({{"id", "box"}, {"hidden", true}, {"end", 100}})}},
              {"on", {{{"reqType", 1}, {"show", {"box"}}}}}});
  Show(500);
  engine_->setBoomGameData(R"({"reqType":1})");
  EXPECT_TRUE(Is(Show(50), 2, 2, kRedCodes));
  EXPECT_TRUE(Is(Show(60), 2, 2, kGrey));
}

TEST_F(EffectGameData, IsMatchedByTypeAndMethod) {
  PlayEffect(
      {{"on",
        {{{"reqType", 5}, {"method", "open"}, {"send", {{"hit", 1}}}}, {{"method", "any"}, {"send", {{"hit", 2}}}}}}});
  engine_->setBoomGameData(R"({"reqType":5})");
  engine_->setBoomGameData(R"({"reqType":5,"data":{"method":"shut"}})");
  engine_->setBoomGameData(R"({"reqType":"5","data":{"method":"open"}})");
  engine_->setBoomGameData(R"({"data":[]})");
  Show();
  EXPECT_TRUE(messages_.empty());
  engine_->setBoomGameData(R"({"reqType":5,"data":{"method":"open"}})");
  engine_->setBoomGameData(R"({"reqType":6,"data":{"method":"any"}})");
  EXPECT_TRUE(messages_.empty()) << "callbacks come with frames";
  Show();
  ASSERT_EQ(messages_.size(), 2u);
  EXPECT_EQ(messages_[0]["hit"], 1);
  EXPECT_EQ(messages_[1]["hit"], 2);
}

TEST_F(EffectGameData, SetsATextFromTheMessage) {
  json layer = RedLayer({{"id", "score"}, {"text", ""}, {"size", 1.0}});
  layer.erase("image");
  PlayEffect({{"layers", {layer}},
              {"on", {{{"reqType", 1}, {"set_text", {{"layer", "score"}, {"from", "/data/params/score"}}}}}}});
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3));
  engine_->setBoomGameData(R"({"reqType":1,"data":{"params":{}}})");
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3)) << "no score in the message";
  engine_->setBoomGameData(R"({"reqType":1,"data":{"params":{"score":888}}})");
  const double number = Show().MeanLuma();
  EXPECT_GT(number, kGrey.y + 1);
  engine_->setBoomGameData(R"({"reqType":1,"data":{"params":{"score":"\u00e4%\n"}}})");
  EXPECT_NE(Show().MeanLuma(), number) << "what the font has not is drawn all the same";
}

TEST_F(EffectGameData, TextIsDrawnBesideTheFrames) {
  json layer = RedLayer({{"id", "score"}, {"text", ""}, {"size", 1.0}});
  layer.erase("image");
  PlayEffect({{"layers", {layer}},
              {"on", {{{"reqType", 1}, {"set_text", {{"layer", "score"}, {"from", "/data/params/score"}}}}}}});
  Show();
  lumivex_set_frames_await_loads(false);
  engine_->setBoomGameData(R"({"reqType":1,"data":{"params":{"score":888}}})");
  EXPECT_EQ(lumivex_pending_loads(), 1);
  Await([&] { return Show(0).MeanLuma() > kGrey.y + 1; });
  EXPECT_EQ(lumivex_pending_loads(), 0);
}

TEST_F(EffectGameData, MayHoldANameInAnyScript) {
  json layer = RedLayer({{"id", "name"}, {"text", "Ünal"}, {"size", 1.0}});
  layer.erase("image");
  PlayEffect({{"layers", {layer}},
              {"on", {{{"reqType", 1}, {"set_text", {{"layer", "name"}, {"from", "/data/params/name"}}}}}}});
  EXPECT_GT(Show().MeanLuma(), kGrey.y + 1) << "as it stands";
  const auto named = [&](const std::string &name) {
    engine_->setBoomGameData(json{{"reqType", 1}, {"data", {{"params", {{"name", name}}}}}}.dump());
    return Show();
  };
  std::string cut;  // 21 characters, and one that begins within the 64 bytes and ends outside
  for (int i = 0; i < 22; ++i) cut += "日";
  EXPECT_TRUE(named(cut) == named(cut.substr(0, 63)));
}

TEST_F(EffectGameData, CanEndAnEffect) {
  PlayEffect({{"on", {{{"reqType", 1}, {"end", true}}}}});
  engine_->setBoomGameData(R"({"reqType":1})");
  EXPECT_TRUE(Is(Show(), 63, 47, kGrey));
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(messages_[0]["data"]["method"], "clearEffect");
}

TEST_F(EffectGameData, ThatIsNoJsonObjectIsOneLogLine) {
  PlayEffect(json::object());
  const vanta_test::LogCapture log;
  engine_->setBoomGameData("nonsense");
  engine_->setBoomGameData("[]");
  engine_->setBoomGameData(std::string(100000, '['));
  EXPECT_EQ(log.CountWith("game data from the host"), 1u);
  engine_->setBoomGameData("{}");
  engine_->setBoomGameData("");
  EXPECT_EQ(log.CountWith("game data from the host"), 2u);
}

TEST_F(EffectGameData, CallbacksThatThrowAreBorneAndToldOnce) {
  const vanta_test::LogCapture log;
  int calls = 0;
  engine_->setGameDataCallback([&](const LX::BoomGameData &) {
    if (++calls == 2) throw 5;
    throw std::runtime_error("malformed");
  });
  engine_->setEffectDescriptionCallback([&](const std::string &, bool) {
    ++calls;
    throw std::runtime_error("no description");
  });
  engine_->setMagicEffectWithPath(WriteEffect("effect", {{"format", 1},
                                                         {"layers", {RedLayer()}},
                                                         {"messages",
                                                          {{{"at", "start"}, {"game_data", json::object()}},
                                                           {{"at", 40}, {"game_data", json::object()}},
                                                           {{"at", 80}, {"game_data", json::object()}}}}}),
                                  kMainEffectSlot, false);
  Await([&] { return calls == 2; });
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Is(Show(40), 2, 2, kRedCodes));
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(log.CountWith("the effect description callback failed"), 1u);
  EXPECT_EQ(log.CountWith("the game data callback failed"), 1u);
}

TEST_F(EffectGameData, CallbacksMayCallTheEngineBack) {
  engine_->setGameDataCallback([&](const LX::BoomGameData &data) {
    messages_.push_back(json::parse(data.json));
    engine_->setBoomGameData(R"({"reqType":1})");
    if (messages_.size() == 4) {
      engine_->setGameDataCallback(nullptr);
      engine_->cancelMagicEffect();
    }
  });
  PlayEffect({{"messages", {{{"at", "start"}, {"game_data", {{"reqType", 0}}}}}},
              {"on", {{{"reqType", 1}, {"send", {{"reqType", 2}}}}}}});
  EXPECT_EQ(messages_.size(), 1u) << "the answer to the answer waits for the next frame";
  Show();
  EXPECT_EQ(messages_.size(), 2u);
  Show();
  Show();
  EXPECT_EQ(messages_.size(), 4u);
  EXPECT_TRUE(Is(Show(), 63, 47, kGrey));
  EXPECT_EQ(messages_.size(), 4u);
}

TEST_F(EffectGameData, WithoutFramesIsKeptUpToALimit) {
  PlayEffect({{"on", {{{"reqType", 1}, {"send", {{"reqType", 2}}}}}}});
  const vanta_test::LogCapture log;
  for (int i = 0; i < 1000; ++i) engine_->setBoomGameData(R"({"reqType":1})");
  Show();
  EXPECT_EQ(messages_.size(), 256u);
  EXPECT_EQ(log.CountWith("effects say more than frames carry away"), 1u);
}

}  // namespace
}  // namespace lumivex_test
