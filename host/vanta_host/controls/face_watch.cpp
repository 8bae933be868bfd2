#include "controls/face_watch.h"

#include <util/platform.h>

#include "vanta_filter/module/host_extensions.h"

namespace vanta_host {
namespace {

FaceTally &TheTally() {
  static FaceTally *tally = new FaceTally;
  return *tally;
}

}  // namespace

void OnFacePoints(void *, calldata_t *data) {
  auto *message = static_cast<obs_data_t *>(calldata_ptr(data, "face_point"));
  if (message) TheTally().Take(message, std::this_thread::get_id(), os_gettime_ns());
}

// The engine's frames may be turned or of another size than what the source shows.
FoundFaces FacesOf(obs_source_t *landmark_filter) {
  if (FacePointByLX()) return TheTally().Newest(os_gettime_ns());
  obs_source_t *parent = landmark_filter ? obs_filter_get_parent(landmark_filter) : nullptr;
  if (!parent) return {};
  return TheTally().OfSize(obs_source_get_base_width(parent), obs_source_get_base_height(parent), os_gettime_ns());
}

int CountFaces() {
  return TheTally().Count(os_gettime_ns());
}

void ForgetFaces() {
  TheTally().Clear();
}

}  // namespace vanta_host
