# What the module is built with, under the same names on every system: OBS::libobs, nlohmann_json::nlohmann_json,
# libyuv::yuv and Threads::Threads.
find_package(Threads REQUIRED)

if(WIN32)
  include(cmake/windows/dependencies.cmake)
  return()
endif()

find_package(PkgConfig REQUIRED)
pkg_check_modules(libobs REQUIRED IMPORTED_TARGET GLOBAL libobs)
# libobs's own flags ask for instruction sets that every x86-64 has; other processors do not know them.
get_target_property(_obs_flags PkgConfig::libobs INTERFACE_COMPILE_OPTIONS)
if(_obs_flags)
  list(FILTER _obs_flags EXCLUDE REGEX "^-m")
  set_target_properties(PkgConfig::libobs PROPERTIES INTERFACE_COMPILE_OPTIONS "${_obs_flags}")
endif()
get_target_property(_obs_includes PkgConfig::libobs INTERFACE_INCLUDE_DIRECTORIES)
set_target_properties(PkgConfig::libobs PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${_obs_includes}")
add_library(OBS::libobs ALIAS PkgConfig::libobs)

find_package(nlohmann_json 3.6.1 REQUIRED)

# libyuv comes without files for pkg-config or CMake.
find_path(LIBYUV_INCLUDE_DIR libyuv.h REQUIRED)
find_library(LIBYUV_LIBRARY yuv REQUIRED)
add_library(libyuv::yuv UNKNOWN IMPORTED GLOBAL)
set_target_properties(libyuv::yuv PROPERTIES
  IMPORTED_LOCATION "${LIBYUV_LIBRARY}"
  INTERFACE_INCLUDE_DIRECTORIES "${LIBYUV_INCLUDE_DIR}")
