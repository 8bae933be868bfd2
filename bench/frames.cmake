# The frame road against the bare work that it cannot do without.
add_executable(frame_road_bench frame_road_bench.cpp ${PROJECT_SOURCE_DIR}/plugins/vanta_filter/platform/clock.cpp
  $<TARGET_OBJECTS:vanta_filter_core>)
target_link_libraries(frame_road_bench PRIVATE vanta_bench vanta_filter_core vanta_host Lumivex)
if(UNIX AND NOT APPLE)
  target_link_options(frame_road_bench PRIVATE -Wl,--wrap=obs_register_source_s)
endif()
