// What becomes of an effect's description of itself.
#include <dlfcn.h>
#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>
#include <thread>

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {
bool code_page_refuses = false;

thread_local bool slept = false;  // this thread, ever

// An event that was set, and by whom.
struct Post {
  const sem_t *semaphore;
  std::thread::id thread;
  bool slept;  // the thread that set it, before
};
std::mutex posts_mutex;
std::vector<Post> posts;
}  // namespace

// A system whose code page is Latin-1, in place of whatever locale the test runs in.
extern "C" {
size_t os_mbs_to_wcs(const char *, size_t size, wchar_t *, size_t) {
  return code_page_refuses ? static_cast<size_t>(-1) : size;
}

__attribute__((visibility("default"))) int nanosleep(const timespec *time, timespec *left) {
  slept = true;
  errno = clock_nanosleep(CLOCK_REALTIME, 0, time, left);
  return errno == 0 ? 0 : -1;
}

__attribute__((visibility("default"))) int sem_post(sem_t *semaphore) noexcept {
  {
    std::lock_guard<std::mutex> lock(posts_mutex);
    posts.push_back({semaphore, std::this_thread::get_id(), slept});
  }
  static const auto real = reinterpret_cast<int (*)(sem_t *)>(dlsym(RTLD_NEXT, "sem_post"));
  return real(semaphore);
}

size_t os_mbs_to_utf8_ptr(const char *text, size_t size, char **out) {
  EXPECT_FALSE(code_page_refuses) << "would read past its buffer";
  std::string utf8;
  for (size_t i = 0; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      utf8 += text[i];
    } else {
      utf8 += static_cast<char>(0xC0 | byte >> 6);
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  *out = static_cast<char *>(bmalloc(utf8.size() + 1));
  std::memcpy(*out, utf8.c_str(), utf8.size() + 1);
  return utf8.size();
}
}

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kError;
using vanta_test::kInfo;
constexpr char kTakesOver[] = R"("disableCustomBeautify":true,"disableCustomDeform":false,"disableCustomMakeup":true,)"
                              R"("disableCustomColorFilter":false,"disableCustomSlimming":true)";
constexpr char kFirstTry[] = "[beauty] LumivexRender::MagicFaceCallBack failed to parse config json ";
constexpr char kSecondTry[] = "[beauty] LumivexRender::MagicFaceCallBack ansi_to_utf8 failed to parse config json ";

// What a host application makes here in place of an event object.
class HostEvent {
 public:
  explicit HostEvent(const std::string &name)
      : name_(name + std::to_string(getpid())), handle_(sem_open(("/" + name_).c_str(), O_CREAT | O_EXCL, 0600, 0)) {
    std::lock_guard<std::mutex> lock(posts_mutex);
    posts.clear();  // an earlier event may have stood at the same address
  }
  ~HostEvent() {
    sem_close(handle_);
    sem_unlink(("/" + name_).c_str());
  }
  bool Take() const { return sem_trywait(handle_) == 0; }
  const std::string &name() const { return name_; }
  std::vector<Post> Posts() const {
    std::lock_guard<std::mutex> lock(posts_mutex);
    std::vector<Post> own = posts;
    std::erase_if(own, [this](const Post &post) { return post.semaphore != handle_; });
    return own;
  }

 private:
  std::string name_;
  sem_t *handle_;
};

class EffectDescription : public RenderFixture {
 protected:
  void SetUp() override {
    Start();
    code_page_refuses = false;
    describe_ = scripted_engine::Callbacks(1).effect_description;
  }
  void ExpectBothTriesFailed(const std::string &desc) {
    const size_t signals_before = signals().size();
    describe_(desc, true);
    EXPECT_EQ(log_.LinesWith(kFirstTry).size(), 1u) << desc;
    EXPECT_EQ(log_.LinesWith(kSecondTry).size(), 1u) << desc;
    EXPECT_EQ(signals().size(), signals_before) << desc;
    EXPECT_TRUE(host_double::Reports().empty()) << desc;
    log_.Clear();
  }
  void PlayWithEvent(const std::string &event_name) {
    processor_->SetMagicEffectWithEvent("gift", kMainEffectSlot, true, event_name);
  }
  std::function<void(const std::string &, bool)> describe_;
};

TEST_F(EffectDescription, FiveFlagsBecomeASignal) {
  describe_("{" + std::string(kTakesOver) + "}", true);
  EXPECT_EQ(signals().back(), "zt_magic_callback(10101)");
  EXPECT_TRUE(log_.Has(kInfo,
                       "[beauty] ExecZtMagicCallBack: disableCustomBeautify:1,disableCustomDeform:0,"
                       "disableCustomMakeup:1,disableCustomColorFilter:0,disableCustomSlimming:1"));
}

TEST_F(EffectDescription, EachKeyHasItsOwnField) {
  const Texts keys = {"disableCustomBeautify", "disableCustomDeform", "disableCustomMakeup", "disableCustomColorFilter",
                      "disableCustomSlimming"};
  for (size_t set = 0; set < keys.size(); ++set) {
    std::string desc;
    std::string expected = "00000";
    expected[set] = '1';
    for (size_t i = 0; i < keys.size(); ++i)
      desc += (i == 0 ? "{\"" : ",\"") + keys[i] + (i == set ? "\":true" : "\":false");
    describe_(desc + "}", true);
    EXPECT_EQ(signals().back(), "zt_magic_callback(" + expected + ")");
  }
}

TEST_F(EffectDescription, UnsuccessfulOneIsNotRead) {
  describe_("{" + std::string(kTakesOver) + "}", false);
  EXPECT_EQ(signals().size(), 1u) << "the start-up signal alone";
  EXPECT_TRUE(log_.Has(kError, "[beauty] LumivexRender::MagicFaceCallBack CallBack failed "));
}

TEST_F(EffectDescription, TextInTheCodePageIsReadOnTheSecondTry) {
  describe_("{\"name\":\"caf\xE9\"," + std::string(kTakesOver) + "}", true);
  EXPECT_EQ(log_.LinesWith(kFirstTry).size(), 1u);
  EXPECT_TRUE(log_.LinesWith(kSecondTry).empty());
  EXPECT_EQ(signals().back(), "zt_magic_callback(10101)");
}

TEST_F(EffectDescription, TextThatIsNoneOfTheCodePageFailsTwiceAndIsNotConverted) {
  code_page_refuses = true;
  ExpectBothTriesFailed("{\"name\":\"caf\xE9\"," + std::string(kTakesOver) + "}");
}

TEST_F(EffectDescription, TextThatDoesNotParseIsTwoErrorLines) {
  for (const char *desc : {"", "{", "{]", "\xFF", "cat", "{\"giftDisplayTime\":1e999}"}) ExpectBothTriesFailed(desc);
}

TEST_F(EffectDescription, ErrorLinesAreErrors) {
  describe_("{", true);
  EXPECT_EQ(log_.LinesWith(kFirstTry).at(0).level, kError);
  EXPECT_EQ(log_.LinesWith(kSecondTry).at(0).level, kError);
}

TEST_F(EffectDescription, MissingKeyOrOneThatIsNoBooleanSendsNothing) {
  ExpectBothTriesFailed("{}");
  ExpectBothTriesFailed("[]");
  ExpectBothTriesFailed("7");
  ExpectBothTriesFailed(R"({"disableCustomBeautify":true})");
  ExpectBothTriesFailed(R"({"disableCustomBeautify":1,"disableCustomDeform":false,"disableCustomMakeup":true,)"
                        R"("disableCustomColorFilter":false,"disableCustomSlimming":true})");
}

TEST_F(EffectDescription, NullIsOneErrorLineAndNoSecondTry) {
  describe_("null", true);
  EXPECT_TRUE(log_.Has(kError, "[beauty] LumivexRender::FormatMagicCallbackJson parse json text:null fail"));
  EXPECT_TRUE(log_.LinesWith(kSecondTry).empty());
  EXPECT_EQ(signals().size(), 1u);
}

// ---- Gifts ----

TEST_F(EffectDescription, GiftIsReportedAndSetsItsEventAtItsEnd) {
  const HostEvent event("vanta_gift");
  PlayWithEvent(event.name());
  describe_(R"({"giftDisplayTime":20})", true);
  EXPECT_TRUE(log_.WaitFor(kInfo, "[beauty] ExecGiftCallBack: open event Success:" + event.name()));
  EXPECT_TRUE(event.Take());
  EXPECT_FALSE(event.Take()) << "once";
  ASSERT_EQ(event.Posts().size(), 1u);
  EXPECT_TRUE(event.Posts()[0].slept);
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{8, "{\"displaytime\":\"20\",\"event_name\":\"" + event.name() + "\"}"}}));
  EXPECT_EQ(signals().size(), 1u) << "no flags from a gift";
}

TEST_F(EffectDescription, GiftWithoutTimeSetsItsEventAtOnceFromItsThread) {
  const HostEvent event("vanta_gift");
  PlayWithEvent(event.name());
  describe_(R"({"giftDisplayTime":0})", true);
  EXPECT_TRUE(log_.WaitForText("open event Success:"));
  describe_(R"({"giftDisplayTime":-9223372036854775808})", true);
  EXPECT_TRUE(log_.WaitForText("open event Success:", 2));
  ASSERT_EQ(event.Posts().size(), 2u);
  for (const Post &post : event.Posts()) {
    EXPECT_FALSE(post.slept);
    EXPECT_NE(post.thread, std::this_thread::get_id());
  }
}

TEST_F(EffectDescription, GiftOutlivesTheProcessor) {
  const HostEvent event("vanta_gift");
  PlayWithEvent(event.name());
  describe_(R"({"giftDisplayTime":50})", true);
  processor_.reset();
  EXPECT_TRUE(log_.WaitForText("open event Success:"));
  EXPECT_TRUE(event.Take());
}

TEST_F(EffectDescription, GiftWhoseEventNobodyMadeIsAnErrorLine) {
  PlayWithEvent("vanta_nobody_made_this");
  describe_(R"({"giftDisplayTime":0})", true);
  EXPECT_TRUE(log_.WaitFor(kError, "[beauty] ExecGiftCallBack: open event failed:vanta_nobody_made_this"));
}

TEST_F(EffectDescription, GiftWithoutAnEventIsOnlyReported) {
  describe_(R"({"giftDisplayTime":0})", true);
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>{{8, R"({"displaytime":"0","event_name":""})"}}));
}

TEST_F(EffectDescription, GiftTimeLosesItsFractionAndEndsAtTheLargestNumber) {
  describe_(R"({"giftDisplayTime":2.9})", true);
  describe_(R"({"giftDisplayTime":-2.9})", true);
  describe_(R"({"giftDisplayTime":1e300})", true);
  describe_(R"({"giftDisplayTime":18446744073709551615})", true);
  describe_(R"({"giftDisplayTime":-1e300})", true);
  Texts times;
  for (const HostReport &report : host_double::Reports()) times.push_back(report.body.substr(0, 40));
  const auto body = [](const std::string &time) {
    return (R"({"displaytime":")" + time + R"(","event_name":""})").substr(0, 40);
  };
  EXPECT_EQ(times, (Texts{body("2"), body("-2"), body("9223372036854775807"), body("9223372036854775807"),
                          body("-9223372036854775808")}));
}

TEST_F(EffectDescription, GiftWithTheLongestTimeDoesNotEndAtOnce) {
  const HostEvent event("vanta_gift");
  PlayWithEvent(event.name());
  describe_(R"({"giftDisplayTime":9223372036854775807})", true);
  // A sum that wrapped round would be in the past: its event would come no later than that of a short gift behind it.
  describe_(R"({"giftDisplayTime":100})", true);
  EXPECT_TRUE(log_.WaitForText("open event Success:"));
  EXPECT_EQ(log_.CountWith("open event Success:"), 1u);
}

TEST_F(EffectDescription, GiftTimeThatIsNoNumberIsTwoErrorLines) {
  for (const char *desc : {R"({"giftDisplayTime":"5"})", R"({"giftDisplayTime":true})", R"({"giftDisplayTime":null})",
                           R"({"giftDisplayTime":{}})"})
    ExpectBothTriesFailed(desc);
}

TEST_F(EffectDescription, EventNameCannotActAsAFormatInTheReport) {
  PlayWithEvent("100%s%n");
  describe_(R"({"giftDisplayTime":0})", true);
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{8, R"({"displaytime":"0","event_name":"100\u0025s\u0025n"})"}}));
  EXPECT_TRUE(log_.WaitForText("open event failed:100%s%n"));
}

TEST_F(EffectDescription, EventNameInTheCodePageIsStillSet) {
  const HostEvent event("vanta_caf\xE9");
  PlayWithEvent(event.name());
  describe_(R"({"giftDisplayTime":0})", true);
  EXPECT_TRUE(log_.WaitForText("open event Success:"));
  EXPECT_TRUE(event.Take());
}

}  // namespace
