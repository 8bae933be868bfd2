#include <cstdio>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

// What `nm` lists as defined in the library.
std::set<std::string> Exports() {
  std::set<std::string> names;
  FILE *list = popen("nm -D --defined-only --format=posix '" VANTA_HOST_LIBRARY "'", "r");
  if (!list) return names;
  char line[1024];
  while (std::fgets(line, sizeof(line), list)) names.insert(std::string(line, std::string(line).find(' ')));
  pclose(list);
  return names;
}

TEST(Exports, AreThoseOfTheHeadersAndTheWrappedRegistration) {
  const std::set<std::string> expected = {
      "EnableAsyncBeautyOption",
      "EnableCreateLXGLContext",
      "EnableDestroyGLFWWindow",
      "EnableOBSFrameFilp",
      "JumpTextureRenderEnable",
      "EnableAsyncGpuTextureMap",
      "FacePointByLX",
      "IsBeautySharedTexture",
      "SetBeautySharedTexture",
      "IsBeautySharedTextureFallback",
      "SetBeautySharedTextureFallback",
      "SetIsDeinterlace",
      "FaceBeautyThreadManagerAddThread",
      "FaceBeautyThreadManagerRemoveThread",
      "SetFaceBeautyFilterWorkerThreadId",
      "SetFaceBeautyFilterWorkerThreadTimestamp",
      "FaceBeautyFilterWorkerThreadSleep",
      "SetTesseraLandmarkFilterWorkerThreadId",
      "SetTesseraLandmarkFilterWorkerThreadTimestamp",
      "TesseraLandmarkFilterWorkerThreadSleep",
      "SetTesseraLandmarkFilterGpuWorkerThreadId",
      "SetTesseraLandmarkFilterGpuWorkerThreadTimestamp",
      "TesseraLandmarkFilterGpuWorkerThreadSleep",
      "blog_user_define_data_report",
      "blog_corvid",
      "GetD3DAdapterInfo",
      "VantaDeckV210to420P",
      "video_format_get_colorspace_from_matrix",
      "_ZN19FrameRateCalcCenter8InstanceEv",
      "gs_texture_open_shared",
      "gs_texture_get_shared_handle",
      "gs_texture_acquire_sync",
      "gs_texture_release_sync",
      "__wrap_obs_register_source_s",
      "vanta_host_attach",
      "vanta_host_detach",
      "vanta_host_set_switch",
      "vanta_host_get_switch",
      "vanta_host_switch_name",
      "vanta_host_set_flag",
      "vanta_host_get_flag",
      "vanta_host_get_workers",
      "vanta_host_set_landmark_in_background",
      "vanta_host_set_watchdog_ms",
      "vanta_host_set_worker_sleep_us",
      "vanta_host_set_report_callback",
      "vanta_host_get_report",
      "vanta_host_clear_reports",
      "vanta_host_get_engine_state",
      "vanta_host_engine_state_name",
      "vanta_host_is_passing_through",
      "vanta_host_end_pass_through",
      "vanta_host_register_ability_handler",
      "vanta_host_unregister_ability_handler",
      "vanta_host_get_faceless",
      "vanta_host_mark_next_frame",
      "vanta_host_get_dump_json",
      "vanta_host_adapter_name",
      "vanta_host_gl_context_create",
      "vanta_host_gl_context_create_for_worker",
      "vanta_host_gl_context_bind",
      "vanta_host_gl_context_unbind",
      "vanta_host_gl_context_destroy",
      "vanta_host_gl_function",
      "vanta_host_texture_exchange",
      "vanta_host_texture_publish",
      "vanta_host_texture_open",
      "vanta_host_texture_handle",
      "vanta_host_texture_gl_name",
      "vanta_host_texture_acquire",
      "vanta_host_texture_release",
      "vanta_host_texture_close",
  };
  EXPECT_EQ(Exports(), expected);
}

}  // namespace
