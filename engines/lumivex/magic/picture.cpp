#include "magic/picture.h"

#include <util/base.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "files/moving_kind.h"
#include "files/moving_picture.h"
#include "files/picture_size.h"
#include "magic/shaped_text.h"
#include "makeup/rgba_blend.h"
#include "platform/regular_file.h"

namespace lumivex {
namespace {

constexpr int kSmallestLevel = 8;  // pixels a side
constexpr char kSaveAsPng[] = "save it as a PNG picture of 8 bits a channel";

// A JPEG picture is turned as its camera noted; that note is not read with
// IMREAD_UNCHANGED, which alone keeps alpha.
cv::Mat Decoded(const std::vector<uint8_t> &content) {
  const bool jpeg = content.front() == 0xFF;
  return cv::imdecode(content, jpeg ? cv::IMREAD_COLOR : cv::IMREAD_UNCHANGED);
}

// Blue, green, red and alpha; empty for what is not 8 or 16 bits deep.
cv::Mat ToBgra(cv::Mat picture) {
  if (picture.depth() == CV_16U) picture.convertTo(picture, CV_8U, 1.0 / 257.0);
  if (picture.depth() != CV_8U) return {};
  cv::Mat bgra;
  switch (picture.channels()) {
    case 1:
      cv::cvtColor(picture, bgra, cv::COLOR_GRAY2BGRA);
      break;
    case 3:
      cv::cvtColor(picture, bgra, cv::COLOR_BGR2BGRA);
      break;
    case 4:
      bgra = std::move(picture);
      break;
    default:
      break;
  }
  return bgra;
}

uint8_t Product(uint8_t color, uint8_t alpha) {
  return static_cast<uint8_t>((color * alpha + 127) / 255);
}

// In OpenCV's own font, which has ASCII alone: '?' for every other character.
cv::Mat PlainText(const std::string &text) {
  std::string ascii;
  for (const char letter : text) {
    const auto byte = static_cast<uint8_t>(letter);
    if ((byte & 0xC0) == 0x80) continue;  // of a character that has begun
    ascii += byte >= ' ' && byte <= '~' ? letter : '?';
  }
  constexpr int kFont = cv::FONT_HERSHEY_DUPLEX;
  constexpr double kScale = 2.0;
  constexpr int kThickness = 4;
  constexpr int kMargin = 2 * kThickness;
  int below = 0;
  const cv::Size size = cv::getTextSize(ascii, kFont, kScale, kThickness, &below);
  cv::Mat alpha(size.height + below + 2 * kMargin, size.width + 2 * kMargin, CV_8U, cv::Scalar(0));
  cv::putText(alpha, ascii, {kMargin, kMargin + size.height}, kFont, kScale, cv::Scalar(255), kThickness, cv::LINE_AA);
  return alpha;
}

void SayPlainText() {
  static std::atomic<bool> logged{false};
  if (!logged.exchange(true))
    blog(LOG_WARNING,
         "[lumivex] effects' texts are drawn in ASCII alone: no font, or built without FreeType and HarfBuzz");
}

std::string Sized(const PictureSize &size) {
  return std::to_string(size.width) + " by " + std::to_string(size.height) + " pixels";
}

PictureFile DecodedFile(const FileContent &file, PixelBudget &budget) {
  const auto &[fault, content] = file;
  if (fault == FileFault::kTooLong) return {nullptr, "it is larger than 64 MiB", kSaveAsPng};
  if (content.empty()) return {nullptr, "it is no file that can be read", "check the name"};
  const auto size = ReadPictureSize(content);
  if (!size) return {nullptr, "it is no PNG, JPEG or WebP picture", kSaveAsPng};
  if (size->width < 1 || size->height < 1 || size->width > kMaxPictureSide || size->height > kMaxPictureSide)
    return {nullptr, "it has " + Sized(*size), "make it at most 4096 pixels a side"};
  if (size->width * size->height > budget.left)
    return {nullptr, "with it the pictures have more than 32 million pixels", "use fewer or smaller pictures"};
  budget.left -= size->width * size->height;
  cv::Mat pixels;
  try {
    pixels = ToBgra(Decoded(content));
  } catch (const cv::Exception &) {
    // Broken pictures are the same whether the decoder gives nothing or throws.
  }
  if (pixels.empty()) return {nullptr, "it is a broken picture", kSaveAsPng};
  return {std::make_shared<const Picture>(pixels), {}, {}};
}

}  // namespace

Picture::Picture(const cv::Mat &pixels) {
  cv::Mat level(pixels.rows, pixels.cols, CV_8UC4);
  for (int row = 0; row < pixels.rows; ++row) {
    const auto *from = pixels.ptr<cv::Vec4b>(row);
    auto *to = level.ptr<cv::Vec4b>(row);
    for (int x = 0; x < pixels.cols; ++x) {
      const uint8_t alpha = from[x][3];
      to[x] = {Product(from[x][2], alpha), Product(from[x][1], alpha), Product(from[x][0], alpha), alpha};
    }
  }
  levels_.push_back(level);
  seen_ = SeenPart(level);
  while (std::min(level.cols, level.rows) >= 2 * kSmallestLevel) {
    cv::Mat half;
    cv::resize(level, half, {level.cols / 2, level.rows / 2}, 0, 0, cv::INTER_AREA);
    levels_.push_back(half);
    level = half;
  }
}

const cv::Mat &Picture::LevelFor(float shrink) const {
  size_t index = 0;
  for (float rest = shrink; rest >= 1.9f && index + 1 < levels_.size(); rest /= 2.0f) ++index;
  return levels_[index];
}

const PicturePointer &Pictures::At(int64_t milliseconds, double fps, bool loop) const {
  if (ends_ms.empty()) {
    const auto passed = static_cast<size_t>(static_cast<double>(milliseconds) * fps / 1000);
    return list[loop ? passed % list.size() : std::min(passed, list.size() - 1)];
  }
  const int64_t whole = ends_ms.back();
  const int64_t time = loop ? milliseconds % whole : std::min(milliseconds, whole - 1);
  return list[static_cast<size_t>(std::upper_bound(ends_ms.begin(), ends_ms.end(), time) - ends_ms.begin())];
}

PictureFile ReadPicture(const std::filesystem::path &file, PixelBudget &budget) {
  return DecodedFile(ReadRegularFile(file, kMaxPictureBytes), budget);
}

PicturesFile ReadPictures(const std::filesystem::path &file, PixelBudget &budget, const std::atomic<bool> &cancelled) {
  const FileContent content = ReadRegularFile(file, kMaxPictureBytes);
  const MovingKind kind = MovingKindOf(content.bytes);
  if (kind == MovingKind::kNone || (kind == MovingKind::kPng && !PlaysMovingPictures())) {
    PictureFile still = DecodedFile(content, budget);
    if (!still.picture) return {{}, std::move(still.reason), std::move(still.remedy)};
    return {{{std::move(still.picture)}, {}}, {}, {}};
  }
  PicturesFile result;
  MovingFile moving = ReadMoving(kind, content.bytes, {kMaxPictureSide, budget.left, kMaxMovingPictures}, cancelled,
                                 [&](const cv::Mat &picture) {
                                   budget.left -= picture.size().area();
                                   result.pictures.list.push_back(std::make_shared<const Picture>(picture));
                                 });
  if (!moving.reason.empty()) return {{}, std::move(moving.reason), std::move(moving.remedy)};
  if (cancelled.load(std::memory_order_relaxed)) return {};
  result.pictures.ends_ms = std::move(moving.ends_ms);
  return result;
}

PicturePointer DrawText(const std::string &text, const std::array<uint8_t, 3> &color) {
  if (text.empty()) return nullptr;
  cv::Mat alpha = ShapedText(text);
  if (alpha.empty()) {
    SayPlainText();
    alpha = PlainText(text);
  }
  const cv::Mat solid(alpha.rows, alpha.cols, CV_8UC3, cv::Scalar(color[2], color[1], color[0]));
  cv::Mat bgra(alpha.rows, alpha.cols, CV_8UC4);
  const cv::Mat parts[] = {solid, alpha};
  const int from_to[] = {0, 0, 1, 1, 2, 2, 3, 3};
  cv::mixChannels(parts, 2, &bgra, 1, from_to, 4);
  return std::make_shared<const Picture>(bgra);
}

}  // namespace lumivex
