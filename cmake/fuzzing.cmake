# fuzz/fuzz_<name>.cpp defines LLVMFuzzerTestOneInput. With VORDA_SANITIZE=fuzz each becomes a program
# with the fuzzing engine; with VORDA_SANITIZE=asan each becomes a ctest entry that runs the inputs
# kept in fuzz/corpus/<name>/, so that a fault found once does not come back.
file(GLOB fuzz_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/fuzz_*.cpp)
foreach(source IN LISTS fuzz_sources)
  get_filename_component(target ${source} NAME_WE)
  string(REGEX REPLACE "^fuzz_" "" name ${target})
  if(VORDA_SANITIZE STREQUAL "fuzz")
    add_executable(${target} ${source})
    target_link_libraries(${target} PRIVATE vorda_core)
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit)
  elseif(VORDA_SANITIZE STREQUAL "asan")
    add_executable(${target} ${source} fuzz/replay_main.cpp)
    target_link_libraries(${target} PRIVATE vorda_core)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit)
    add_test(NAME corpus-${name} COMMAND ${target} fuzz/corpus/${name}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(corpus-${name} PROPERTIES TIMEOUT 120)
  endif()
endforeach()
