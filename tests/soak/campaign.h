// What the programs of this folder share: their options, the state that a second call goes on from, and what their
// process holds.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace vanta_soak {

// `--seed N --state FOLDER [--short]`, and `--name value` for others.
class Campaign {
 public:
  // Ends the program where an option has no value. SIGINT and SIGTERM interrupt from now on.
  Campaign(int argc, char **argv);

  uint64_t seed() const { return seed_; }
  bool is_short() const { return short_; }
  std::string Option(const std::string &name, const std::string &otherwise) const;
  double Number(const std::string &name, double otherwise) const;

  // Kept in the state folder; 0 at first. Save writes them.
  long &Count(const std::string &name) { return counts_[name]; }
  void Save() const;

  static bool Interrupted();
  // Prints what was found; the program ends with 1.
  void Report(const std::string &finding);
  bool found() const { return found_ > 0; }
  // 0: nothing found; 1: something; 130: interrupted.
  int ExitStatus() const;

 private:
  uint64_t seed_ = 1;
  bool short_ = false;
  int found_ = 0;
  std::string state_;
  std::map<std::string, std::string> options_;
  std::map<std::string, long> counts_;
};

// Of this process, now.
struct Footprint {
  long resident_kib = 0;
  long anonymous_kib = 0;  // of that: the heap, stacks, and what drivers map; the rest are pages of files
  long heap_kib = 0;       // in use by the C library's count, what is mapped for single blocks included
  long free_kib = 0;       // of the heap, kept by the C library
  long libobs_blocks = 0;  // libobs's own count
  long descriptors = 0;
  long threads = 0;
};
Footprint TakeFootprint();

// Processor time of the process so far, seconds.
double ProcessorSeconds();
// The same for each of its threads, summed by name.
std::map<std::string, double> ProcessorSecondsOfThreads();

// Opens a display, takes the C library's log of libobs down to errors, runs `play` and ends libobs's. The exit status.
int RunCampaign(int argc, char **argv, void (*play)(Campaign &));

}  // namespace vanta_soak
