#include "integration/support/landmark_filter.h"

#include <gtest/gtest.h>

#include "support/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

constexpr char kSignal[] = "TesseraFacePointRet";

std::vector<Point> PointsOf(obs_data_t *face) {
  const OBSDataArrayAutoRelease entries = obs_data_get_array(face, "pos");
  std::vector<Point> points;
  for (size_t i = 0; i < obs_data_array_count(entries); ++i) {
    const OBSDataAutoRelease entry = obs_data_array_item(entries, i);
    points.push_back({obs_data_get_double(entry, "first"), obs_data_get_double(entry, "second")});
  }
  return points;
}

FaceMessage Read(obs_data_t *data) {
  FaceMessage message;
  message.thread = std::this_thread::get_id();
  message.faces = obs_data_get_int(data, "face_cont");
  message.width = obs_data_get_int(data, "width");
  message.height = obs_data_get_int(data, "height");
  const OBSDataArrayAutoRelease faces = obs_data_get_array(data, "fans_face_point");
  if (obs_data_array_count(faces) == 0) return message;
  const OBSDataAutoRelease face = obs_data_array_item(faces, 0);
  message.points = PointsOf(face);
  return message;
}

}  // namespace

LandmarkFilter::LandmarkFilter(obs_source_t *source, Road road) : source_(source) {
  vanta_host_set_switch(VANTA_SWITCH_ASYNC_GPU_MAP, road == Road::kGpu);
  filter_ = obs_source_create_private("tessera_landmark_filter", "landmarks", nullptr);
  EXPECT_NE(filter_.Get(), nullptr);
  obs_source_filter_add(source_, filter_);
}

// Inside graphics: libobs may be drawing the source.
void LandmarkFilter::Remove() {
  if (!filter_) return;
  obs_enter_graphics();
  obs_source_filter_remove(source_, filter_);
  obs_leave_graphics();
  filter_ = nullptr;
}

FaceReceiver::FaceReceiver() {
  signal_handler_connect(obs_get_signal_handler(), kSignal, Receive, this);
}

FaceReceiver::~FaceReceiver() {
  signal_handler_disconnect(obs_get_signal_handler(), kSignal, Receive, this);
}

std::vector<FaceMessage> FaceReceiver::Messages() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return messages_;
}

FaceMessage FaceReceiver::WaitForNext(size_t count) const {
  const size_t until = Messages().size() + count;
  if (!vanta_test::WaitUntil([&] { return Messages().size() >= until; }, "messages of faces")) return {};
  return Messages().back();
}

void FaceReceiver::Receive(void *param, calldata_t *data) {
  auto *receiver = static_cast<FaceReceiver *>(param);
  const FaceMessage message = Read(static_cast<obs_data_t *>(calldata_ptr(data, "face_point")));
  std::lock_guard<std::mutex> lock(receiver->mutex_);
  receiver->messages_.push_back(message);
}

}  // namespace vanta_integration
