# libyuv for Windows, compiled as it stands from Debian's source package; Debian has no binary of it for this system.
set(VANTA_LIBYUV_SOURCE "${PROJECT_SOURCE_DIR}/build/third_party/libyuv" CACHE PATH
  "libyuv's unpacked source; scripts/fetch-libyuv brings it")
file(GLOB _sources CONFIGURE_DEPENDS "${VANTA_LIBYUV_SOURCE}/source/*.cc")
if(NOT _sources)
  message(FATAL_ERROR "${VANTA_LIBYUV_SOURCE}: no libyuv source there; run scripts/fetch-libyuv, or set VANTA_LIBYUV_SOURCE")
endif()
add_library(vanta_libyuv STATIC EXCLUDE_FROM_ALL ${_sources})
add_library(libyuv::yuv ALIAS vanta_libyuv)
target_include_directories(vanta_libyuv SYSTEM PUBLIC "${VANTA_LIBYUV_SOURCE}/include")
if(NOT MSVC)
  target_compile_options(vanta_libyuv PRIVATE -w -O2)  # not ours to warn about, and slow beyond use without optimisation
endif()
