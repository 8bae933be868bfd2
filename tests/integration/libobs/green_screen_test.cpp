// The green screen on whole libobs: what a host's screenshot of the keyed source shows.
#include <gtest/gtest.h>

#include <string>

#include "integration/support/green_screen.h"
#include "integration/support/obs_session.h"
#include "integration/support/painted_source.h"
#include "integration/support/screenshot.h"

namespace vanta_integration {
namespace {

constexpr char kRawKey[] = R"({"denoiseEnabled":false})";

// Green, with a red square in the upper left quarter.
Picture RedOnGreen(uint32_t width = 64, uint32_t height = 48) {
  Picture picture(width, height);
  picture.Fill(0, 255, 0);
  for (uint32_t y = 0; y < height / 2; ++y) {
    for (uint32_t x = 0; x < width / 2; ++x) {
      picture.At(x, y)[0] = 200;
      picture.At(x, y)[1] = 30;
    }
  }
  return picture;
}

Screenshot Shoot(PaintedSource &source, const Picture &picture) {
  source.Paint(picture);
  WaitForTicks(2);
  return TakeScreenshot(source.Get());
}

class GreenScreenPicture : public testing::Test {
 protected:
  GreenScreenPicture() { RegisterPaintedSource(); }

  const ObsSession session_;
};

TEST_F(GreenScreenPicture, BackingVanishesAndTheRestStays) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), kRawKey);
  const Screenshot shot = Shoot(source, RedOnGreen());
  ASSERT_EQ(shot.width, 64u);
  for (const auto &[x, y] : {std::pair{40u, 5u}, {5u, 40u}, {40u, 40u}, {63u, 47u}}) EXPECT_EQ(shot.At(x, y)[3], 0);
  EXPECT_EQ(shot.At(5, 5), (std::array<int, 4>{200, 30, 0, 255}));
}

}  // namespace
}  // namespace vanta_integration
