#include "engine_fixture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace lumivex_test {
namespace {

constexpr uint8_t kMarginByte = 0xA5;
constexpr size_t kGuard = 128;  // bytes before and behind the planes

}  // namespace

Picture::Picture(int width, int height, Codes codes, int padding)
    : width_(width), height_(height), y_stride_(width + padding), uv_stride_((width + 1) / 2 * 2 + padding) {
  const size_t pixels = static_cast<size_t>(y_stride_) * static_cast<size_t>(height_) +
                        static_cast<size_t>(uv_stride_) * static_cast<size_t>((height_ + 1) / 2);
  bytes_.assign(kGuard + pixels + kGuard, kMarginByte);
  FillLuma([&](int, int) { return codes.y; });
  for (int y = 0; y < height_; y += 2) {
    for (int x = 0; x < width_; x += 2) {
      bytes_[ChromaIndex(x, y)] = static_cast<uint8_t>(codes.u);
      bytes_[ChromaIndex(x, y) + 1] = static_cast<uint8_t>(codes.v);
    }
  }
}

void Picture::FillLuma(const LumaAt &luma) {
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) bytes_[LumaIndex(x, y)] = static_cast<uint8_t>(luma(x, y));
  }
}

void Picture::FillRect(int left, int top, int right, int bottom, Codes codes) {
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      bytes_[LumaIndex(x, y)] = static_cast<uint8_t>(codes.y);
      bytes_[ChromaIndex(x, y)] = static_cast<uint8_t>(codes.u);
      bytes_[ChromaIndex(x, y) + 1] = static_cast<uint8_t>(codes.v);
    }
  }
}

double Picture::MeanLuma() const {
  double sum = 0.0;
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) sum += Luma(x, y);
  }
  return sum / (width_ * height_);
}

double Picture::MeanU() const {
  double sum = 0.0;
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) sum += U(x, y);
  }
  return sum / (width_ * height_);
}

double Picture::MeanV() const {
  double sum = 0.0;
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) sum += V(x, y);
  }
  return sum / (width_ * height_);
}

double Picture::LumaDeviation(int left, int top, int right, int bottom) const {
  double sum = 0.0;
  double squares = 0.0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      sum += Luma(x, y);
      squares += static_cast<double>(Luma(x, y)) * Luma(x, y);
    }
  }
  const double count = static_cast<double>(right - left) * (bottom - top);
  return std::sqrt(std::max(squares / count - sum / count * (sum / count), 0.0));
}

bool Picture::MarginsUntouched() const {
  for (size_t i = 0; i < bytes_.size(); ++i) {
    if (!IsPixel(i) && bytes_[i] != kMarginByte) return false;
  }
  return true;
}

std::shared_ptr<LX::FrameData> Picture::Frame(int color_code) {
  auto frame = std::make_shared<LX::FrameData>();
  frame->planes[0] = bytes_.data() + LumaIndex(0, 0);
  frame->planes[1] = bytes_.data() + ChromaIndex(0, 0);
  frame->strides[0] = y_stride_;
  frame->strides[1] = uv_stride_;
  frame->width = width_;
  frame->height = height_;
  frame->color_code = color_code;
  frame->layout_code = 1;
  frame->pixel_format = -1;
  return frame;
}

size_t Picture::LumaIndex(int x, int y) const {
  return kGuard + static_cast<size_t>(y) * static_cast<size_t>(y_stride_) + static_cast<size_t>(x);
}

size_t Picture::ChromaIndex(int x, int y) const {
  return LumaIndex(0, height_) + static_cast<size_t>(y / 2) * static_cast<size_t>(uv_stride_) +
         static_cast<size_t>(x / 2 * 2);
}

bool Picture::IsPixel(size_t index) const {
  const size_t luma = LumaIndex(0, 0);
  const size_t chroma = ChromaIndex(0, 0);
  if (index < luma) return false;
  if (index < chroma) return (index - luma) % static_cast<size_t>(y_stride_) < static_cast<size_t>(width_);
  if (index >= bytes_.size() - kGuard) return false;
  return (index - chroma) % static_cast<size_t>(uv_stride_) < static_cast<size_t>((width_ + 1) / 2 * 2);
}

std::shared_ptr<LX::LumivexSync> MakeEngine(int width, int height) {
  LXEngineConfig config{};
  std::strncpy(config.path, LUMIVEX_DATA_DIR, sizeof(config.path) - 1);
  config.width = width;
  config.height = height;
  return LX::LumivexSync::createEngine(&config);
}

std::shared_ptr<LX::FrameData> Process(LX::LumivexSync &engine, Picture &picture, int color_code) {
  auto result = engine.processFrameData(picture.Frame(color_code));
  EXPECT_NE(result, nullptr);
  return result;
}

Picture With(const Picture &original, LXBeautyType type, float intensity, int color_code) {
  const auto engine = MakeEngine(original.Width(), original.Height());
  engine->setBeautyIntensityWithType(type, intensity);
  Picture picture = original;
  Process(*engine, picture, color_code);
  return picture;
}

void SetLookup(LX::LumivexSync &engine, const std::string &path, float intensity, int32_t type) {
  LXLookupInfo info{};
  std::strncpy(info.path, path.c_str(), sizeof(info.path) - 1);
  info.intensity = intensity;
  info.type = type;
  engine.setLookupInfo(info);
}

void SetGroup(LX::LumivexSync &engine, const std::string &path, bool is_group) {
  LXGroupConfig config{};
  std::strncpy(config.path, path.c_str(), sizeof(config.path) - 1);
  config.is_group = is_group;
  engine.setBeautyGroupPath(config);
}

std::string OwnFolder() {
  const auto *test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path folder =
      std::filesystem::path(::testing::TempDir()) / ("lumivex_" + std::to_string(getpid()) + "_" + test->name());
  std::filesystem::create_directories(folder);
  return folder.string();
}

std::string WriteFile(const std::string &name, const std::string &content) {
  const std::filesystem::path path = std::filesystem::path(OwnFolder()) / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path.string();
}

int Noise(int x, int y, int amplitude) {
  uint32_t value = static_cast<uint32_t>(x) * 2654435761u ^ static_cast<uint32_t>(y) * 2246822519u;
  value = (value ^ value >> 15) * 2246822519u;
  value = (value ^ value >> 13) * 3266489917u;
  value ^= value >> 16;
  return static_cast<int>(value % static_cast<uint32_t>(2 * amplitude + 1)) - amplitude;
}

}  // namespace lumivex_test
