# The filter's drawing on whole libobs: needs the integration tests' support.
if(TARGET vanta_integration_support)
  add_executable(render_bench ${PROJECT_SOURCE_DIR}/bench/render_bench.cpp)
  target_link_libraries(render_bench PRIVATE vanta_bench vanta_integration_support vanta_test_common vanta_test_gl Lumivex
                                             GTest::gtest)
  set_target_properties(render_bench PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(render_bench vanta_filter)
endif()
