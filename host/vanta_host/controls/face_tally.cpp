#include "controls/face_tally.h"

#include <utility>

#include <obs.hpp>

namespace vanta_host {
namespace {

using vanta::MutexLock;

constexpr uint64_t kOutdatedNs = 2000000000;

bool IsOutdated(uint64_t time_ns, uint64_t now_ns) {
  return now_ns > time_ns && now_ns - time_ns >= kOutdatedNs;
}

void AddPoints(obs_data_t *face, std::vector<std::array<float, 2>> &points) {
  const OBSDataArrayAutoRelease places = obs_data_get_array(face, "pos");
  for (size_t i = 0; i < obs_data_array_count(places); ++i) {
    const OBSDataAutoRelease place = obs_data_array_item(places, i);
    if (!obs_data_has_user_value(place, "first")) continue;
    points.push_back({static_cast<float>(obs_data_get_double(place, "first")),
                      static_cast<float>(obs_data_get_double(place, "second"))});
  }
}

FoundFaces Read(obs_data_t *message) {
  FoundFaces found;
  found.tellers = 1;
  found.count = static_cast<int>(obs_data_get_int(message, "face_cont"));
  found.width = static_cast<uint32_t>(obs_data_get_int(message, "width"));
  found.height = static_cast<uint32_t>(obs_data_get_int(message, "height"));
  const OBSDataArrayAutoRelease faces = obs_data_get_array(message, "fans_face_point");
  for (size_t i = 0; i < obs_data_array_count(faces); ++i) {
    const OBSDataAutoRelease face = obs_data_array_item(faces, i);
    AddPoints(face, found.points);
  }
  return found;
}

}  // namespace

void FaceTally::Take(obs_data_t *message, std::thread::id teller, uint64_t now_ns) {
  FoundFaces found = Read(message);
  MutexLock lock(mutex_);
  std::erase_if(words_, [&](const Word &word) { return word.teller == teller || IsOutdated(word.time_ns, now_ns); });
  words_.push_back({teller, now_ns, std::move(found)});
}

FoundFaces FaceTally::OfSize(uint32_t width, uint32_t height, uint64_t now_ns) const {
  FoundFaces all;
  all.width = width;
  all.height = height;
  MutexLock lock(mutex_);
  for (const auto &[teller, time_ns, faces] : words_) {
    if (IsOutdated(time_ns, now_ns) || faces.width != width || faces.height != height) continue;
    ++all.tellers;
    all.count += faces.count;
    all.points.insert(all.points.end(), faces.points.begin(), faces.points.end());
  }
  return all;
}

FoundFaces FaceTally::Newest(uint64_t now_ns) const {
  uint32_t width, height;
  {
    MutexLock lock(mutex_);
    if (words_.empty()) return {};
    width = words_.back().faces.width;
    height = words_.back().faces.height;
  }
  return OfSize(width, height, now_ns);
}

int FaceTally::Count(uint64_t now_ns) const {
  MutexLock lock(mutex_);
  int count = 0;
  for (const Word &word : words_) count += IsOutdated(word.time_ns, now_ns) ? 0 : word.faces.count;
  return count;
}

void FaceTally::Clear() {
  MutexLock lock(mutex_);
  words_.clear();
}

}  // namespace vanta_host
