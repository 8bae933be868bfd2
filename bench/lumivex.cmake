# The open engine against OpenCV's bilateral filter.
include(${PROJECT_SOURCE_DIR}/cmake/opencv.cmake)
vanta_find_opencv(core imgproc)
add_executable(lumivex_bench ${PROJECT_SOURCE_DIR}/bench/lumivex_bench.cpp)
target_link_libraries(lumivex_bench PRIVATE vanta_bench vanta_flags Lumivex OpenCV::core OpenCV::imgproc)
