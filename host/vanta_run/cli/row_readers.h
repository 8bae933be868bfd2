// What the rows of a run's table do with their values.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "common/failure.h"
#include "common/option_values.h"
#include "output/recorded_file.h"

namespace vanta_run {

using Read = std::function<void(const std::string &)>;

[[noreturn]] inline void BadValue(const std::string &name, const std::string &value, const std::string &remedy) {
  throw Failure(kExitUsage, "--" + name, "bad value '" + value + "'", remedy);
}

inline Read Set(bool &flag, bool to = true) {
  return [&flag, to](const std::string &) { flag = to; };
}

inline Read Keep(std::string &target) {
  return [&target](const std::string &value) { target = value; };
}

// A PNG's name, which must not end as another picture's.
inline Read KeepPng(const std::string &name, std::string &target) {
  return [name, &target](const std::string &value) {
    const std::string ending = FormatEnding(value);
    for (const char *other : {".jpg", ".jpeg", ".webp", ".bmp", ".gif", ".tif", ".tiff"}) {
      if (ending == other) BadValue(name, value, "the picture is a PNG: end its name in .png");
    }
    target = value;
  };
}

inline Read Add(std::vector<std::string> &target) {
  return [&target](const std::string &value) { target.push_back(value); };
}

template <typename T>
Read Number(const char *name, double least, double most, T &target) {
  return [=, &target](const std::string &value) {
    const auto number = ParseNumber(value);
    if (!number || *number < least || *number > most) {
      char remedy[80];
      std::snprintf(remedy, sizeof(remedy), "give a number from %.10g to %.10g", least, most);
      BadValue(name, value, remedy);
    }
    target = static_cast<T>(*number);
  };
}

// What `parse` makes of it, or a refusal where it makes nothing.
template <typename Parse, typename T>
Read Parsed(const char *name, Parse parse, T &target, const char *remedy) {
  return [=, &target](const std::string &value) {
    const auto read = parse(value);
    if (!read) BadValue(name, value, remedy);
    target = *read;
  };
}

}  // namespace vanta_run
