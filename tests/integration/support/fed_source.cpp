#include "integration/support/fed_source.h"

namespace vanta_integration {
namespace {

constexpr char kId[] = "test_fed_source";

}  // namespace

void RegisterFedSource() {
  obs_source_info info{};
  info.id = kId;
  info.type = OBS_SOURCE_TYPE_INPUT;
  info.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  info.get_name = [](void *) { return "Fed source"; };
  info.create = [](obs_data_t *, obs_source_t *source) { return static_cast<void *>(source); };
  info.destroy = [](void *) {};
  obs_register_source(&info);
}

FedSource::FedSource(const char *name) : source_(obs_source_create(kId, name, nullptr, nullptr)) {
  obs_source_set_async_unbuffered(source_, true);
}

FedSource::~FedSource() {
  Hide();
  obs_source_remove(source_);
}

void FedSource::Show() {
  obs_set_output_source(0, source_);
}

void FedSource::Hide() {
  const OBSSourceAutoRelease shown = obs_get_output_source(0);
  if (shown == source_) obs_set_output_source(0, nullptr);
}

void FedSource::Feed(const HostFrame &frame) {
  obs_source_output_video(source_, frame.Get());
}

}  // namespace vanta_integration
