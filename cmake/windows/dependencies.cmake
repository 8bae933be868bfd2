# On Windows the host, the engine and the vision runner are DLLs beside the module; what is needed of them here is
# headers and import libraries.
include(${CMAKE_CURRENT_LIST_DIR}/import_library.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/late_imports.cmake)

# Headers that are the same on every system. Debian keeps them below /usr/include, which as a whole holds the headers of
# another system: each gets an include folder of its own.
set(VANTA_OBS_INCLUDE_DIR "/usr/include/obs" CACHE PATH "Folder of libobs's headers")
set(VANTA_NLOHMANN_INCLUDE_DIR "/usr/include/nlohmann" CACHE PATH "nlohmann-json's folder 'nlohmann'")
set(VANTA_SIMDE_INCLUDE_DIR "/usr/include/simde" CACHE PATH "SIMDe's folder 'simde'; Microsoft's compiler needs none")

# vanta_headers(target FOLDER [NAME]): headers of `folder`, which are included as <NAME/...> where there is a name.
function(vanta_headers target folder)
  if(NOT IS_DIRECTORY "${folder}")
    message(FATAL_ERROR "${folder}: no such folder; install the headers or set the matching VANTA_*_INCLUDE_DIR")
  endif()
  set(include "${folder}")
  if(ARGC GREATER 2)
    set(include "${PROJECT_BINARY_DIR}/include/${ARGV2}")
    file(MAKE_DIRECTORY "${include}")
    file(CREATE_LINK "${folder}" "${include}/${ARGV2}" COPY_ON_ERROR SYMBOLIC)
  endif()
  target_include_directories(${target} SYSTEM INTERFACE "${include}")
endfunction()

set(_lists "${CMAKE_CURRENT_LIST_DIR}/imports")
vanta_import_library(vanta_import_obs obs "${_lists}/obs.def" "${_lists}/obs.${VANTA_CXX_ABI}.def")
# What the host layer for stock OBS Studio calls of public libobs.
vanta_import_library(vanta_import_obs_host obs "${_lists}/obs_host.def")
add_library(OBS::libobs INTERFACE IMPORTED GLOBAL)
vanta_headers(OBS::libobs "${VANTA_OBS_INCLUDE_DIR}")
if(NOT MSVC)
  vanta_headers(OBS::libobs "${VANTA_SIMDE_INCLUDE_DIR}" simde)
endif()

add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED GLOBAL)
vanta_headers(nlohmann_json::nlohmann_json "${VANTA_NLOHMANN_INCLUDE_DIR}" nlohmann)

# The engine's and the runner's methods are C++: with Microsoft's compiler their maker's own import libraries fit, with
# this one the lists.
set(VANTA_LUMIVEX_LIBRARY "" CACHE FILEPATH "Import library of Lumivex.dll, where its maker supplies one")
set(VANTA_TESSERA_LIBRARY "" CACHE FILEPATH "Import library of tessera.dll, likewise")

function(vanta_import_neighbour target dll own)
  if(${own})
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_link_libraries(${target} INTERFACE "${${own}}")
  elseif(MSVC)
    message(FATAL_ERROR "set ${own} to the import library of ${dll}.dll")
  else()
    vanta_import_library(${target} ${dll} "${_lists}/${dll}.${VANTA_CXX_ABI}.def")
  endif()
endfunction()
vanta_import_neighbour(vanta_import_lumivex Lumivex VANTA_LUMIVEX_LIBRARY)
vanta_import_neighbour(vanta_import_tessera tessera VANTA_TESSERA_LIBRARY)

include(${CMAKE_CURRENT_LIST_DIR}/libyuv.cmake)
