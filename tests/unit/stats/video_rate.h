// The host's frame rate, as the code under test reads it when it is built.
#pragma once

#include <cstdint>

namespace vanta_test {

// 30/1 as a test begins.
void SetVideoRate(uint32_t fps_num, uint32_t fps_den);
// obs_get_video_info fails from now on, to the test's end, whatever it leaves in the record.
void LoseVideo();

}  // namespace vanta_test
