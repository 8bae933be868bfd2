// What the runner tells of a portrait that speaks and blinks, picture by picture.
#include "magic/face_triggers.h"

#include <gtest/gtest.h>

#include "fixtures/lumivex/made_faces.h"
#include "fixtures/portrait/expressions.h"
#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"

namespace lumivex_test {
namespace {

using lumivex::FaceTrigger;
using vanta_test::PortraitPicture;

class FaceTriggersOfAPortrait : public ::testing::Test {
 protected:
  void Look(PortraitPicture picture, int times) {  // so many frames of it
    for (int i = 0; i < times; ++i) {
      const auto read = reader_.Run(picture);
      ASSERT_EQ(read.size(), 1u);
      lumivex::Face face = MakeFace({});
      face.expression = {1.0f,
                         {read[0].mouth_open, read[0].mouth_confidence},
                         {read[0].eyes_open[0], read[0].eyes_confidence[0]},
                         {read[0].eyes_open[1], read[0].eyes_confidence[1]}};
      triggers_.Look({face}, now_ms_ += 33);
    }
  }

  bool MouthIsOpen() const { return triggers_.Since(FaceTrigger::kMouthOpen, 0).has_value(); }
  bool HasBlinked() const { return triggers_.Since(FaceTrigger::kBlink, 0).has_value(); }

  static PortraitPicture Calm() { return vanta_test::PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), {}); }

  vanta_test::FaceReader reader_;
  lumivex::FaceTriggers triggers_;
  int64_t now_ms_ = 0;
};

TEST_F(FaceTriggersOfAPortrait, TellAnOpenMouthAndABlink) {
  Look(Calm(), 10);
  EXPECT_FALSE(MouthIsOpen()) << "she smiles";
  PortraitPicture speaking = Calm();
  OpenMouth(speaking, 0.3F);
  Look(speaking, 6);
  EXPECT_TRUE(MouthIsOpen());
  Look(Calm(), 6);
  EXPECT_FALSE(MouthIsOpen());
  EXPECT_FALSE(HasBlinked());
  PortraitPicture blink = Calm();
  CloseEyes(blink, 1);
  Look(blink, 5);
  EXPECT_FALSE(HasBlinked()) << "before the lids have opened again";
  Look(Calm(), 5);
  EXPECT_TRUE(HasBlinked());
  EXPECT_FALSE(MouthIsOpen());
}

}  // namespace
}  // namespace lumivex_test
