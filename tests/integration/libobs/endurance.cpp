// Plays pictures through the filter for a long time and prints, once a minute, what the process takes: memory,
// descriptors, threads. Usage: vanta_endurance [MINUTES [WIDTH HEIGHT]]. Not a test: somebody looks at the table.
#include <gtest/gtest.h>
#include <unistd.h>
#include <util/base.h>
#include <util/platform.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "common/failure.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/display.h"
#include "fixtures/libobs/obs_session.h"
#include "lumivex/lumivex_values.h"
#include "session/virtual_display.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kFramesPerSecond = 30;

_XDisplay *opened = nullptr;

long ResidentKib() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

long EntriesIn(const char *folder) {
  return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

void PrintLine(long minute, size_t in, size_t out) {
  std::printf("%6ld %12ld %11ld %7ld %9zu %9zu\n", minute, ResidentKib(), EntriesIn("/proc/self/fd"),
              EntriesIn("/proc/self/task"), in, out);
  std::fflush(stdout);
}

// Only what goes wrong: the table is to be read.
void LogTrouble(int level, const char *format, va_list args, void *) {
  if (level > LOG_ERROR) return;
  std::vfprintf(stderr, format, args);
  std::fputc('\n', stderr);
}

void Play(long minutes, uint32_t width, uint32_t height) {
  const vanta_integration::ObsSession session({.width = width, .height = height, .fps = kFramesPerSecond});
  vanta_integration::FedSource source;
  vanta_integration::BeautyChain chain(source.Get());
  chain.before.KeepCopies(false);
  chain.behind.KeepCopies(false);
  source.Show();
  session.Control().SetBeautyIntensityWithType(lumivex::kBeautySmooth, 0.6f);
  std::printf("minute resident_kib descriptors threads frames_in frames_out\n");
  auto next_frame = Clock::now();
  const auto begin = next_frame;
  long printed = -1;
  vanta_integration::FedFrame frame = vanta_integration::MakeFrame(80, VIDEO_FORMAT_NV12, width, height);
  while (printed < minutes) {
    frame.Get()->timestamp = os_gettime_ns();
    source.Feed(frame);
    next_frame += std::chrono::nanoseconds(1'000'000'000 / kFramesPerSecond);
    std::this_thread::sleep_until(next_frame);
    const long minute = std::chrono::duration_cast<std::chrono::minutes>(Clock::now() - begin).count();
    if (minute == printed) continue;
    printed = minute;
    PrintLine(minute, chain.before.Count(), chain.behind.Count());
  }
}

}  // namespace

_XDisplay *vanta_integration::Display() {
  return opened;
}

int main(int argc, char **argv) {
  const long minutes = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 30;
  const auto width = static_cast<uint32_t>(argc > 3 ? std::strtoul(argv[2], nullptr, 10) : 1280);
  const auto height = static_cast<uint32_t>(argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 720);
  base_set_log_handler(LogTrouble, nullptr);
  try {
    const vanta_run::VirtualDisplay display;
    opened = display.connection();
    Play(minutes, width, height);
  } catch (const vanta_run::Failure &failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  return testing::UnitTest::GetInstance()->Failed() ? 1 : 0;
}
