#include "greenscreen/passes/denoise_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DenoisePass : public GreenScreenPassFixture {
 protected:
  DenoisePass() { EXPECT_TRUE(pass_.Create()); }
  ~DenoisePass() override { pass_.Destroy(); }

  gs_texture_t *Run(vanta::FrameSize size = kSize) { return pass_.Run(effect_, &key_, size, 15.0f); }

  vanta::DenoisePass pass_;
};

TEST_F(DenoisePass, ReadsItsLastResult) {
  Run();
  Run();
  EXPECT_THAT(Passes(), ElementsAre("Denoise texrender2 64x48", "Denoise texrender1 64x48"));
  EXPECT_THAT(Values("denoise_init_flag"), ElementsAre("1", "0"));
  EXPECT_THAT(Values("prev_state_tex"), ElementsAre("texrender2.texture"));
}

TEST_F(DenoisePass, BeginsAnewOnceAfterAChangeOfSize) {
  Run();
  Run({32, 48});
  Run({32, 48});
  EXPECT_THAT(Values("denoise_init_flag"), ElementsAre("1", "1", "0"));
}

TEST_F(DenoisePass, HasNothingToDoWithoutAKey) {
  EXPECT_EQ(pass_.Run(effect_, nullptr, kSize, 15.0f), nullptr);
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_THAT(Passes(), IsEmpty());
}

TEST_F(DenoisePass, NamesItsFailureWhereATargetIsMissing) {
  pass_.Destroy();
  EXPECT_EQ(Run(), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("denoise missing texture/effect param"));
}

}  // namespace
}  // namespace vanta_test
