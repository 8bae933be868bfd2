#include <gtest/gtest.h>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/alloc_counter.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 180;
constexpr int kFrames = 50;

uint64_t Allocations(LX::LumivexSync &engine) {
  Picture picture(kWidth, kHeight, kSkin);
  const auto frame = picture.Frame();
  for (int i = 0; i < 3; ++i) EXPECT_NE(engine.processFrameData(frame), nullptr);
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < kFrames; ++i) {
    frame->pixel_format = -1;
    engine.processFrameData(frame);
  }
  return counter.OnThisThread();
}

TEST(SteadyState, OfTheWholePictureAllocatesNothing) {
  const auto engine = MakeEngine(kWidth, kHeight);
  for (const auto type : {lumivex::kBeautySharpen, lumivex::kBeautyBrightness, lumivex::kBeautyContrast}) {
    engine->setBeautyIntensityWithType(type, 0.6f);
  }
  engine->setEffectEnabledWithEffectType(lumivex::kEffectGreenMatting, true);
  SetLookup(*engine,
            WriteFile("mix.cube", "LUT_3D_SIZE 2\n0 0 0\n1 0 .1\n0 1 0\n1 1 0\n.1 0 1\n1 0 1\n0 1 1\n1 .9 1\n"));
  EXPECT_EQ(Allocations(*engine), 0u);
}

}  // namespace
}  // namespace lumivex_test
