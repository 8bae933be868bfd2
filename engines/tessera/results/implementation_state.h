// What the plain classes of the interface hold.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vanta_filter/landmark/tessera_api.h"

namespace tessera {

struct TesseraConfig::State {
  std::string name;
  std::string use_mode;
  std::string model_folder;
  std::vector<std::string> model_files;
  Any param;
};

struct TesseraImage::State {
  int width = 0;   // pixels
  int height = 0;  // pixels
  unsigned char *planes[3] = {};
  int strides[3] = {};  // bytes
  TesseraPixelFormat format = kTesseraI420;
  TenBitFormat ten_bit = kTesseraEightBit;
};

struct TesseraFrame::State {
  std::shared_ptr<TesseraImage> image;
  double timestamp = 0;  // the caller's unit, not looked at
};

}  // namespace tessera
