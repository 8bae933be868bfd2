#include "color/lookup_picture.h"

#include <opencv2/imgcodecs.hpp>

#include "files/picture_size.h"
#include "platform/regular_file.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

constexpr uintmax_t kMostBytes = uintmax_t{16} << 20;  // 512 pixels a side take 2 MiB at most

// Tiles per row for a picture of that side, 0 when there is none.
int TilesFor(int64_t side) {
  for (int tiles = 2; tiles * tiles <= kMaxLookupSide; ++tiles) {
    if (tiles * tiles * tiles == side) return tiles;
  }
  return 0;
}

template <typename Pixel>
void CopyEntries(const cv::Mat &picture, int tiles, float white, LookupTable &table) {
  for (int blue = 0; blue < table.side; ++blue) {
    const int left = blue % tiles * table.side;
    const int top = blue / tiles * table.side;
    for (int green = 0; green < table.side; ++green) {
      const Pixel *row = picture.ptr<Pixel>(top + green) + left;
      for (int red = 0; red < table.side; ++red) {
        const Pixel &bgr = row[red];
        table.entries.push_back({static_cast<float>(bgr[2]) / white, static_cast<float>(bgr[1]) / white,
                                 static_cast<float>(bgr[0]) / white});
      }
    }
  }
}

}  // namespace

LookupFile ReadLookupPicture(const std::string &path) {
  LookupFile unreadable{nullptr, "it is no picture that can be read", "save the table as a PNG picture"};
  const auto [fault, bytes] = ReadRegularFile(vanta::PathFromUtf8(path), kMostBytes);
  if (fault == FileFault::kTooLong) return {nullptr, "it is larger than 16 MiB", "save the table as a PNG picture"};
  const auto size = ReadPictureSize(bytes);
  if (!size) return unreadable;
  const int tiles = size->width == size->height ? TilesFor(size->width) : 0;
  if (tiles == 0) {
    return {nullptr,
            "a picture of " + std::to_string(size->width) + " by " + std::to_string(size->height) +
                " pixels holds no table",
            "use a square one of 64, 125, 216, 343 or 512 pixels a side"};
  }
  cv::Mat picture;
  try {
    picture = cv::imdecode(bytes, cv::IMREAD_COLOR | cv::IMREAD_ANYDEPTH);
  } catch (const cv::Exception &) {
    return unreadable;
  }
  if (picture.cols != size->width || picture.rows != size->height) return unreadable;
  auto table = std::make_shared<LookupTable>();
  table->side = tiles * tiles;
  table->entries.reserve(static_cast<size_t>(picture.cols) * static_cast<size_t>(picture.rows));
  if (picture.type() == CV_8UC3) {
    CopyEntries<cv::Vec3b>(picture, tiles, 255.0f, *table);
  } else if (picture.type() == CV_16UC3) {
    CopyEntries<cv::Vec3w>(picture, tiles, 65535.0f, *table);
  } else {
    return {nullptr, "its pixels are neither 8 nor 16 bits deep", "save the table as a PNG picture"};
  }
  return {std::move(table), {}, {}};
}

}  // namespace lumivex
