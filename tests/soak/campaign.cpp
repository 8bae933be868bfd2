#include "soak/campaign.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>
#include <util/base.h>
#include <util/bmem.h>

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/failure.h"
#include "fixtures/libobs/display.h"
#include "session/virtual_display.h"

namespace {

_XDisplay *opened = nullptr;
std::atomic<bool> interrupted{false};

// Only what goes wrong: the figures are to be read.
void LogTrouble(int level, const char *format, va_list args, void *) {
  if (level > LOG_ERROR) return;
  std::vfprintf(stderr, format, args);
  std::fputc('\n', stderr);
}

long EntriesIn(const char *folder) {
  return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

}  // namespace

_XDisplay *vanta_integration::Display() {
  return opened;
}

namespace vanta_soak {

Campaign::Campaign(int argc, char **argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--short") {
      short_ = true;
      continue;
    }
    if (word.rfind("--", 0) != 0 || i + 1 >= argc) {
      std::fprintf(stderr, "%s: what does '%s' mean?\n", argv[0], argv[i]);
      std::exit(2);
    }
    options_[word.substr(2)] = argv[++i];
  }
  seed_ = std::strtoull(Option("seed", "1").c_str(), nullptr, 10);
  state_ = Option("state", "");
  if (!state_.empty()) {
    std::ifstream file(state_ + "/counts");
    std::string name;
    long count = 0;
    while (file >> name >> count) counts_[name] = count;
  }
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { interrupted = true; });
}

std::string Campaign::Option(const std::string &name, const std::string &otherwise) const {
  const auto found = options_.find(name);
  return found == options_.end() ? otherwise : found->second;
}

double Campaign::Number(const std::string &name, double otherwise) const {
  const std::string text = Option(name, "");
  return text.empty() ? otherwise : std::strtod(text.c_str(), nullptr);
}

void Campaign::Save() const {
  if (state_.empty()) return;
  const std::string target = state_ + "/counts", pending = target + ".new";
  std::ofstream file(pending);
  for (const auto &[name, count] : counts_) file << name << ' ' << count << '\n';
  file.close();
  std::filesystem::rename(pending, target);
}

bool Campaign::Interrupted() {
  return interrupted;
}

void Campaign::Report(const std::string &finding) {
  ++found_;
  std::printf("FOUND: %s\n", finding.c_str());
  std::fflush(stdout);
}

int Campaign::ExitStatus() const {
  if (found_ > 0 || testing::UnitTest::GetInstance()->Failed()) return 1;
  return interrupted ? 130 : 0;
}

Footprint TakeFootprint() {
  Footprint now;
  std::ifstream statm("/proc/self/statm");
  const long page_kib = sysconf(_SC_PAGESIZE) / 1024;
  long total = 0, resident = 0, of_files = 0;
  statm >> total >> resident >> of_files;
  now.resident_kib = resident * page_kib;
  now.anonymous_kib = (resident - of_files) * page_kib;
  const struct mallinfo2 heap = mallinfo2();
  now.heap_kib = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
  now.free_kib = static_cast<long>(heap.fordblks / 1024);
  now.libobs_blocks = bnum_allocs();
  now.descriptors = EntriesIn("/proc/self/fd");
  now.threads = EntriesIn("/proc/self/task");
  return now;
}

double ProcessorSeconds() {
  timespec spent{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
  return static_cast<double>(spent.tv_sec) + static_cast<double>(spent.tv_nsec) * 1e-9;
}

std::map<std::string, double> ProcessorSecondsOfThreads() {
  std::map<std::string, double> seconds;
  for (const auto &thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream name_file(thread.path() / "comm"), time_file(thread.path() / "schedstat");
    std::string name;
    double nanoseconds = 0;
    if (std::getline(name_file, name) && time_file >> nanoseconds) seconds[name] += nanoseconds * 1e-9;
  }
  return seconds;
}

int RunCampaign(int argc, char **argv, void (*play)(Campaign &)) {
  testing::InitGoogleTest();
  base_set_log_handler(LogTrouble, nullptr);
  Campaign campaign(argc, argv);
  try {
    const vanta_run::VirtualDisplay display;
    opened = display.connection();
    play(campaign);
  } catch (const vanta_run::Failure &failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
  }
  return campaign.ExitStatus();
}

}  // namespace vanta_soak
