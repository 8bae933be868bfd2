# `cpack` in a Windows build folder: one zip for each of the two layouts in which hosts look for plug-ins.
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_NAME vanta_filter)
  set(CPACK_COMPONENTS_ALL classic plugin)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_GROUPING IGNORE)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_ARCHIVE_CLASSIC_FILE_NAME vanta_filter-${PROJECT_VERSION}-windows-classic)
  set(CPACK_ARCHIVE_PLUGIN_FILE_NAME vanta_filter-${PROJECT_VERSION}-windows-plugin)
  set(CPACK_STRIP_FILES ON)  # debug information is four fifths of the DLL
  include(CPack)
endif()
