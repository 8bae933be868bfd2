#include "pages/page_refresh.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "fakes/graphics/gs_recorder.h"

namespace vanta_host {
namespace {

constexpr uint64_t kSecondNs = 1000000000;

std::string state;
int asked = 0;

class PageRefreshTest : public testing::Test {
 protected:
  void SetUp() override {
    state = "before";
    asked = 0;
    BuildPage();
  }

  // As a host does that shows the filter's page.
  void BuildPage() {
    pages_.Built(
        &filter_,
        [](obs_source_t *) {
          return FilterStatus{state, "", OBS_TEXT_INFO_NORMAL};
        },
        state, false, false);
  }
  static void Ask(OBSSourceAutoRelease) { ++asked; }

  obs_source filter_;
  PageRefresh pages_{Ask};
};

TEST_F(PageRefreshTest, PageThatStillHoldsIsLeftAlone) {
  pages_.Tick(10 * kSecondNs);
  EXPECT_EQ(asked, 0);
}

TEST_F(PageRefreshTest, PageWhoseStateHasChangedIsAskedForOnce) {
  state = "after";
  pages_.Tick(10 * kSecondNs);
  pages_.Tick(12 * kSecondNs);
  EXPECT_EQ(asked, 1);
}

TEST_F(PageRefreshTest, NoPageIsAskedForWhileOneIsOnItsWay) {
  state = "after";
  pages_.Tick(10 * kSecondNs);
  BuildPage();  // it takes long: the state changes again before it is shown
  state = "later";
  pages_.Tick(20 * kSecondNs);
  EXPECT_EQ(asked, 1);
}

TEST_F(PageRefreshTest, NextPageIsAskedForASecondAfterTheLastOneIsShown) {
  state = "after";
  pages_.Tick(10 * kSecondNs);
  BuildPage();
  pages_.Shown(20 * kSecondNs);
  state = "later";
  pages_.Tick(20 * kSecondNs + kSecondNs / 2);
  EXPECT_EQ(asked, 1);
  pages_.Tick(21 * kSecondNs);
  EXPECT_EQ(asked, 2);
}

}  // namespace
}  // namespace vanta_host
