#include "color/relight_stage.h"

#include <gtest/gtest.h>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/lumivex/made_faces.h"
#include "fixtures/process/alloc_counter.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex_test {
namespace {

TEST(RelightStage, AllocatesNothingWithFacesOrWithout) {
  constexpr int kFrames = 50;
  Picture picture(480, 480, kSkin);
  const auto frame = picture.Frame();
  const auto view = lumivex::ViewOf(*frame);
  ASSERT_TRUE(view);
  const lumivex::Faces none;
  const lumivex::Faces faces = {MakeFace({})};
  lumivex::RelightStage stage;
  const auto once = [&](int number) {
    stage.Apply(*view, lumivex::SpaceOf(0), {}, number % 20 < 10 ? faces : none, 0.8f);
  };
  once(0);
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < kFrames; ++i) once(i);
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

}  // namespace
}  // namespace lumivex_test
