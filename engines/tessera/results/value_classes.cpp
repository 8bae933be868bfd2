// Configuration, picture, frame and result: they hold what they are given.
#include <utility>

#include "results/implementation_state.h"
#include "vanta_base/host_text.h"

namespace tessera {

TesseraConfig::TesseraConfig(const std::string &name) : state_(std::make_shared<State>()) {
  state_->name = name;
}
TesseraConfig::~TesseraConfig() = default;

void TesseraConfig::setUseMode(const std::string &mode) {
  state_->use_mode = mode;
}

void TesseraConfig::setModelFolderPath(const std::string &path) {
  state_->model_folder = vanta::Utf8FromHostText(path);
}

void TesseraConfig::setModelFilePaths(const std::vector<std::string> &paths) {
  state_->model_files.clear();
  for (const std::string &path : paths) state_->model_files.push_back(vanta::Utf8FromHostText(path));
}

void TesseraConfig::setConfigParam(const Any &param) {
  state_->param = param;
}

TesseraImage::TesseraImage() : state_(std::make_shared<State>()) {}
TesseraImage::~TesseraImage() = default;

void TesseraImage::setData(int width, int height, unsigned char *plane0, unsigned char *plane1, unsigned char *plane2,
                           TesseraPixelFormat format, int stride0, int stride1, int stride2, TenBitFormat ten_bit) {
  *state_ = {width, height, {plane0, plane1, plane2}, {stride0, stride1, stride2}, format, ten_bit};
}

TesseraFrame::TesseraFrame() : state_(std::make_shared<State>()) {
  state_->image = std::make_shared<TesseraImage>();
}
TesseraFrame::~TesseraFrame() = default;

std::shared_ptr<TesseraImage> TesseraFrame::getTesseraImage() {
  return state_->image;
}

void TesseraFrame::setImageObj(std::shared_ptr<TesseraImage> image) {
  state_->image = std::move(image);
}

void TesseraFrame::setTimeStamp(double timestamp) {
  state_->timestamp = timestamp;
}

TesseraOut::TesseraOut() = default;
TesseraOut::~TesseraOut() = default;

std::shared_ptr<Any> &TesseraOut::getAny() {
  return any_;
}

}  // namespace tessera
