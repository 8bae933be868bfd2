#include "face_points/face_point_signal.h"

#include <array>
#include <obs.hpp>

#include "obs/host_signal.h"
#include "vanta_base/point_order.h"

namespace vanta {
namespace {

constexpr std::array<int32_t, 5> kPublishedIndices = {0, 9, 18, 97, 99};

OBSDataArrayAutoRelease MakePoints(const FaceRecord &face) {
  OBSDataArrayAutoRelease points = obs_data_array_create();
  if (face.points.size() < kReorderedPoints) return points;
  for (const int32_t index : kPublishedIndices) {
    const FacePoint &point = face.points[static_cast<size_t>(index)];
    const OBSDataAutoRelease entry = obs_data_create();
    if (point.index == index) {
      obs_data_set_double(entry, "first", static_cast<double>(point.x));
      obs_data_set_double(entry, "second", static_cast<double>(point.y));
      obs_data_set_int(entry, "index", index);
    }
    obs_data_array_push_back(points, entry);
  }
  return points;
}

OBSDataArrayAutoRelease MakeFaces(const FacePointResult &result) {
  OBSDataArrayAutoRelease faces = obs_data_array_create();
  for (const FaceRecord &record : result.faces) {
    const OBSDataAutoRelease face = obs_data_create();
    obs_data_set_int(face, "index", record.index);
    obs_data_set_array(face, "pos", MakePoints(record));
    obs_data_array_push_back(faces, face);
  }
  return faces;
}

OBSDataArrayAutoRelease MakeBoxes(const FacePointResult &result) {
  OBSDataArrayAutoRelease boxes = obs_data_array_create();
  for (const FaceRoi &roi : result.rois) {
    const OBSDataAutoRelease box = obs_data_create();
    obs_data_set_double(box, "left", static_cast<double>(roi.left));
    obs_data_set_double(box, "top", static_cast<double>(roi.top));
    obs_data_set_double(box, "width", static_cast<double>(roi.width));
    obs_data_set_double(box, "height", static_cast<double>(roi.height));
    obs_data_array_push_back(boxes, box);
  }
  return boxes;
}

}  // namespace

void PublishFacePoints(const FacePointResult &result, uint32_t width, uint32_t height) {
  const OBSDataAutoRelease message = obs_data_create();
  obs_data_set_int(message, "face_cont", result.face_count);
  obs_data_set_int(message, "width", width);
  obs_data_set_int(message, "height", height);
  obs_data_set_array(message, "fans_face_point", MakeFaces(result));
  obs_data_set_array(message, "roi_vec", MakeBoxes(result));
  obs_data_set_int(message, "detect_key", static_cast<long long>(result.detect_key));
  HostSignal signal;
  calldata_set_ptr(signal.arguments(), "face_point", message.Get());
  signal.Send("TesseraFacePointRet");
}

}  // namespace vanta
