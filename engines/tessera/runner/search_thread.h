// The thread that searches pictures while frames go on.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "results/result_tree.h"
#include "search/search_turns.h"
#include "vision/small_picture.h"

namespace tessera {

// Gives its thread one picture at a time, at a bounded rate, and takes what was found. New faces come in the newest
// picture that the thread knew: they are followed through those that came in the meantime.
// Owns: the thread, from construction to destruction, which waits for no more than one pass of a cascade. Threads: one
// at a time; its calls never wait.
class SearchThread {
 public:
  using Turn = std::function<SearchAnswer(const SearchTask &)>;
  static constexpr size_t kRing = 16;  // pictures of a search that are kept to follow a new face through

  // `turn` is called on the thread alone, `again` likewise: it finds a face anew when it is too old to be followed.
  using Again = std::function<std::optional<NewFace>(const SmallPicture &, const Placement &)>;
  SearchThread(Turn turn, Again again);
  ~SearchThread();
  SearchThread(const SearchThread &) = delete;
  SearchThread &operator=(const SearchThread &) = delete;

  // Once for each picture, before the faces in it are followed. Answers of an older generation are left out. Nothing
  // is taken while the thread is at its records.
  SearchAnswer Exchange(const std::shared_ptr<const SmallPicture> &picture);
  // Asks for a search when the thread is free and its rest is over. False: not now.
  bool Ask(const SearchTask &task);

  // As it was at the last Exchange.
  SearchTime Time() const { return time_; }
  // Rethrows what a turn threw since the last call.
  void Rethrow();

 private:
  struct Shared;
  void ThreadMain();
  void CarryOn(NewFace &face, const SmallPicture &from, bool &lost);

  const Turn turn_;
  const Again again_;
  const std::unique_ptr<Shared> shared_;
  SearchTime time_;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace tessera
