# Headers of the system and of libraries, none of the project's, compiled once for each kind of product: reading them is a
# third to two thirds of a file's time (docs/decisions.md). What does without it, clang-tidy and the build for Windows,
# finds an include that a file forgot. <nlohmann/json.hpp> is not among them: its inline functions are compiled anew at
# the end of every file that takes it, a third of a second each, and one file in six uses it.
# vanta_precompile(NAME LIBRARIES library... HEADERS header... TARGETS target...)
function(vanta_precompile name)
  cmake_parse_arguments(arg "" "" "LIBRARIES;HEADERS;TARGETS" ${ARGN})
  file(CONFIGURE OUTPUT ${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  target_link_libraries(${name} PRIVATE vanta_flags ${arg_LIBRARIES} Threads::Threads)
  target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
  foreach(target IN LISTS arg_TARGETS)
    if(TARGET ${target})
      target_precompile_headers(${target} REUSE_FROM ${name})
    endif()
  endforeach()
endfunction()

set(_system <algorithm> <array> <atomic> <chrono> <cmath> <condition_variable> <cstdint> <filesystem> <functional> <map>
  <memory> <mutex> <optional> <string> <thread> <vector>)
vanta_precompile(vanta_precompiled LIBRARIES OBS::libobs
  HEADERS ${_system} <obs.h>
  TARGETS vanta_filter_core vanta_operations vanta_host_parts vanta_host_core vanta_run_core)
if(TARGET tessera_core)
  vanta_precompile(vanta_engine_precompiled LIBRARIES OpenCV::core OpenCV::imgproc
    HEADERS ${_system} <opencv2/core.hpp> <opencv2/imgproc.hpp>
    TARGETS tessera_core lumivex_core)
endif()
