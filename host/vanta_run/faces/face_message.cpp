#include "faces/face_message.h"

#include <obs.hpp>

#include <vanta_base/json_text.h>
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>

namespace vanta_run {
namespace {

void ForEach(obs_data_t *owner, const char *key, const std::function<void(obs_data_t *)> &visit) {
  const OBSDataArrayAutoRelease array = obs_data_get_array(owner, key);
  for (size_t i = 0; i < obs_data_array_count(array); ++i) {
    const OBSDataAutoRelease item = obs_data_array_item(array, i);
    visit(item);
  }
}

std::vector<MessagePoint> ReadPoints(obs_data_t *face) {
  std::vector<MessagePoint> points;
  ForEach(face, "pos", [&points](obs_data_t *point) {
    points.push_back(
        {obs_data_get_double(point, "first"), obs_data_get_double(point, "second"), obs_data_get_int(point, "index")});
  });
  return points;
}

}  // namespace

FaceMessage ReadFaceMessage(obs_data_t *message) {
  FaceMessage read;
  read.width = obs_data_get_int(message, "width");
  read.height = obs_data_get_int(message, "height");
  ForEach(message, "fans_face_point", [&read](obs_data_t *face) { read.points.push_back(ReadPoints(face)); });
  ForEach(message, "roi_vec", [&read](obs_data_t *box) {
    read.boxes.push_back({obs_data_get_double(box, "left"), obs_data_get_double(box, "top"),
                          obs_data_get_double(box, "width"), obs_data_get_double(box, "height")});
  });
  return read;
}

std::string FaceLine(obs_data_t *message, double seconds) {
  using Json = nlohmann::ordered_json;
  Json line = {{"seconds", std::round(seconds * 1000) / 1000}};
  const char *text = obs_data_get_json(message);
  const Json whole = vanta::ReadJson(text != nullptr ? text : "");
  if (whole.is_object()) line.update(whole);
  return vanta::WriteJson(line);
}

}  // namespace vanta_run
