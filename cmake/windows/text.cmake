# FreeType, HarfBuzz and the font of effects' texts for Windows, compiled from Debian's source packages.
set(VANTA_TEXT_DIR "${PROJECT_SOURCE_DIR}/build/third_party/text" CACHE PATH
  "FreeType's and HarfBuzz's headers and libraries for Windows, and a font; scripts/fetch-text-libraries makes them")

# Defines vanta_text; the font and the licences become a part of the zip for OBS Studio.
function(vanta_find_text)
  if(NOT EXISTS "${VANTA_TEXT_DIR}/made-by")
    message(FATAL_ERROR "${VANTA_TEXT_DIR}: no FreeType and HarfBuzz for Windows there; run scripts/fetch-text-libraries, or set "
      "VANTA_TEXT_DIR, or switch LUMIVEX_SHAPED_TEXT off")
  endif()
  add_library(vanta_text INTERFACE)
  target_include_directories(vanta_text SYSTEM INTERFACE "${VANTA_TEXT_DIR}/include/freetype2"
                                                         "${VANTA_TEXT_DIR}/include/harfbuzz")
  target_link_libraries(vanta_text INTERFACE "${VANTA_TEXT_DIR}/lib/libharfbuzz.a" "${VANTA_TEXT_DIR}/lib/libfreetype.a")
  set(data data/obs-plugins/vanta_filter)
  install(DIRECTORY "${VANTA_TEXT_DIR}/fonts" DESTINATION ${data} COMPONENT stock EXCLUDE_FROM_ALL)
  install(DIRECTORY "${VANTA_TEXT_DIR}/licenses/" DESTINATION ${data}/licenses COMPONENT stock EXCLUDE_FROM_ALL)
endfunction()
