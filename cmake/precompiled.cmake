# Headers of the system and of libraries, none of the project's, compiled once for each kind of product: reading them is a
# third to two thirds of a file's time (docs/decisions.md). The builds without it, sanitizers, clang and Windows, find an
# include that a file forgot.
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
vanta_precompile(vanta_precompiled LIBRARIES OBS::libobs nlohmann_json::nlohmann_json
  HEADERS ${_system} <nlohmann/json.hpp> <obs.h>
  TARGETS vanta_filter_core vanta_operations vanta_host_parts vanta_host_core vanta_run_core)
if(TARGET tessera_core)
  vanta_precompile(vanta_engine_precompiled LIBRARIES nlohmann_json::nlohmann_json OpenCV::core OpenCV::imgproc
    HEADERS ${_system} <nlohmann/json.hpp> <opencv2/core.hpp> <opencv2/imgproc.hpp>
    TARGETS tessera_core lumivex_core)
endif()
