// The calls whose answer is short: the frame-rate centre, the shared textures, the adapter.
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <obs.hpp>

#include "fakes/control/fake_filter.h"
#include "fixtures/host/headless_session.h"
#include "fixtures/process/log_capture.h"
#include "registration/registration.h"
#include "textures/utf16.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

extern "C" int vanta_host_header_in_c(void);

namespace {

using namespace vanta_test;

TEST(FrameRateCalcCenter, IsOneForTheProcess) {
  FrameRateCalcCenter *other = nullptr;
  std::thread([&] { other = &FrameRateCalcCenter::Instance(); }).join();
  EXPECT_EQ(&FrameRateCalcCenter::Instance(), other);
  EXPECT_TRUE(other->observers.empty());
}

TEST(SharedTextures, NeedADrawingHostAndSaySoOnce) {
  LogCapture log;
  EXPECT_EQ(gs_texture_open_shared(5), nullptr);
  EXPECT_EQ(gs_texture_get_shared_handle(nullptr), GS_INVALID_HANDLE);
  EXPECT_LT(gs_texture_acquire_sync(nullptr, 1, 0), 0);
  EXPECT_LT(gs_texture_release_sync(nullptr, 1), 0);
  EXPECT_EQ(log.Lines().size(), 1u);
  EXPECT_TRUE(log.Has(LOG_INFO, "[vanta_host] no shared textures: libobs does not draw with EGL"));
}

TEST(Adapter, IsUnknownWithoutLibobsAndWithoutVideo) {
  EXPECT_STREQ(vanta_host_adapter_name(), "");
  HeadlessSession obs;
  EXPECT_STREQ(vanta_host_adapter_name(), "");
  const HostAdapterDesc desc = GetD3DAdapterInfo();
  EXPECT_EQ(desc.description[0], 0);
  EXPECT_EQ(desc.vendor_id, 0u);
  EXPECT_EQ(desc.dedicated_video_memory, 0u);
}

std::u16string AdapterText() {
  return GetD3DAdapterInfo().description;
}

TEST(Adapter, IsTheRendererOnceVideoIsUp) {
  HeadlessSession obs;
  vanta_host_attach();
  ASSERT_TRUE(StartVideo());
  EXPECT_EQ(AdapterText(), u"");  // nobody has asked the driver yet
  EXPECT_NE(std::string(vanta_host_adapter_name()).find("llvmpipe"), std::string::npos) << vanta_host_adapter_name();
  EXPECT_NE(AdapterText().find(u"llvmpipe"), std::u16string::npos);
  vanta_host_detach();
  EXPECT_EQ(AdapterText(), u"");
}

TEST(Adapter, IsLearntWhenAFilterIsCreated) {
  HeadlessSession obs;
  ASSERT_TRUE(StartVideo());
  const HostSourceInfo record = FakeRecord("fake_filter");
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  OBSSourceAutoRelease filter = obs_source_create_private("fake_filter", "one", nullptr);
  EXPECT_NE(AdapterText().find(u"llvmpipe"), std::u16string::npos);
}

std::u16string Utf16(const std::string &text, size_t size) {
  std::u16string out(size + 1, u'#');
  vanta_host::CopyUtf16(text, out.data(), size);
  EXPECT_EQ(out[size], u'#');
  return out.substr(0, out.find(u'\0'));
}

TEST(Utf16, HoldsEveryCharacter) {
  EXPECT_EQ(Utf16("a\xC3\xA9\xE6\x96\x87\xF0\x9F\x98\x80z", 128), u"a\u00E9\u6587\U0001F600z");
}

TEST(Utf16, IsCutBetweenCharacters) {
  EXPECT_EQ(Utf16("abcd", 4), u"abc");
  EXPECT_EQ(Utf16("ab\xF0\x9F\x98\x80", 4), u"ab");
  EXPECT_EQ(Utf16("ab\xF0\x9F\x98\x80", 5), u"ab\U0001F600");
  EXPECT_EQ(Utf16("abc", 1), u"");
}

TEST(Utf16, OfTextThatIsNotUtf8IsEmpty) {
  EXPECT_EQ(Utf16("a\xFF\xFE", 8), u"");
  EXPECT_EQ(Utf16("", 8), u"");
}

TEST(Header, IsUsableFromC) {
  EXPECT_EQ(vanta_host_header_in_c(), VANTA_SWITCH_COUNT);
}

}  // namespace
