#include "controls/face_watch.h"

#include <util/platform.h>
#include <obs.hpp>

#include "vanta_base/mutex.h"

namespace vanta_host {
namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr uint64_t kOutdatedNs = 2000000000;

struct Faces {
  Mutex mutex;
  FoundFaces last VANTA_GUARDED_BY(mutex);
  uint64_t time_ns VANTA_GUARDED_BY(mutex) = 0;
};

Faces &TheFaces() {
  static Faces *faces = new Faces;
  return *faces;
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

}  // namespace

void OnFacePoints(void *, calldata_t *data) {
  auto *message = static_cast<obs_data_t *>(calldata_ptr(data, "face_point"));
  if (!message) return;
  FoundFaces found;
  found.count = static_cast<int>(obs_data_get_int(message, "face_cont"));
  found.width = static_cast<uint32_t>(obs_data_get_int(message, "width"));
  found.height = static_cast<uint32_t>(obs_data_get_int(message, "height"));
  const OBSDataArrayAutoRelease faces = obs_data_get_array(message, "fans_face_point");
  for (size_t i = 0; i < obs_data_array_count(faces); ++i) {
    const OBSDataAutoRelease face = obs_data_array_item(faces, i);
    AddPoints(face, found.points);
  }
  Faces &known = TheFaces();
  MutexLock lock(known.mutex);
  known.last = found;
  known.time_ns = os_gettime_ns();
}

FoundFaces LastFaces() {
  Faces &known = TheFaces();
  MutexLock lock(known.mutex);
  return os_gettime_ns() - known.time_ns < kOutdatedNs ? known.last : FoundFaces();
}

void ForgetFaces() {
  Faces &known = TheFaces();
  MutexLock lock(known.mutex);
  known.last = FoundFaces();
}

}  // namespace vanta_host
