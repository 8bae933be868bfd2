// Which effect plays when, and what the engine tells of it.
#include "fixtures/lumivex/effect_fixture.h"
#include "fixtures/process/alloc_counter.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

class EffectSlots : public EffectFixture {
 protected:
  // A picture of that colour over the whole screen.
  static std::string Screen(const std::string &name, Rgba color, const json &more = json::object()) {
    json effect = OneLayer({{"image", "own.png"}, {"anchor", "screen"}});
    effect.update(more);
    const std::string folder = WriteEffect(name, effect);
    WritePicture(name + "/own.png", color);
    return folder;
  }
};

class EffectDescriptions : public EffectSlots {};

constexpr Codes kSeen[] = {kRedCodes, kGreenCodes, kWhiteCodes, kBlackCodes};

TEST_F(EffectSlots, AreDrawnOneOverTheOther) {
  const std::string box = Screen("box", kBlack);
  engine_->loadInteractiveBoxResource(box);
  Await([&] { return descriptions_.size() == 1; });
  Play(Screen("gift", kWhite), kRecognitionGiftSlot);
  Play(Screen("one", kGreen), lumivex::kGiftSlot);
  Play(Screen("main", kRed));
  EXPECT_TRUE(Is(Show(), 9, 9, kSeen[3]));
  engine_->unloadInteractiveBoxResource();
  EXPECT_TRUE(Is(Show(), 9, 9, kSeen[2]));
  engine_->setMagicEffectWithPath("", kRecognitionGiftSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kSeen[1]));
  engine_->setMagicEffectWithPath("", lumivex::kGiftSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kSeen[0]));
  engine_->setMagicEffectWithPath("", kMainEffectSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kGrey));
}

TEST_F(EffectSlots, HoldOneEffectEach) {
  Play(Screen("first", kRed));
  Play(Screen("second", kGreen, {{"layers", {RedLayer({{"image", "own.png"}, {"size", 0.25}})}}}));
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 2, 2, kGreenCodes));
  EXPECT_TRUE(Is(picture, 40, 40, kGrey));
}

TEST_F(EffectSlots, KeepTheirEffectWhenTheNextOneIsNoGood) {
  const std::string good = Screen("good", kRed);
  Play(good);
  Play(OwnFolder() + "/missing");
  EXPECT_TRUE(Is(Show(), 9, 9, kRedCodes));
  Play(Screen("gift", kGreen), kRecognitionGiftSlot);
  engine_->setMagicEffectWithPath(good, kMainEffectSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kRedCodes)) << "the slot knows the one that plays";
  EXPECT_EQ(descriptions_.size(), 3u) << "which did not start again";
}

TEST_F(EffectSlots, ThatDoNotExistAreALogLine) {
  const vanta_test::LogCapture log;
  engine_->setMagicEffectWithPath(Screen("main", kRed), LXEffectSlot{3}, false);
  engine_->setMagicEffectWithPath("", LXEffectSlot{-1}, false);
  EXPECT_EQ(log.CountWith("[lumivex] no effect slot"), 2u);
}

TEST_F(EffectSlots, AreAllEmptiedByACancelButTheInteractiveBoxs) {
  engine_->loadInteractiveBoxResource(WriteEffect("box", OneLayer({{"size", 0.25}})));
  Await([&] { return descriptions_.size() == 1; });
  Play(Screen("main", kWhite));
  Play(Screen("gift", kGreen), kRecognitionGiftSlot);
  engine_->cancelMagicEffect();
  const Picture picture = Show();
  EXPECT_TRUE(Is(picture, 2, 2, kRedCodes));
  EXPECT_TRUE(Is(picture, 40, 40, kGrey));
  EXPECT_TRUE(messages_.empty()) << "a cancelled effect has not come to its end";
}

TEST_F(EffectSlots, ForgetWhatIsStillBeingLoaded) {
  engine_->setMagicEffectWithPath(Screen("main", kRed), kMainEffectSlot, false);
  engine_->cancelMagicEffect();
  Play(Screen("one", kGreen), lumivex::kGiftSlot);
  EXPECT_EQ(descriptions_.size(), 1u);
  EXPECT_TRUE(Is(Show(), 9, 9, kGreenCodes));
}

TEST_F(EffectSlots, GiveTheGiftUpWhenTheMainEffectIsAskedForAgain) {
  const std::string main = Screen("main", kRed);
  Play(main);
  Play(Screen("gift", kGreen), kRecognitionGiftSlot);
  engine_->setMagicEffectWithPath(main, kMainEffectSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kRedCodes));
  EXPECT_EQ(descriptions_.size(), 2u) << "the main effect went on, it did not start again";
}

TEST_F(EffectSlots, GiveTheGiftUpWhereThereIsNoMainEffect) {
  Play(Screen("gift", kGreen), kRecognitionGiftSlot);
  engine_->setMagicEffectWithPath("", kMainEffectSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kGrey));
}

TEST_F(EffectSlots, KeepTheGiftWhileTheMainEffectChanges) {
  Play(Screen("main", kRed));
  Play(Screen("gift", kGreen), kRecognitionGiftSlot);
  Play(Screen("other", kWhite));
  EXPECT_TRUE(Is(Show(), 9, 9, kGreenCodes));
}

TEST_F(EffectSlots, StartTheSameEffectAgain) {
  const std::string main = Screen("main", kRed, {{"duration", 100}});
  Play(main);
  Show(200);
  EXPECT_TRUE(Is(Show(), 9, 9, kGrey));
  Play(main);
  EXPECT_TRUE(Is(Show(), 9, 9, kRedCodes));
}

TEST_F(EffectSlots, WaitForABatchesEnd) {
  engine_->beginBatchCommand();
  engine_->setMagicEffectWithPath(Screen("main", kRed), kMainEffectSlot, false);
  engine_->setMagicEffectWithPath(Screen("one", kGreen), lumivex::kGiftSlot, false);
  EXPECT_TRUE(Is(Show(), 9, 9, kGrey));
  engine_->endBatchCommand();
  Await([&] { return descriptions_.size() == 2; });
  EXPECT_TRUE(Is(Show(), 9, 9, kGreenCodes));
}

TEST_F(EffectSlots, AreNotDrawnWhileTheStageIsOffAndGoOn) {
  Play(Screen("main", kRed, {{"duration", 1000}}));
  engine_->setEffectEnabledWithEffectType(lumivex::kEffectMagic, false);
  EXPECT_TRUE(Show() == Picture(64, 48, kGrey, 3));
  Show(999);
  engine_->setEffectEnabledWithEffectType(lumivex::kEffectMagic, true);
  EXPECT_TRUE(Is(Show(), 9, 9, kGrey)) << "its time is over";
  EXPECT_EQ(messages_.size(), 1u);
}

TEST_F(EffectSlots, EndWithTheEnginesEvenWhileLoading) {
  engine_->setMagicEffectWithPath(Screen("main", kRed), kMainEffectSlot, false);
  engine_.reset();
  EXPECT_TRUE(descriptions_.empty());
}

TEST_F(EffectSlots, StandStillWhilePausedAndVanishWhileStopped) {
  const std::string folder = Screen("main", kRed, {{"layers", {RedLayer({{"end", 100}})}}});
  Play(folder);
  Show(50);
  engine_->setEffectStateWithState(lumivex::kEffectStatePaused);
  EXPECT_TRUE(Is(Show(100), 0, 0, kRedCodes));
  engine_->setEffectStateWithState(lumivex::kEffectStatePlaying);
  EXPECT_TRUE(Is(Show(10), 0, 0, kRedCodes)) << "60 ms";
  EXPECT_TRUE(Is(Show(50), 0, 0, kGrey)) << "110 ms";
  engine_->setEffectStateWithState(lumivex::kEffectStateStopped);
  EXPECT_TRUE(Is(Show(10), 0, 0, kGrey));
  engine_->setEffectStateWithState(lumivex::kEffectStatePlaying);
  EXPECT_TRUE(Is(Show(10), 0, 0, kRedCodes)) << "from its beginning";
}

TEST_F(EffectSlots, UnknownStatesAndIntensitiesAreLogLines) {
  const vanta_test::LogCapture log;
  engine_->setEffectStateWithState(LXEffectState{3});
  engine_->setEffectStateWithState(LXEffectState{-1});
  EXPECT_EQ(log.CountWith("[lumivex] no effect state"), 2u);
  engine_->setEffectIntensityWithType(lumivex::kAdjustEffectMakeup, 0.5f);
  engine_->setEffectIntensityWithType(lumivex::kAdjustEffectDeform, 0.5f);
  EXPECT_EQ(log.CountWith("only the opacity"), 1u);
}

TEST_F(EffectSlots, GoOnByAStepWhereTimestampsStandStillOrLeap) {
  Play(Screen("main", kRed, {{"duration", 1500}}));
  const auto show = [&](uint64_t timestamp) {
    Picture picture(64, 48, kGrey);
    const auto frame = picture.Frame();
    frame->timestamp = timestamp;
    engine_->processFrameData(frame);
    return Is(picture, 9, 9, kRedCodes);
  };
  EXPECT_TRUE(show(now_ + uint64_t{3600} * 1000000000)) << "no more than a second";
  bool ended = false;
  for (int i = 0; i < 20 && !ended; ++i) ended = !show(0);
  EXPECT_TRUE(ended) << "half a second of frames without a time";
}

TEST_F(EffectSlots, InAStandingFrameAllocateNothing) {
  const std::string folder = Screen("main", kRed, {{"layers", {RedLayer({{"image", "walk"}}), RedLayer()}}});
  WritePicture("main/walk/1.png", kRed, 40, 40);
  WritePicture("main/walk/2.png", kGreen, 40, 40);
  Play(folder);
  Picture picture(64, 48, kGrey);
  const auto frame = picture.Frame();
  const auto show = [&] {
    frame->timestamp += 40000000;
    frame->pixel_format = -1;
    engine_->processFrameData(frame);
  };
  for (int i = 0; i < 4; ++i) show();
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < 50; ++i) show();
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

TEST_F(EffectSlots, AreToldInTheDumpTextAndTheirTimeInTheStatistics) {
  Play(Screen("main", kRed, {{"layers", {RedLayer({{"id", "hat"}}), RedLayer(), RedLayer({{"hidden", true}})}}}));
  Show(40);
  Picture picture(64, 48, kGrey);
  const auto frame = picture.Frame();
  frame->timestamp = now_;
  frame->dump_flag = 1;
  const auto result = engine_->processFrameData(frame);
  ASSERT_NE(result, nullptr);
  const json dump = json::parse(result->dump_text);
  ASSERT_EQ(dump["effects"].size(), 1u);
  EXPECT_EQ(dump["effects"][0]["slot"], "main");
  EXPECT_EQ(dump["effects"][0]["path"], OwnFolder() + "/main");
  EXPECT_GE(dump["effects"][0]["time_ms"], 40);
  EXPECT_EQ(dump["effects"][0]["layers"], json::array({"hat", "1"}));
  EXPECT_TRUE(dump["stages_ms"].contains("magic_effects"));
  EXPECT_GE(json::parse(engine_->getStats())["stages"]["magic_effects"]["frames"], 2);
}

TEST_F(EffectDescriptions, TellWhatTheEffectTakesOver) {
  Play(WriteEffect("effect", {{"format", 1},
                              {"description", "Katzenohren für alle"},
                              {"disables", {{"makeup", true}, {"color_filter", true}}}}));
  ASSERT_EQ(descriptions_.size(), 1u);
  EXPECT_TRUE(descriptions_[0].success);
  EXPECT_EQ(descriptions_[0].text, (json{{"disableCustomBeautify", false},
                                         {"disableCustomDeform", false},
                                         {"disableCustomMakeup", true},
                                         {"disableCustomColorFilter", true},
                                         {"disableCustomSlimming", false},
                                         {"description", "Katzenohren für alle"}}));
}

TEST_F(EffectDescriptions, SpeakForEveryEffectThatPlays) {
  Play(WriteEffect("main", {{"format", 1}, {"disables", {{"makeup", true}}}}));
  Play(WriteEffect("one", {{"format", 1}, {"disables", {{"deform", true}}}}), lumivex::kGiftSlot);
  EXPECT_EQ(descriptions_[1].text["disableCustomMakeup"], true);
  EXPECT_EQ(descriptions_[1].text["disableCustomDeform"], true);
  Play(WriteEffect("other", {{"format", 1}}));
  EXPECT_EQ(descriptions_[2].text["disableCustomMakeup"], false);
  EXPECT_EQ(descriptions_[2].text["disableCustomDeform"], true);
}

TEST_F(EffectDescriptions, OfAGiftTellItsTime) {
  Play(WriteEffect("gift", {{"format", 1}, {"gift_display_time", 500}, {"layers", {RedLayer()}}}),
       kRecognitionGiftSlot);
  EXPECT_EQ(descriptions_.at(0).text, (json{{"giftDisplayTime", 500}}));
  EXPECT_TRUE(Is(Show(490), 2, 2, kRedCodes));
  EXPECT_TRUE(Is(Show(20), 2, 2, kGrey)) << "it lasts as long as it says";
  EXPECT_TRUE(messages_.empty()) << "the module itself sets the event of a gift";
}

TEST_F(EffectDescriptions, OfAFolderThatCannotBeReadSaySoWithOneLogLine) {
  const vanta_test::LogCapture log;
  const std::string folder = OwnFolder() + "/missing";
  Play(folder);
  ASSERT_EQ(descriptions_.size(), 1u);
  EXPECT_FALSE(descriptions_[0].success);
  EXPECT_EQ(descriptions_[0].text["path"], folder);
  EXPECT_EQ(log.Count("[lumivex] magic effect " + folder + ": " + folder +
                      "/effect.json: it cannot be read; give the path of a folder that holds an effect.json"),
            1u);
  EXPECT_EQ(log.LinesWith("[lumivex]").size(), 1u);
}

TEST_F(EffectDescriptions, ComeWithAFrameAndOnce) {
  const std::string folder = WriteEffect("effect", OneLayer());
  engine_->setMagicEffectWithPath(folder, kMainEffectSlot, false);
  EXPECT_TRUE(descriptions_.empty()) << "not from inside the command";
  Await([&] { return !descriptions_.empty(); });
  for (int i = 0; i < 5; ++i) Show();
  EXPECT_EQ(descriptions_.size(), 1u);
}

}  // namespace
}  // namespace lumivex_test
