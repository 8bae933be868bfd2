#include "makeup/makeup_resource.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "files/picture_size.h"
#include "makeup/rgba_blend.h"
#include "platform/regular_file.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

namespace fs = std::filesystem;

constexpr char kDescription[] = "makeup.json";
constexpr uintmax_t kMostFileBytes = uintmax_t{64} << 20;
constexpr int kSmallestSide = 16;  // pixels: no smaller picture is made

// Red, green, blue, alpha; colours multiplied by alpha. Empty for a kind of
// picture that cannot be taken.
cv::Mat Premultiplied(const cv::Mat &picture) {
  if (picture.depth() != CV_8U || picture.channels() != 4) return {};
  cv::Mat result(picture.size(), CV_8UC4);
  for (int row = 0; row < picture.rows; ++row) {
    const uint8_t *from = picture.ptr<uint8_t>(row);
    uint8_t *to = result.ptr<uint8_t>(row);
    for (int x = 0; x < 4 * picture.cols; x += 4) {
      const int alpha = from[x + 3];
      for (int channel = 0; channel < 3; ++channel)
        to[x + channel] = static_cast<uint8_t>((from[x + 2 - channel] * alpha + 127) / 255);
      to[x + 3] = static_cast<uint8_t>(alpha);
    }
  }
  return result;
}

void AddSmallerPictures(std::vector<cv::Mat> &pictures) {
  while (std::min(pictures.back().cols, pictures.back().rows) >= 2 * kSmallestSide) {
    const cv::Mat &last = pictures.back();
    cv::Mat half;
    cv::resize(last, half, cv::Size(last.cols / 2, last.rows / 2), 0, 0, cv::INTER_AREA);
    pictures.push_back(half);
  }
}

// Owns: what has been read so far. Threads: one.
class Loader {
 public:
  Loader(const std::string &folder, int64_t most_pixels)
      : folder_(vanta::PathFromUtf8(folder)), resource_(std::make_shared<MakeupResource>()), pixels_left_(most_pixels) {
    resource_->folder = folder;
  }

  MakeupLoad Load() {
    if (ReadLayers()) load_.resource = resource_;
    return std::move(load_);
  }

 private:
  bool Fail(const fs::path &file, std::string reason, std::string remedy) {
    load_.file = vanta::Utf8FromPath(file);
    load_.reason = std::move(reason);
    load_.remedy = std::move(remedy);
    return false;
  }

  bool ReadLayers() {
    const fs::path file = folder_ / kDescription;
    const auto [fault, bytes] = ReadRegularFile(file, kMostMakeupTextBytes);
    if (fault == FileFault::kTooLong) return Fail(file, "it is longer than 1 MiB", "docs/effects.md has the format");
    if (fault != FileFault::kNone) return Fail(file, "it cannot be read", "give a folder that holds a makeup.json");
    MakeupText parsed = ParseMakeup({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    if (!parsed.reason.empty()) return Fail(file, parsed.reason, "docs/effects.md has the format");
    for (MakeupLayerText &layer : parsed.layers) {
      if (!ReadLayer(layer)) return false;
    }
    return true;
  }

  bool ReadLayer(MakeupLayerText &text) {
    const fs::path file = folder_ / vanta::PathFromUtf8(text.image);
    const auto [fault, bytes] = ReadRegularFile(file, kMostFileBytes);
    if (fault == FileFault::kTooLong) return Fail(file, "it is larger than 64 MiB", "make the picture smaller");
    if (fault != FileFault::kNone) return Fail(file, "it is no file", "put the layer's picture there");
    const auto size = ReadPictureSize(bytes);
    if (!size || size->width < 1 || size->height < 1)
      return Fail(file, "it is no picture that can be read", "save it as a PNG of 8 bits");
    if (std::max(size->width, size->height) > kMostMakeupSide)
      return Fail(file, "it is larger than 4096 pixels a side", "make the picture smaller");
    if (size->width * size->height > pixels_left_)
      return Fail(file, "with it the layers have more than 32 million pixels", "use fewer or smaller pictures");
    pixels_left_ -= size->width * size->height;
    const cv::Mat picture = Decode(bytes);
    if (picture.cols != size->width || picture.rows != size->height)
      return Fail(file, "it is no picture that can be read", "save it as a PNG of 8 bits");
    MakeupLayer layer{{Premultiplied(picture)}, text.blend, text.opacity, std::move(text.pins), {}};
    if (layer.pictures[0].empty())
      return Fail(file, "it has no alpha, or not 8 bits", "save it as a PNG of 8 bits with alpha");
    layer.seen = SeenPart(layer.pictures[0]);
    AddSmallerPictures(layer.pictures);
    resource_->layers.push_back(std::move(layer));
    return true;
  }

  static cv::Mat Decode(const std::vector<uint8_t> &bytes) {
    try {
      return cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception &) {
      return {};
    }
  }

  const fs::path folder_;
  std::shared_ptr<MakeupResource> resource_;
  MakeupLoad load_;
  int64_t pixels_left_;
};

}  // namespace

int64_t MakeupResource::Pixels() const {
  return std::accumulate(layers.begin(), layers.end(), int64_t{0}, [](int64_t sum, const MakeupLayer &layer) {
    return sum + static_cast<int64_t>(layer.pictures[0].total());
  });
}

MakeupLoad LoadMakeup(const std::string &folder, int64_t most_pixels) {
  return Loader(folder, most_pixels).Load();
}

MakeupLoad MakeupOfColor(const std::string &resource, const std::string &key) {
  MakeupColorText text = ParseMakeupColor(resource, key);
  if (!text.color) return {nullptr, resource, std::move(text.reason), std::move(text.remedy)};
  auto made = std::make_shared<MakeupResource>();
  made->folder = resource;
  made->color = text.color;
  return {std::move(made), {}, {}, {}};
}

}  // namespace lumivex
