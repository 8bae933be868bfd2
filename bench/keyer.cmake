# The green screen against libobs's stock chroma key, on whole libobs: needs the integration tests' support.
if(TARGET vanta_integration_support)
  pkg_check_modules(bench_egl REQUIRED IMPORTED_TARGET egl)
  add_executable(keyer_bench
    keyer/key_sheet.cpp
    keyer/keyer_bench.cpp
    keyer/keyer_main.cpp
    keyer/keyer_metrics.cpp
    keyer/keyer_scene.cpp
    keyer/keyer_speed.cpp
    keyer/pass_times.cpp
    keyer/scaled_sheet.cpp
    keyer/stock_key.cpp)
  target_include_directories(keyer_bench PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(keyer_bench PRIVATE vanta_bench vanta_integration_support vanta_test_common vanta_test_gl Lumivex
    PkgConfig::bench_egl OpenCV::core OpenCV::imgproc OpenCV::imgcodecs ${CMAKE_DL_LIBS})
  set_target_properties(keyer_bench PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(keyer_bench vanta_filter)
endif()
