# The landmark filter's capture on whole libobs: needs the integration tests' support and a runner that answers at once.
if(TARGET vanta_integration_support)
  add_executable(landmark_bench ${PROJECT_SOURCE_DIR}/bench/landmark_bench.cpp)
  target_link_libraries(landmark_bench PRIVATE vanta_bench vanta_integration_support vanta_test_common vanta_test_gl
                                               vanta_test_runner Lumivex GTest::gtest)
  set_target_properties(landmark_bench PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(landmark_bench vanta_filter)

  add_executable(landmark_frames_bench ${PROJECT_SOURCE_DIR}/bench/landmark_frames_bench.cpp)
  target_link_libraries(landmark_frames_bench PRIVATE vanta_flags vanta_integration_support vanta_test_common
                                                      vanta_test_gl vanta_test_portrait vanta_test_point_order Lumivex
                                                      tessera GTest::gtest)
  set_target_properties(landmark_frames_bench PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(landmark_frames_bench vanta_filter)
endif()
