// The calls of all doubles of a program in one order: what a double's own list says of another's calls is nothing. On
// Windows, where doubles are libraries of their own, each library has its own order.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "fakes/fresh_start.h"

// Threads: any.
namespace vanta_test::call_order {

struct List {
  std::mutex mutex;
  std::vector<std::string> calls;
};

inline List &Get() {
  static List *list = new List;
  return *list;
}

// For the doubles.
inline void Note(const std::string &call) {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().calls.push_back(call);
}

inline std::vector<std::string> Calls() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().calls;
}

inline void Clear() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().calls.clear();
}

inline const FreshStart fresh_start(&Clear);

}  // namespace vanta_test::call_order
