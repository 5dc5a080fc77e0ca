# The unit tests are one program and one ctest entry: starting Wine once per case would cost more
# than the cases. Tests run in the repository's root, so that "tests/data/…" is found.

# doctest is a single header. It is copied, because its system folder must not be searched when
# compiling for Windows.
find_path(DOCTEST_DIR doctest.h PATH_SUFFIXES doctest
  HINTS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
file(COPY ${DOCTEST_DIR}/doctest.h DESTINATION ${PROJECT_BINARY_DIR}/third_party/doctest)

vorda_sources(unit_sources tests/unit)
add_executable(vorda_tests ${unit_sources})
target_link_libraries(vorda_tests PRIVATE vorda_core)
target_include_directories(vorda_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit)
target_include_directories(vorda_tests SYSTEM PRIVATE ${PROJECT_BINARY_DIR}/third_party)

if(VORDA_SANITIZE STREQUAL "tsan")
  # The thread sanitizer cannot start when address-space randomisation is strong.
  find_program(SETARCH setarch)
  if(SETARCH)
    execute_process(COMMAND ${SETARCH} -R true RESULT_VARIABLE setarch_result
      OUTPUT_QUIET ERROR_QUIET)
    if(setarch_result EQUAL 0)
      set(test_launcher ${SETARCH} -R)
    endif()
  endif()
endif()
if(test_launcher)
  add_test(NAME unit COMMAND ${test_launcher} $<TARGET_FILE:vorda_tests>
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
else()
  add_test(NAME unit COMMAND vorda_tests WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
endif()
set_tests_properties(unit PROPERTIES TIMEOUT 1200)

# Work with each of its allocations failing: a program of its own, because it replaces operator new.
if(NOT WIN32)
  vorda_sources(memory_sources tests/memory)
  add_executable(vorda_memory_tests ${memory_sources} tests/unit/main.cpp)
  target_link_libraries(vorda_memory_tests PRIVATE vorda_core)
  target_include_directories(vorda_memory_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit ${PROJECT_SOURCE_DIR}/tests/memory)
  target_include_directories(vorda_memory_tests SYSTEM PRIVATE ${PROJECT_BINARY_DIR}/third_party)
  add_test(NAME memory COMMAND ${test_launcher} $<TARGET_FILE:vorda_memory_tests> WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(memory PROPERTIES TIMEOUT 1200)
endif()

# Built by name, for bench/images/disk_figures.py.
if(NOT WIN32)
  add_executable(figures_of_image EXCLUDE_FROM_ALL bench/images/figures_of_image.cpp)
  target_link_libraries(figures_of_image PRIVATE vorda_core)
endif()

# ---- checks of vorda.exe and vorda.com -----------------------------------------------------------
if(WIN32)
  foreach(check "vorda gui imports" "vorda_com console imports-companion")
    separate_arguments(check)
    list(POP_FRONT check target subsystem name)
    set(check_imports ${CMAKE_COMMAND} -DOBJDUMP=${CMAKE_OBJDUMP} -DFILE=$<TARGET_FILE:${target}>
      -DSUBSYSTEM=${subsystem} -P ${PROJECT_SOURCE_DIR}/cmake/check-imports.cmake)
    add_test(NAME ${name} COMMAND ${check_imports})
  endforeach()
  # With no library allowed, the same check must complain about the one that every program imports.
  add_test(NAME imports-self-test COMMAND ${CMAKE_COMMAND} -E env VORDA_ALLOWED_DLLS=none ${check_imports})
  set_tests_properties(imports-self-test PROPERTIES PASS_REGULAR_EXPRESSION
    "planted beside the program:.*kernel32")
  # And with a list that lacks one function, about that one.
  file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/windows-10-1809.txt known_exports REGEX "^[a-z]")
  foreach(missing "kernel32 CloseHandle" "winhttp WinHttpOpen")
    set(shorter ${known_exports})
    list(REMOVE_ITEM shorter ${missing})
    list(JOIN shorter "\n" shorter)
    string(REPLACE " " "-" name "exports-self-test ${missing}")
    file(WRITE ${PROJECT_BINARY_DIR}/${name}.txt "${shorter}\n")
    add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} -E env VORDA_KNOWN_EXPORTS=${PROJECT_BINARY_DIR}/${name}.txt
      ${check_imports})
    string(REPLACE " " "[ \r\n]+" wrapped ${missing})
    set_tests_properties(${name} PROPERTIES PASS_REGULAR_EXPRESSION
      "may not have, see windows-10-1809.txt:[ \r\n]+${wrapped}[ \r\n]")
  endforeach()
endif()

# ---- programs that system tests need -------------------------------------------------------------
if(WIN32)
  add_custom_target(test_programs)
  file(GLOB helper_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/system/support/*_win.cpp)
  foreach(source IN LISTS helper_sources)
    get_filename_component(name ${source} NAME_WE)
    add_executable(${name} ${source})
    target_link_libraries(${name} PRIVATE vorda_core)
    target_link_options(${name} PRIVATE -municode)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
    add_dependencies(test_programs ${name})
  endforeach()
  add_library(planted_library SHARED tests/system/support/planted_library.cpp)
  set_target_properties(planted_library PROPERTIES PREFIX "" RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  target_link_options(planted_library PRIVATE -static)
  add_dependencies(test_programs planted_library)
endif()

# ---- tests in other languages --------------------------------------------------------------------
# The include check reads all files, so it need not run in the sanitizer builds as well.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND AND NOT VORDA_SANITIZE)
  add_test(NAME layers COMMAND ${Python3_EXECUTABLE} scripts/check-layers
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  add_test(NAME mutants-explained COMMAND ${Python3_EXECUTABLE} scripts/mutate --check
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
endif()

# The system tests start vorda.exe under Wine, so they belong to the cross-compiled build.
if(CMAKE_CROSSCOMPILING)
  # Tests of the scripts. One compiles small programs for this machine, with clang and GCC.
  file(GLOB tool_tests CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/tools/*.test.py)
  foreach(test IN LISTS tool_tests)
    get_filename_component(name ${test} NAME_WE)
    add_test(NAME ${name}-self-test COMMAND ${Python3_EXECUTABLE} ${test}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(${name}-self-test PROPERTIES TIMEOUT 600)
  endforeach()

  find_program(NODE node REQUIRED)
  file(GLOB_RECURSE system_tests CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
    ${PROJECT_SOURCE_DIR}/tests/system/*.test.mjs)
  add_test(NAME system COMMAND ${NODE} --test ${system_tests}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(system PROPERTIES TIMEOUT 3600 ENVIRONMENT "VORDA_EXE=$<TARGET_FILE:vorda>")

  # What scripts/release makes of the programs.
  foreach(name release installer)
    add_test(NAME ${name} COMMAND ${NODE} --test tests/release/${name}.test.mjs
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT 3600 ENVIRONMENT "VORDA_EXE=$<TARGET_FILE:vorda>")
  endforeach()

  # The page: its logic without a browser, and the real program's page in one.
  file(GLOB page_tests CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
    ${PROJECT_SOURCE_DIR}/tests/page/*.test.mjs)
  add_test(NAME page COMMAND ${NODE} --test ${page_tests}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(page PROPERTIES TIMEOUT 3600 ENVIRONMENT "VORDA_EXE=$<TARGET_FILE:vorda>")
endif()
