#include "engine_pictures.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "lumivex/lumivex_values.h"

namespace skin_bench {

namespace {

constexpr int kLeastFrames = 3;
constexpr int kMostFrames = 15;  // half a second: a search that finds nothing looks in another way each time

}  // namespace

cv::Mat Planes::Bgr() const {
  cv::Mat bgr;
  cv::cvtColorTwoPlane(y, uv, bgr, cv::COLOR_YUV2BGR_NV12);
  return bgr;
}

Planes PlanesOf(const cv::Mat &bgr) {
  cv::Mat i420;
  cv::cvtColor(bgr, i420, cv::COLOR_BGR2YUV_I420);
  Planes planes;
  planes.y = i420.rowRange(0, bgr.rows).clone();
  const uint8_t *u = i420.ptr(bgr.rows);
  const uint8_t *v = u + bgr.rows * bgr.cols / 4;
  cv::merge(std::vector<cv::Mat>{cv::Mat(bgr.rows / 2, bgr.cols / 2, CV_8U, const_cast<uint8_t *>(u)),
                                 cv::Mat(bgr.rows / 2, bgr.cols / 2, CV_8U, const_cast<uint8_t *>(v))},
            planes.uv);
  return planes;
}

bool Look::Add(const std::string &text) {
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(',', at), text.size());
    const size_t equals = text.find('=', at);
    if (equals >= end) return false;
    const std::string name = text.substr(at, equals - at);
    const float value = std::strtof(text.c_str() + equals + 1, nullptr);
    const size_t before = beauty.size() + deform.size();
    for (const auto &info : lumivex::kBeautyTypes)
      if (info.name == name) beauty.emplace_back(info.type, value);
    for (const auto &info : lumivex::kDeformModes)
      if (info.name == name) deform.emplace_back(static_cast<int>(info.mode), value);
    if (beauty.size() + deform.size() == before) return false;
    at = end + 1;
  }
  return true;
}

Planes Through(const Planes &before, const Look &look, int *faces) {
  LXEngineConfig config{};
  config.width = kWidth;
  config.height = kHeight;
  const auto engine = LX::LumivexSync::createEngine(&config);
  engine->updateTesseraParams(R"({"sync_detect":1})");  // faces in step: each frame has its own
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, look.smooth);
  for (const auto &[type, value] : look.beauty) engine->setBeautyIntensityWithType(type, value);
  for (const auto &[mode, value] : look.deform) engine->setDeformIntensityWithMode(mode, value);
  LX::FramePool pool;
  Planes after;
  bool seen = false;
  const int most = look.unknown ? kLeastFrames : kMostFrames;
  for (int i = 0; i < most; ++i) {
    auto frame = pool.takeFrameDataNV12(kWidth, kHeight, 0, 0);
    frame->timestamp = 33 * i;
    frame->rotation = look.unknown ? look.called : 0;
    frame->dump_flag = 1;
    for (int y = 0; y < kHeight; ++y)
      std::memcpy(frame->planes[0] + ptrdiff_t{frame->strides[0]} * y, before.y.ptr(y), kWidth);
    for (int y = 0; y < kHeight / 2; ++y)
      std::memcpy(frame->planes[1] + ptrdiff_t{frame->strides[1]} * y, before.uv.ptr(y), kWidth);
    frame = engine->processFrameData(std::move(frame));
    const size_t number = frame->dump_text.find("\"faces\":");
    const int count = number == std::string::npos ? 1 : std::atoi(frame->dump_text.c_str() + number + 8);
    seen = count > 0;
    if (faces) *faces = count;
    if (i + 1 < kLeastFrames || (!seen && i + 1 < most)) continue;
    after.y = cv::Mat(kHeight, kWidth, CV_8U, frame->planes[0], static_cast<size_t>(frame->strides[0])).clone();
    after.uv =
        cv::Mat(kHeight / 2, kWidth / 2, CV_8UC2, frame->planes[1], static_cast<size_t>(frame->strides[1])).clone();
    break;
  }
  return after;
}

}  // namespace skin_bench
