// The host's request for the shared-texture path.
#include "beauty/worker/interop_requests.h"

#include <dlfcn.h>

#include <atomic>
#include <obs.hpp>

#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

std::atomic<bool> texts_are_null{false};

}  // namespace

// In place of libobs's, which never gives null: other hosts' settings can.
extern "C" const char *obs_data_get_string(obs_data_t *data, const char *name) {
  if (texts_are_null) return nullptr;
  static const auto own =
      reinterpret_cast<const char *(*)(obs_data_t *, const char *)>(dlsym(RTLD_NEXT, "obs_data_get_string"));
  return own(data, name);
}

namespace {

using namespace vanta_test;

using vanta_test::kInfo;

class InteropRequests : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }

  void Update(const std::string &json) {
    const OBSDataAutoRelease settings = obs_data_create_from_json(json.c_str());
    ASSERT_NE(settings.Get(), nullptr) << json;
    worker_->update(settings);
  }
};

// Requests do not wait for commands, whichever way these go.
class InteropRequestsEitherWay : public InteropRequests, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    host_double::Change([](HostSwitches &switches) { switches.async_beauty = GetParam(); });
    InteropRequests::SetUp();
  }
};

INSTANTIATE_TEST_SUITE_P(Commands, InteropRequestsEitherWay, testing::Bool(),
                         [](const auto &param) { return param.param ? "Queued" : "Direct"; });

TEST_F(InteropRequests, SettingsWithoutARequestAreNoRequest) {
  Update("{\"no_green_matting\":true}");
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] update"));
  EXPECT_FALSE(log_.HasText("put open task"));
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 0u);
}

TEST_F(InteropRequests, RequestIsLoggedWhenItIsMade) {
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] update [open]"));
  EXPECT_TRUE(log_.Has(kInfo, "put open task: open"));
}

TEST_F(InteropRequests, RequestThatHoldsANullTextIsPassedOver) {
  ASSERT_TRUE(Feed());
  texts_are_null = true;
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  texts_are_null = false;
  ASSERT_TRUE(Feed());
  EXPECT_FALSE(log_.HasText("put open task"));
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 0u);
}

TEST_F(InteropRequests, RequestOfAnotherTypeThanTextIsPassedOver) {
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  for (const char *value : {"true", "false", "1", "0.5", "{}", "[]", "null"}) {
    SCOPED_TRACE(value);
    Update(std::string("{\"lx_enable_nvdx_interop\":") + value + "}");
    ASSERT_TRUE(Feed());
    EXPECT_TRUE(Dequeue().success);
    EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] update"));
    EXPECT_FALSE(log_.HasText("put open task"));
    EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] cur "));
  }
}

TEST_F(InteropRequests, RequestOfAnotherTypeLeavesAnEarlierOneStanding) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  Update("{\"lx_enable_nvdx_interop\":true}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [1]"));
}

TEST_P(InteropRequestsEitherWay, RequestThatDiffersRecreatesTheProcessor) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [1]"));
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] LumivexProcessor recreate because of LX AB change"));
  EXPECT_EQ(scripted_engine::Created(), 2);
}

TEST_P(InteropRequestsEitherWay, RequestEqualToTheStateIsLoggedAndRecreatesNothing) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [0]"));
  EXPECT_FALSE(log_.HasText("because of LX AB change"));
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_P(InteropRequestsEitherWay, OnlyTheLatestRequestCounts) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 1u);
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [0]"));
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_F(InteropRequests, AnythingButOpenMeansOff) {
  ASSERT_TRUE(Feed());
  for (const char *text : {"Open", "open ", "1", ""}) {
    Update("{\"lx_enable_nvdx_interop\":\"" + std::string(text) + "\"}");
    ASSERT_TRUE(Feed());
    EXPECT_TRUE(Dequeue().success);
  }
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] cur [0] target [0]"), 4u);
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_F(InteropRequests, RequestIsJudgedOnce) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 1u);
}

TEST_F(InteropRequests, RequestWaitsForAFrameThatNeedsNoRecreation) {
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  ASSERT_TRUE(Feed());  // recreates for its size
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 1u);
}

TEST_F(InteropRequests, RecreatedProcessorProbesAnewAndTurnsThePathOn) {
  scripted_engine::Change([](EngineScript &script) {
    script.interop = true;
    script.out_format = 5;
  });
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(host_double::Switches().shared_texture);
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [1] target [0]"));
  EXPECT_EQ(scripted_engine::Count("isNVDXInteropSupported(1, 500)"), 2u);
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] change from 0 to 1"), 2u);
}

// ---- Without a worker ----

class InteropRequestsAlone : public testing::Test {
 protected:
  void Request(const char *text) {
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_string(settings, "lx_enable_nvdx_interop", text);
    requests_.Request(settings);
  }

  vanta::InteropRequests requests_;
};

TEST_F(InteropRequestsAlone, NoRequestChangesNothing) {
  EXPECT_FALSE(requests_.ProcessorMustChange());
}

TEST_F(InteropRequestsAlone, EachPathAsksForAChangeToTheOther) {
  for (const bool shared : {false, true}) {
    host_double::Change([shared](HostSwitches &switches) { switches.shared_texture = shared; });
    Request("open");
    EXPECT_EQ(requests_.ProcessorMustChange(), !shared);
    Request("close");
    EXPECT_EQ(requests_.ProcessorMustChange(), shared);
  }
}

TEST_F(InteropRequestsAlone, JudgedRequestsAreGone) {
  Request("open");
  Request("open");
  EXPECT_TRUE(requests_.ProcessorMustChange());
  EXPECT_FALSE(requests_.ProcessorMustChange());
}

}  // namespace
