# vorda.exe: the entry point, the resources and vorda_core.
enable_language(RC)

# The page is one file made of many; Node bundles it whenever one of them has changed.
find_program(NODE node REQUIRED)
file(GLOB_RECURSE page_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/page/*)
set(VORDA_PAGE_FILE ${PROJECT_BINARY_DIR}/page/page.html)
add_custom_command(OUTPUT ${VORDA_PAGE_FILE}
  COMMAND ${NODE} ${PROJECT_SOURCE_DIR}/src/page/build.mjs ${VORDA_PAGE_FILE}
  DEPENDS ${page_sources} ${PROJECT_SOURCE_DIR}/src/app/vorda.svg ${PROJECT_SOURCE_DIR}/package-lock.json
  COMMENT "Bundling the page" VERBATIM)

set(generated ${PROJECT_BINARY_DIR}/generated)
foreach(file vorda.rc vorda.exe.manifest)
  configure_file(${PROJECT_SOURCE_DIR}/src/app/${file}.in ${generated}/${file} @ONLY)
endforeach()
set_source_files_properties(${generated}/vorda.rc PROPERTIES OBJECT_DEPENDS
  "${PROJECT_SOURCE_DIR}/src/app/vorda.ico;${generated}/vorda.exe.manifest;${VORDA_PAGE_FILE}")

add_executable(vorda src/app/main_win.cpp ${generated}/vorda.rc ${VORDA_PAGE_FILE})
target_link_libraries(vorda PRIVATE vorda_core)
target_link_options(vorda PRIVATE -municode -mwindows)
set_target_properties(vorda PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
