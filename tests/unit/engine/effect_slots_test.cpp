#include "engine/effect_slots.h"

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;
using vanta_test::kWarning;

// The fixture hears the host's signals.
class EffectSlots : public RenderFixture {
 protected:
  // "path in slot".
  std::string Choose(const std::string &path, LXEffectSlot slot) {
    const vanta::SlotEffect effect = slots_.Choose(path, slot);
    return effect.path + " in " + std::to_string(effect.slot);
  }

  vanta::EffectSlots slots_;
};

TEST_F(EffectSlots, MainEffectPassesAndIsLogged) {
  EXPECT_EQ(Choose("cat", kMainEffectSlot), "cat in 0");
  EXPECT_TRUE(log_.Has(kInfo, "magic_main_path_= cat"));
  EXPECT_TRUE(signals().empty());
}

TEST_F(EffectSlots, EmptyMainPathClearsTheDisableFlags) {
  EXPECT_EQ(Choose("", kMainEffectSlot), " in 0");
  EXPECT_EQ(signals(), std::vector<std::string>{"zt_magic_callback(00000)"});
}

TEST_F(EffectSlots, EndOfAGiftBringsTheMainEffectBack) {
  Choose("cat", kMainEffectSlot);
  EXPECT_EQ(Choose("gift", kRecognitionGiftSlot), "gift in 2");
  EXPECT_TRUE(log_.Has(kInfo, "magic_recognition_gift_path_= gift"));
  EXPECT_EQ(Choose("", kRecognitionGiftSlot), "cat in 0");
  EXPECT_TRUE(signals().empty());
}

TEST_F(EffectSlots, EndOfAGiftWithoutAMainEffectEmptiesTheMainSlot) {
  Choose("cat", kMainEffectSlot);
  Choose("", kMainEffectSlot);
  Choose("gift", kRecognitionGiftSlot);
  EXPECT_EQ(Choose("", kRecognitionGiftSlot), " in 0");
}

TEST_F(EffectSlots, UnknownSlotIsAWarningAndPasses) {
  EXPECT_EQ(Choose("cat", LXEffectSlot(1)), "cat in 1");
  EXPECT_TRUE(log_.Has(kWarning, "no slot type= 1"));
}

TEST_F(EffectSlots, ClearedForgetTheMainEffect) {
  Choose("cat", kMainEffectSlot);
  slots_.ClearMagicDisableFlags();
  EXPECT_EQ(signals(), std::vector<std::string>{"zt_magic_callback(00000)"});
  EXPECT_EQ(Choose("", kRecognitionGiftSlot), " in 0");
}

}  // namespace
