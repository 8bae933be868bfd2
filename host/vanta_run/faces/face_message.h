// The message of the signal `TesseraFacePointRet`, read.
#pragma once

#include <obs.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vanta_run {

struct MessagePoint {
  double x = 0, y = 0;  // pixels of the analysed picture
  int64_t index = 0;    // of the published points
};

struct MessageBox {
  double left = 0, top = 0, width = 0, height = 0;  // pixels of the analysed picture
};

struct FaceMessage {
  int64_t width = 0, height = 0;                  // of the analysed picture, pixels
  std::vector<std::vector<MessagePoint>> points;  // for each face, up to five
  std::vector<MessageBox> boxes;
};

FaceMessage ReadFaceMessage(obs_data_t *message);

// The whole message as one line of JSON, with the time in front, without a line feed.
std::string FaceLine(obs_data_t *message, double seconds);

}  // namespace vanta_run
