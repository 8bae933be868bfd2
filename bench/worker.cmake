# The whole filter on paper graphics, with the open engine: needs the test support.
if(TARGET vanta_test_recorder)
  add_executable(worker_bench ${PROJECT_SOURCE_DIR}/bench/worker_bench.cpp
    ${PROJECT_SOURCE_DIR}/plugins/vanta_filter/platform/clock.cpp $<TARGET_OBJECTS:vanta_filter_core>)
  target_link_libraries(worker_bench PRIVATE vanta_bench vanta_filter_core vanta_test_common vanta_test_recorder vanta_test_host
                                             Lumivex tessera vanta_host GTest::gtest)
  target_link_options(worker_bench PRIVATE -Wl,--wrap=obs_register_source_s)
  set_target_properties(worker_bench PROPERTIES ENABLE_EXPORTS ON)
endif()
