#include "effect_bench.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <thread>

namespace lumivex_test {

std::string WritePicture(const std::string &name, Rgba color, int width, int height) {
  const std::filesystem::path path = std::filesystem::path(OwnFolder()) / name;
  std::filesystem::create_directories(path.parent_path());
  const cv::Mat picture(height, width, CV_8UC4, cv::Scalar(color[2], color[1], color[0], color[3]));
  EXPECT_TRUE(SavePicture(path.string(), picture));
  return path.string();
}

bool SavePicture(const std::string &path, const cv::Mat &picture) {
  return cv::imwrite(path, picture);
}

std::string WriteEffect(const std::string &name, const json &effect) {
  const std::string file = WriteFile(name + "/effect.json", effect.dump());
  WritePicture(name + "/red.png", kRed);
  return std::filesystem::path(file).parent_path().string();
}

json RedLayer(const json &more) {
  json layer = {{"image", "red.png"}, {"anchor", "top_left"}, {"size", 0.5}};
  layer.update(more);
  return layer;
}

json OneLayer(const json &more) {
  return {{"format", 1}, {"layers", json::array({RedLayer(more)})}};
}

EffectBench::EffectBench() {
  engine_->setEffectDescriptionCallback([this](const std::string &text, bool success) {
    descriptions_.push_back({json::parse(text), success});
  });
  engine_->setGameDataCallback([this](const LX::BoomGameData &data) { messages_.push_back(json::parse(data.json)); });
}

void EffectBench::Play(const std::string &folder, LXEffectSlot slot) {
  const size_t told = descriptions_.size();
  engine_->setMagicEffectWithPath(folder, slot, false);
  Await([&] { return descriptions_.size() > told; });
}

Picture EffectBench::Show(int64_t milliseconds) {
  now_ += static_cast<uint64_t>(milliseconds) * 1000000;
  return ShowWith(Picture(64, 48, kGrey, 3), [](LX::FrameData &) {});
}

Picture EffectBench::ShowWith(Picture picture, const std::function<void(LX::FrameData &)> &change) {
  const auto frame = picture.Frame();
  frame->timestamp = ++now_;
  change(*frame);
  EXPECT_NE(engine_->processFrameData(frame), nullptr);
  EXPECT_TRUE(picture.MarginsUntouched());
  return picture;
}

void EffectBench::Await(const std::function<bool()> &condition) {
  const auto late = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), late);
    Show(0);
    std::this_thread::yield();
  }
}

bool EffectBench::Is(const Picture &picture, int x, int y, Codes codes) const {
  return std::abs(picture.Luma(x, y) - codes.y) <= 1 && std::abs(picture.U(x, y) - codes.u) <= 1 &&
         std::abs(picture.V(x, y) - codes.v) <= 1;
}

}  // namespace lumivex_test
