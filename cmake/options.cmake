option(VANTA_BUILD_TESTS "Build the tests" ON)
option(VANTA_BUILD_BENCH "Build the benchmarks" ON)
option(VANTA_BUILD_FUZZERS "Build the fuzzers; needs clang" OFF)
option(VANTA_BUILD_RUN "Build vanta-run" ON)
# Windows: by default with MinGW-w64 alone, where scripts/fetch-opencv has made OpenCV, which has no dnn there.
set(_engines ON)
set(_networks ON)
if(WIN32)
  set(_networks OFF)
  if(MSVC OR NOT EXISTS "${PROJECT_SOURCE_DIR}/build/third_party/opencv/made-by")
    set(_engines OFF)
  endif()
endif()
option(VANTA_BUILD_ENGINES "Windows: build the open effect engine and vision runner too" ${_engines})
option(VANTA_TRAINED_NETWORKS "Use trained networks for faces where the user has some; needs OpenCV's dnn" ${_networks})
option(VANTA_PRECOMPILED_HEADERS "Compile once what most files include of the system and of libraries" OFF)
option(VANTA_WERROR "Treat warnings as errors" ON)
option(VANTA_THREAD_SAFETY "Let clang check the lock annotations" OFF)
set(VANTA_SANITIZE "" CACHE STRING "Value of -fsanitize= for every target, empty for none")

if(MINGW)
  add_link_options(-Wl,--no-insert-timestamp)  # the same sources make the same files
endif()

# Every target of the project links this; it carries warnings and sanitizers, nothing else.
add_library(vanta_flags INTERFACE)
if(MSVC)
  target_compile_options(vanta_flags INTERFACE /W4 /utf-8 /permissive- $<$<BOOL:${VANTA_WERROR}>:/WX>)
else()
  target_compile_options(vanta_flags INTERFACE -Wall -Wextra -Wpedantic $<$<BOOL:${VANTA_WERROR}>:-Werror>)
endif()
if(UNIX AND NOT APPLE)
  target_link_options(vanta_flags INTERFACE -Wl,--as-needed)  # what pkg-config names and nobody calls is not loaded
endif()
if(VANTA_THREAD_SAFETY)
  target_compile_options(vanta_flags INTERFACE -Wthread-safety -Wthread-safety-beta)
endif()
if(VANTA_SANITIZE)
  set(_options -fsanitize=${VANTA_SANITIZE} -fno-omit-frame-pointer)
  if(VANTA_SANITIZE MATCHES "undefined")
    # What is found ends the process anyway. Null and ill-sized objects, which cost as much as all other checks, are the
    # address sanitizer's where it is at hand.
    list(APPEND _options -fno-sanitize-recover=undefined)
    if(VANTA_SANITIZE MATCHES "address")
      list(APPEND _options -fno-sanitize=null -fno-sanitize=object-size)
      if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        # The host calls what it looked up by name in a library that does not know its headers: same arguments, other names.
        list(APPEND _options -fno-sanitize=function)
        # A name that a program and a library both define is the program's, which may not know of the sanitizer: each library
        # watches its own copy.
        list(APPEND _options -fsanitize-address-use-odr-indicator)
      endif()
    endif()
  endif()
  define_property(TARGET PROPERTY VANTA_UNCHECKED INHERITED BRIEF_DOCS "Compiled without a sanitizer" FULL_DOCS "-")
  foreach(_option IN LISTS _options)
    target_compile_options(vanta_flags INTERFACE "$<$<NOT:$<BOOL:$<TARGET_PROPERTY:VANTA_UNCHECKED>>>:${_option}>")
  endforeach()
  target_link_options(vanta_flags INTERFACE -fsanitize=${VANTA_SANITIZE})
endif()

# A missing symbol in a lazily opened module would end the process at its first call: refuse it at link time.
function(vanta_no_undefined target)
  if(UNIX AND NOT APPLE AND NOT (VANTA_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()
