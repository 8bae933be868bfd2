# `cpack` in a build folder. On Windows: one zip for each of the two layouts in which customised hosts look for plug-ins,
# and one for stock OBS Studio.
if(WIN32)
  # Whose code is in the libraries, beside the system's and the host's own.
  set(VANTA_LICENCES
    ${PROJECT_SOURCE_DIR}/LICENSE vanta_filter
    ${PROJECT_SOURCE_DIR}/docs/licences.md licences
    ${VANTA_LIBYUV_SOURCE}/LICENSE libyuv
    /usr/share/doc/nlohmann-json3-dev/copyright nlohmann-json
    /usr/share/doc/libsimde-dev/copyright simde
    /usr/share/doc/mingw-w64-x86-64-dev/copyright mingw-w64
    /usr/share/doc/g++-mingw-w64-x86-64-posix/copyright gcc)
  function(vanta_install_licences component folder)
    set(licences ${VANTA_LICENCES})
    set(exclude EXCLUDE_FROM_ALL)
    if(component STREQUAL "classic")
      set(exclude)
    endif()
    while(licences)
      list(POP_FRONT licences file name)
      if(EXISTS ${file})
        install(FILES ${file} DESTINATION ${folder}/licenses RENAME ${name}.txt COMPONENT ${component} ${exclude})
      endif()
    endwhile()
  endfunction()
  vanta_install_licences(classic data/obs-plugins/vanta_filter)
  vanta_install_licences(plugin vanta_filter/data)
  vanta_install_licences(stock data/obs-plugins/vanta_filter)

  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_NAME vanta_filter)
  set(CPACK_COMPONENTS_ALL classic plugin stock)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_GROUPING IGNORE)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_ARCHIVE_CLASSIC_FILE_NAME vanta_filter-${PROJECT_VERSION}-windows-classic)
  set(CPACK_ARCHIVE_PLUGIN_FILE_NAME vanta_filter-${PROJECT_VERSION}-windows-plugin)
  set(CPACK_ARCHIVE_STOCK_FILE_NAME vanta_filter-${PROJECT_VERSION}-windows-obs-studio)
  set(CPACK_STRIP_FILES ON)  # debug information is four fifths of the DLL
  set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/windows/strip_time.cmake)
  include(CPack)
elseif(UNIX AND NOT APPLE)
  # `cpack` in a Linux build folder: a Debian package, below /usr, where Debian's OBS Studio finds the plug-in.
  # What is shipped, and under which licence: where Debian's packages have it.
  install(FILES ${PROJECT_SOURCE_DIR}/docs/licences.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vanta-filter RENAME copyright)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vanta-filter)

  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME vanta-filter)
  set(CPACK_PACKAGE_CONTACT "vanta_filter maintainers <vanta-filter@localhost>")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION video)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS opencv-data)  # the cascades that find faces
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The package's own libraries belong to no package yet.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/host/vanta_host ${PROJECT_BINARY_DIR}/engines/lumivex ${PROJECT_BINARY_DIR}/engines/tessera)
  # A host, what vanta-run plays with where there is no display, and fonts for effects' texts.
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "obs-studio, obs-plugins, xvfb, libgl1-mesa-dri, libegl-mesa0, fonts-dejavu-core, fonts-wqy-microhei")
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS gnuplot-nox)
  include(CPack)
endif()
