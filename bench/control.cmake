# Commands and statistics, on paper graphics: they need the test support.
if(TARGET vanta_test_recorder)
  foreach(program command_bench statistics_bench)
    add_executable(${program} ${PROJECT_SOURCE_DIR}/bench/${program}.cpp
      ${PROJECT_SOURCE_DIR}/plugins/vanta_filter/platform/clock.cpp $<TARGET_OBJECTS:vanta_filter_core>)
    target_link_libraries(${program} PRIVATE vanta_bench vanta_filter_core vanta_test_common vanta_test_recorder
                                             vanta_test_host vanta_test_engine vanta_test_runner vanta_host GTest::gtest)
    target_link_options(${program} PRIVATE -Wl,--wrap=obs_register_source_s)
    set_target_properties(${program} PROPERTIES ENABLE_EXPORTS ON)
  endforeach()
endif()
