#include "fakes/graphics/gs_recorder.h"

#include <graphics/image-file.h>
#include <gtest/gtest.h>

namespace {

using namespace vanta_test;

TEST(GsRecorder, ReplacesLibobsAndNotesArguments) {
  const gs_recorder::InGraphics inside;
  gs_texture_t *texture = gs_texture_create(16, 8, GS_RGBA, 1, nullptr, GS_DYNAMIC);
  gs_texture_destroy(texture);
  EXPECT_EQ(gs_recorder::Calls(), (std::vector<std::string>{"gs_texture_create(16, 8, GS_RGBA, 1, null, GS_DYNAMIC)",
                                                            "gs_texture_destroy(texture1)"}));
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  EXPECT_TRUE(gs_recorder::Misuse().empty());
}

TEST(GsRecorder, FailsTheCallItIsToldTo) {
  const gs_recorder::InGraphics inside;
  gs_recorder::FailCall(2);
  gs_texture_t *first = gs_texture_create(1, 1, GS_RGBA, 1, nullptr, GS_DYNAMIC);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(gs_texture_create(1, 1, GS_RGBA, 1, nullptr, GS_DYNAMIC), nullptr);
  gs_texture_destroy(first);
}

TEST(GsRecorder, NoticesCallsOutsideGraphicsAndDeadObjects) {
  gs_texture_t *texture = gs_texture_create(1, 1, GS_RGBA, 1, nullptr, GS_DYNAMIC);
  EXPECT_EQ(gs_recorder::Misuse().size(), 1u);
  const gs_recorder::InGraphics inside;
  gs_texture_destroy(texture);
  gs_texture_destroy(texture);
  EXPECT_EQ(gs_recorder::Misuse().size(), 2u);
}

TEST(GsRecorder, CallsInsideLibobsReachItToo) {
  const gs_recorder::InGraphics inside;
  gs_image_file_t image{};
  image.loaded = true;
  image.cx = 3;
  image.cy = 2;
  image.format = GS_RGBA;
  gs_image_file_init_texture(&image);
  EXPECT_EQ(gs_recorder::Count("gs_texture_create(3, 2, GS_RGBA"), 1u);
  gs_texture_destroy(image.texture);
}

}  // namespace
