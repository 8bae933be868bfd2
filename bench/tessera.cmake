# Where the open vision runner puts its points on a hand-marked portrait: needs the tests' support.
if(TARGET vanta_test_portrait)
  add_executable(tessera_accuracy ${PROJECT_SOURCE_DIR}/bench/tessera_accuracy.cpp)
  target_link_libraries(tessera_accuracy PRIVATE vanta_flags vanta_test_portrait vanta_test_point_order)
endif()
