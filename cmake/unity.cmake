# Fewer and bigger compilations where the same sources are compiled again, under a sanitizer or by another compiler: what
# the files of a group include is read, and its templates made, once for all of them. Off, each file is taken by itself,
# so that a missing #include shows.
option(VANTA_UNITY "Compile the sources in groups" OFF)

# vanta_unity(target GROUP FILES...): FILES, sources of `target` listed in the same folder's list, as one compilation.
# Names in their anonymous namespaces must differ; a file where they cannot stays outside.
function(vanta_unity target group)
  if(VANTA_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${group})
  endif()
endfunction()

# vanta_unity_tests(target): a test's sources by fives. One whose names collide with another's has the property
# SKIP_UNITY_BUILD_INCLUSION.
function(vanta_unity_tests target)
  if(VANTA_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 5)
  endif()
endfunction()

# vanta_unity_folders(target FOLDERS...): each folder's sources of `target` as one group.
function(vanta_unity_folders target)
  get_target_property(sources ${target} SOURCES)
  foreach(folder IN LISTS ARGN)
    set(files ${sources})
    list(FILTER files INCLUDE REGEX "^${folder}/")
    vanta_unity(${target} ${folder} ${files})
  endforeach()
endfunction()
