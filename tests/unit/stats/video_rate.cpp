#include "video_rate.h"

#include <obs.h>

#include "support/fresh_start.h"

namespace {

bool has_video = true;
uint32_t num = 30;
uint32_t den = 1;

void Reset() {
  has_video = true;
  num = 30;
  den = 1;
}

const vanta_test::FreshStart fresh_start(&Reset);

}  // namespace

namespace vanta_test {

void SetVideoRate(uint32_t fps_num, uint32_t fps_den) {
  num = fps_num;
  den = fps_den;
}

void LoseVideo() {
  has_video = false;
}

}  // namespace vanta_test

extern "C" bool obs_get_video_info(obs_video_info *info) {
  info->fps_num = num;
  info->fps_den = den;
  return has_video;
}
