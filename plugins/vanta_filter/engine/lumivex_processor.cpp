#include "engine/lumivex_processor.h"

#include <util/base.h>

#include <string>
#include <utility>

#include "obs/engine_paths.h"

namespace vanta {

bool LumivexProcessor::Initialize(uint32_t width, uint32_t height, const std::shared_ptr<GLFWwindow> &gl_window) {
  const std::string face_beauty_path = FaceBeautyPath();
  if (!face_beauty_path.empty()) blog(LOG_INFO, "face_beauty_path= %s", face_beauty_path.c_str());
  const std::string ai_path = AiPath();
  if (!ai_path.empty()) blog(LOG_INFO, "ai_path= %s", ai_path.c_str());
  width_ = width;
  height_ = height;
  LumivexRender::Initialize(width, height, gl_window, face_beauty_path, ai_path);
  return true;
}

LumivexProcessor::ProcessResult LumivexProcessor::Process(PooledFrame &frame) {
  if (!IsInitialized() || (frame.data && (static_cast<uint32_t>(frame.data->width) != width_ ||
                                          static_cast<uint32_t>(frame.data->height) != height_)))
    return kNotProcessed;
  if (skip_lumivex_.load(std::memory_order_relaxed)) return kFinished;
  std::shared_ptr<LX::FrameData> data = frame.data;
  if (!data) {
    blog(LOG_INFO, "[beauty][lumivex] ret_ptr nullptr ");
    return kFinished;
  }
  std::shared_ptr<LX::FrameData> result = ProcessFrameData(std::move(data));
  if (!result) return kNotProcessed;
  if (result->dump_flag != 0)
    blog(LOG_INFO, "[ImageDump] after beauty_fitler id : %lld", static_cast<long long>(result->dump_flag));
  frame.data = std::move(result);
  return kFinished;
}

}  // namespace vanta
