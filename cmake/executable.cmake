# vorda.exe: the entry point, the resources and vorda_core.
enable_language(RC)

set(VORDA_PAGE_FILE ${PROJECT_SOURCE_DIR}/src/page/placeholder.html)

configure_file(${PROJECT_SOURCE_DIR}/src/app/vorda.rc.in ${PROJECT_BINARY_DIR}/generated/vorda.rc @ONLY)
set_source_files_properties(${PROJECT_BINARY_DIR}/generated/vorda.rc PROPERTIES OBJECT_DEPENDS
  "${PROJECT_SOURCE_DIR}/src/app/vorda.ico;${PROJECT_SOURCE_DIR}/src/app/vorda.exe.manifest;${VORDA_PAGE_FILE}")

add_executable(vorda src/app/main_win.cpp ${PROJECT_BINARY_DIR}/generated/vorda.rc)
target_link_libraries(vorda PRIVATE vorda_core)
target_link_options(vorda PRIVATE -municode -mwindows)
set_target_properties(vorda PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
