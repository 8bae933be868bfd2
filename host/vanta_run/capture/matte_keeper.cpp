#include "capture/matte_keeper.h"

#include <graphics/matrix4.h>

#include <opencv2/imgproc.hpp>
#include <utility>

namespace vanta_run {
namespace {

// More than libobs holds back between drawing a frame and delivering it.
constexpr size_t kKept = 24;

}  // namespace

MatteKeeper::MatteKeeper(obs_sceneitem_t *item) : item_(item) {
  obs_add_main_render_callback(OnDraw, this);
}

MatteKeeper::~MatteKeeper() {
  obs_remove_main_render_callback(OnDraw, this);
  obs_enter_graphics();
  gs_stagesurface_destroy(read_back_);
  gs_texrender_destroy(target_);
  obs_leave_graphics();
}

cv::Mat MatteKeeper::At(uint64_t timestamp) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // A frame that libobs repeats has a time between its own and the next drawn one's.
  for (auto matte = mattes_.rbegin(); matte != mattes_.rend(); ++matte) {
    if (matte->time <= timestamp) return matte->alpha;
  }
  return {};
}

// libobs calls this right before it draws the canvas, in the same frame: sources show the same picture in both.
void MatteKeeper::OnDraw(void *param, uint32_t width, uint32_t height) {
  auto *keeper = static_cast<MatteKeeper *>(param);
  if (!keeper->DrawItem(width, height)) return;
  cv::Mat alpha = keeper->ReadAlpha(width, height);
  if (alpha.empty()) return;
  const std::lock_guard<std::mutex> lock(keeper->mutex_);
  keeper->mattes_.push_back({obs_get_video_frame_time(), std::move(alpha)});
  if (keeper->mattes_.size() > kKept) keeper->mattes_.pop_front();
}

bool MatteKeeper::DrawItem(uint32_t width, uint32_t height) {
  if (target_ == nullptr) target_ = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
  gs_texrender_reset(target_);
  if (!gs_texrender_begin(target_, width, height)) return false;
  vec4 clear;
  vec4_zero(&clear);
  gs_clear(GS_CLEAR_COLOR, &clear, 0.0f, 0);
  gs_ortho(0.0f, static_cast<float>(width), 0.0f, static_cast<float>(height), -100.0f, 100.0f);
  gs_blend_state_push();
  gs_enable_blending(false);
  gs_matrix_push();
  matrix4 place;
  obs_sceneitem_get_draw_transform(item_, &place);
  gs_matrix_mul(&place);
  obs_source_video_render(obs_sceneitem_get_source(item_));
  gs_matrix_pop();
  gs_blend_state_pop();
  gs_texrender_end(target_);
  return true;
}

cv::Mat MatteKeeper::ReadAlpha(uint32_t width, uint32_t height) {
  if (read_back_ == nullptr) read_back_ = gs_stagesurface_create(width, height, GS_RGBA);
  if (read_back_ == nullptr) return {};
  gs_stage_texture(read_back_, gs_texrender_get_texture(target_));
  uint8_t *data = nullptr;
  uint32_t pitch = 0;
  if (!gs_stagesurface_map(read_back_, &data, &pitch)) return {};
  cv::Mat alpha;
  cv::extractChannel(cv::Mat(static_cast<int>(height), static_cast<int>(width), CV_8UC4, data, pitch), alpha, 3);
  gs_stagesurface_unmap(read_back_);
  return alpha;
}

}  // namespace vanta_run
