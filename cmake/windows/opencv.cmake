# OpenCV for Windows, static, compiled from Debian's source package. Its modules and what they need in turn.
set(VANTA_OPENCV_DIR "${PROJECT_SOURCE_DIR}/build/third_party/opencv" CACHE PATH
  "OpenCV's headers, libraries and cascades for Windows; scripts/fetch-opencv makes them")

function(vanta_find_opencv)
  if(NOT EXISTS "${VANTA_OPENCV_DIR}/made-by")
    message(FATAL_ERROR "${VANTA_OPENCV_DIR}: no OpenCV for Windows there; run scripts/fetch-opencv, or set VANTA_OPENCV_DIR, or "
      "switch VANTA_BUILD_ENGINES off")
  endif()
  foreach(module IN LISTS ARGN)
    if(TARGET OpenCV::${module})
      continue()
    endif()
    file(GLOB library "${VANTA_OPENCV_DIR}/lib/libopencv_${module}*.a")
    if(NOT library)
      message(FATAL_ERROR "${VANTA_OPENCV_DIR}/lib: no libopencv_${module}; run scripts/fetch-opencv")
    endif()
    if(module STREQUAL "core")
      set(needs)
    elseif(module STREQUAL "imgproc")
      set(needs core)
    else()
      set(needs imgproc)
    endif()
    vanta_find_opencv(${needs})
    list(TRANSFORM needs PREPEND OpenCV::)
    if(module STREQUAL "imgcodecs")
      list(APPEND needs "${VANTA_OPENCV_DIR}/lib/libpng.a" "${VANTA_OPENCV_DIR}/lib/libjpeg.a")
    endif()
    add_library(OpenCV::${module} STATIC IMPORTED GLOBAL)
    set_target_properties(OpenCV::${module} PROPERTIES
      IMPORTED_LOCATION "${library}"
      INTERFACE_INCLUDE_DIRECTORIES "${VANTA_OPENCV_DIR}/include"
      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${VANTA_OPENCV_DIR}/include"
      INTERFACE_LINK_LIBRARIES "${needs};${VANTA_OPENCV_DIR}/lib/libz.a")
  endforeach()
endfunction()
