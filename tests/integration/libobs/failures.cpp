// The three filters on whole libobs while one thing that they ask for fails.
//
//   vanta_failures KIND FIRST LAST [gpu]
//
// KIND as in fakes/failures/failing_calls.h. For k from FIRST to LAST a life of the three filters in which the k-th
// fails, from their creation to pictures that they have worked on; it ends early when there are no k calls. The picture
// goes on all the while, or a filter is not made, and libobs has nothing left over at the end. A line for each life; 0
// when all went well. With `gpu` textures go from thread to thread, as where a GPU draws.
#include <gtest/gtest.h>
#include <util/base.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include "common/failure.h"
#include "fakes/failures/failing_calls.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/display.h"
#include "fixtures/libobs/fed_source.h"
#include "fixtures/libobs/frame_tap.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/wait.h"
#include "lumivex/lumivex_values.h"
#include "session/virtual_display.h"
#include "vanta_host.h"

namespace {

using namespace vanta_integration;
namespace failing_calls = vanta_test::failing_calls;

constexpr uint32_t kWidth = 64, kHeight = 48;
constexpr size_t kFramesMeanwhile = 6, kFramesAfter = 6;
constexpr int kShade = 80;
constexpr std::array kPlain = {89, 72, 53, 255};  // the middle of a frame of that shade, without filters
constexpr int kNear = 24;                         // levels that the looks of an engine may change it by

_XDisplay *opened = nullptr;
int broken = 0;

// Owns: a filter on a source, if it could be made. Threads: the main one.
class Filter {
 public:
  Filter(obs_source_t *source, const char *id, const char *settings) : source_(source) {
    const OBSDataAutoRelease data = obs_data_create_from_json(settings);
    try {
      filter_ = obs_source_create_private(id, id, data);
    } catch (const std::exception &error) {
      std::printf("%s: left its creation by %s\n", id, error.what());
      ++broken;
    }
    if (filter_) obs_source_filter_add(source_, filter_);
  }
  ~Filter() {
    if (filter_) RemoveFilterSafely(source_, filter_);
  }
  Filter(const Filter &) = delete;
  Filter &operator=(const Filter &) = delete;

  // libobs keeps a source whose filter could not be made; it passes the picture.
  bool Made() const { return filter_ && obs_obj_get_data(filter_) != nullptr; }

 private:
  obs_source_t *const source_;
  OBSSourceAutoRelease filter_;
};

// On a source between two taps.
struct Chain {
  explicit Chain(obs_source_t *of) : source(of) {
    before.KeepCopies(false);
    behind.KeepCopies(false);
    obs_source_filter_add(source, before.Get());
  }
  ~Chain() {
    for (auto *filter : {&landmarks, &green, &beauty}) filter->reset();
    RemoveFilterSafely(source, before.Get());
    RemoveFilterSafely(source, behind.Get());
  }
  void Make() {
    beauty = std::make_unique<Filter>(source, "face_beauty_filter_v2", R"({"beauty_smooth": 20, "beauty_lookup": ""})");
    obs_source_filter_add(source, behind.Get());
    green = std::make_unique<Filter>(
        source, "LX_green_screen_filter",
        R"({"config": "{\"keyColor\":[0.1,0.8,0.2],\"alphaShrink\":1,\"fgAlphaBlurEnabled\":true}"})");
    landmarks = std::make_unique<Filter>(source, "tessera_landmark_filter", "{}");
  }

  obs_source_t *const source;
  FrameTap before, behind;
  std::unique_ptr<Filter> beauty, green, landmarks;
};

// Feeds until `count` more frames have come out; how many did.
void Feed(FedSource &source, Chain &chain, size_t count) {
  const size_t until = chain.behind.Count() + count;
  const bool came = vanta_test::WaitUntil(
      [&] {
        source.Feed(MakeFrame(kShade, VIDEO_FORMAT_NV12, kWidth, kHeight));
        WaitForTicks(1);
        TakeScreenshot(source.Get());
        return chain.behind.Count() >= until;
      },
      "frames behind the beauty filter");
  if (!came) ++broken;
}

bool IsPlain(const std::array<int, 4> &pixel) {
  for (size_t i = 0; i < 4; ++i) {
    if (std::abs(pixel[i] - kPlain[i]) > kNear) return false;
  }
  return true;
}

std::string Text(const std::array<int, 4> &pixel) {
  std::string text;
  for (const int part : pixel) text += (text.empty() ? "" : " ") + std::to_string(part);
  return text;
}

// How many such calls there were.
int Live(const char *name, failing_calls::Kind kind, int k) {
  FedSource source;
  source.Show();
  int calls = 0;
  {
    Chain chain(source.Get());
    failing_calls::Arm(kind, k);
    chain.Make();
    Feed(source, chain, kFramesMeanwhile);
    calls = failing_calls::Disarm();
    Feed(source, chain, kFramesAfter);
    const Screenshot shot = TakeScreenshot(source.Get());
    const std::array<int, 4> pixel =
        shot.pixels.empty() ? std::array{-1, -1, -1, -1} : shot.At(kWidth / 2, kHeight / 2);
    const bool goes_on = IsPlain(pixel);
    if (!goes_on) ++broken;
    std::printf("%s %d: %d calls, made %d %d %d, picture %s%s\n", name, k, calls, chain.beauty->Made(),
                chain.green->Made(), chain.landmarks->Made(), Text(pixel).c_str(),
                goes_on ? "" : ", which is not the source's");
    std::fflush(stdout);
  }
  source.Hide();
  return calls;
}

void LiveAll(const char *name, failing_calls::Kind kind, int first, int last, bool gpu) {
  const ObsSession session({.width = kWidth, .height = kHeight, .fps = 250});
  vanta_host_set_switch(VANTA_SWITCH_ASYNC_GPU_MAP, gpu);
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, gpu);
  for (int k = first; k <= last; ++k) {
    if (Live(name, kind, k) < k) break;
    while (obs_wait_for_destroy_queue()) {
    }
    vanta_host_end_pass_through();
  }
}

void LogTrouble(int level, const char *format, va_list args, void *) {
  if (level > LOG_WARNING || !std::getenv("VANTA_FAILURES_LOG")) return;
  std::vfprintf(stderr, format, args);
  std::fputc('\n', stderr);
}

}  // namespace

_XDisplay *vanta_integration::Display() {
  return opened;
}

int main(int argc, char **argv) {
  const auto kind = argc >= 4 ? failing_calls::FindKind(argv[1]) : std::nullopt;
  if (!kind) {
    std::fprintf(stderr, "usage: vanta_failures texture|effect|buffer|thread|file|socket|context FIRST LAST [gpu]\n");
    return 2;
  }
  base_set_log_handler(LogTrouble, nullptr);
  try {
    const vanta_run::VirtualDisplay display;
    opened = display.connection();
    LiveAll(argv[1], *kind, std::atoi(argv[2]), std::atoi(argv[3]), argc > 4);
  } catch (const vanta_run::Failure &failure) {
    std::printf("skipped: display: %s\n", failure.what());
    return 0;
  }
  return broken != 0 || testing::UnitTest::GetInstance()->Failed() ? 1 : 0;
}
