# Makes the two zips in a folder of their own and compares what they hold with the module's files.
#   cmake -DBINARY_DIR=... -DDATA_DIR=... -DVERSION=... -DCPACK=... -P packages_test.cmake
set(folder "${BINARY_DIR}/packages_test")
file(REMOVE_RECURSE "${folder}")
execute_process(COMMAND "${CPACK}" --config "${BINARY_DIR}/CPackConfig.cmake" -B "${folder}"
  RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(failed)
  message(FATAL_ERROR "cpack failed: ${output}")
endif()

file(GLOB_RECURSE data RELATIVE "${DATA_DIR}" "${DATA_DIR}/*")
list(LENGTH data count)
if(count LESS 10)
  message(FATAL_ERROR "${DATA_DIR} holds only ${count} files")
endif()

# check(LAYOUT MODULE DATA): the zip of that layout holds the DLL, which is one, and every data file, and no other file.
function(check layout module data_folder)
  set(zip "${folder}/vanta_filter-${VERSION}-windows-${layout}.zip")
  set(unpacked "${folder}/${layout}")
  file(ARCHIVE_EXTRACT INPUT "${zip}" DESTINATION "${unpacked}")
  file(GLOB_RECURSE found RELATIVE "${unpacked}" "${unpacked}/*")
  set(expected "${module}")
  foreach(file IN LISTS data)
    list(APPEND expected "${data_folder}/${file}")
  endforeach()
  list(SORT found)
  list(SORT expected)
  if(NOT found STREQUAL expected)
    message(FATAL_ERROR "${zip} holds\n${found}\ninstead of\n${expected}")
  endif()
  file(READ "${unpacked}/${module}" head LIMIT 2 HEX)
  if(NOT head STREQUAL "4d5a")
    message(FATAL_ERROR "${module} in ${zip} is no DLL")
  endif()
endfunction()

check(classic obs-plugins/64bit/vanta_filter.dll data/obs-plugins/vanta_filter)
check(plugin vanta_filter/bin/64bit/vanta_filter.dll vanta_filter/data)
