# Imported targets OpenCV::<module> from headers and libraries alone: Debian's small OpenCV packages carry no CMake files.
include_guard(GLOBAL)
if(WIN32)
  include(${CMAKE_CURRENT_LIST_DIR}/windows/opencv.cmake)
  return()
endif()
find_path(VANTA_OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)

function(vanta_find_opencv)
  foreach(module IN LISTS ARGN)
    if(TARGET OpenCV::${module})
      continue()
    endif()
    find_library(VANTA_OPENCV_${module}_LIBRARY opencv_${module} REQUIRED)
    add_library(OpenCV::${module} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(OpenCV::${module} PROPERTIES
      IMPORTED_LOCATION ${VANTA_OPENCV_${module}_LIBRARY}
      INTERFACE_INCLUDE_DIRECTORIES ${VANTA_OPENCV_INCLUDE_DIR}
      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${VANTA_OPENCV_INCLUDE_DIR})
  endforeach()
endfunction()
