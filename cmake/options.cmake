# The compile options of all our files, as one interface target.
add_library(vorda_options INTERFACE)
target_compile_features(vorda_options INTERFACE cxx_std_20)
target_include_directories(vorda_options INTERFACE
  ${PROJECT_SOURCE_DIR}/src
  ${PROJECT_BINARY_DIR}/generated)

target_compile_options(vorda_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2 -Wno-format-nonliteral -Wnull-dereference
  -Wimplicit-fallthrough -Wunused -Wvla -Wundef
  # Keeps paths of the build machine out of binaries and assertion texts.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
  -ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(vorda_options INTERFACE
    -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wextra-semi)
endif()

find_package(Threads REQUIRED)
target_link_libraries(vorda_options INTERFACE Threads::Threads)

if(WIN32)
  target_compile_definitions(vorda_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 WINVER=0x0A00)
  # -static: no compiler DLL beside the program. Without the time stamp, the same sources give the same
  # file.
  target_link_options(vorda_options INTERFACE
    -static -Wl,--no-insert-timestamp)
  # A release keeps the line numbers of its code in files of their own; the build's id says which file
  # belongs to which program.
  option(VORDA_SYMBOLS "Keep line numbers in the programs" OFF)
  if(VORDA_SYMBOLS)
    target_compile_options(vorda_options INTERFACE -g1)
    target_link_options(vorda_options INTERFACE -Wl,--build-id)
  else()
    target_link_options(vorda_options INTERFACE $<$<CONFIG:Release>:-s>)
  endif()
endif()

# Release means -O2 everywhere; CMake's own choice would be -O3.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

set(VORDA_SANITIZE "" CACHE STRING "asan, tsan, fuzz or nothing")
set_property(CACHE VORDA_SANITIZE PROPERTY STRINGS "" asan tsan fuzz)
set(sanitize_flags "")
if(VORDA_SANITIZE STREQUAL "asan")
  # Not optimised: that would make the build four times as long, and the tests are quick anyway.
  set(sanitize_flags -fsanitize=address,undefined -O0)
elseif(VORDA_SANITIZE STREQUAL "tsan")
  set(sanitize_flags -fsanitize=thread -O1)
elseif(VORDA_SANITIZE STREQUAL "fuzz")
  set(sanitize_flags -fsanitize=fuzzer-no-link,address,undefined -O1)
elseif(NOT VORDA_SANITIZE STREQUAL "")
  message(FATAL_ERROR "VORDA_SANITIZE=${VORDA_SANITIZE}: expected asan, tsan, fuzz or nothing")
endif()
if(sanitize_flags)
  if(WIN32)
    message(FATAL_ERROR "The sanitizers are for the native builds")
  endif()
  list(APPEND sanitize_flags -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  target_compile_options(vorda_options INTERFACE ${sanitize_flags})
  target_link_options(vorda_options INTERFACE ${sanitize_flags})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The sanitizers add branches; in them these two warnings report paths that cannot happen.
    target_compile_options(vorda_options INTERFACE -Wno-null-dereference -Wno-maybe-uninitialized)
  endif()
endif()
