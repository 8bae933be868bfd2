# The frame road against the bare work that it cannot do without.
add_executable(frame_road_bench frame_road_bench.cpp ${PROJECT_SOURCE_DIR}/plugins/vanta_filter/platform/clock.cpp
  $<TARGET_OBJECTS:vanta_filter_core>)
target_link_libraries(frame_road_bench PRIVATE vanta_bench vanta_filter_core vanta_host Lumivex tessera)
if(UNIX AND NOT APPLE)
  target_link_options(frame_road_bench PRIVATE -Wl,--wrap=obs_register_source_s)
endif()

# The direct conversions against bare libyuv, and V210 packing against ffmpeg's encoder.
pkg_check_modules(libavcodec REQUIRED IMPORTED_TARGET libavcodec libavutil)
add_executable(conversion_bench conversion_bench.cpp v210_encoder.cpp
  ${PROJECT_SOURCE_DIR}/plugins/vanta_filter/platform/clock.cpp $<TARGET_OBJECTS:vanta_filter_core>)
target_link_libraries(conversion_bench PRIVATE
  vanta_bench vanta_filter_core vanta_host Lumivex tessera libyuv::yuv PkgConfig::libavcodec)
if(UNIX AND NOT APPLE)
  target_link_options(conversion_bench PRIVATE -Wl,--wrap=obs_register_source_s)
endif()
