# vorda.exe and its console companion vorda.com: an entry point and resources each, and vorda_core.
enable_language(RC)

# The page is one file made of many; Node bundles it whenever one of them has changed.
find_program(NODE node REQUIRED)
file(GLOB_RECURSE page_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/page/*)
set(VORDA_PAGE_FILE ${PROJECT_BINARY_DIR}/page/page.html)
add_custom_command(OUTPUT ${VORDA_PAGE_FILE}
  COMMAND ${NODE} ${PROJECT_SOURCE_DIR}/src/page/build.mjs ${VORDA_PAGE_FILE}
  DEPENDS ${page_sources} ${PROJECT_SOURCE_DIR}/src/app/vorda.svg ${PROJECT_SOURCE_DIR}/package-lock.json
  COMMENT "Bundling the page" VERBATIM)

# The description of the API, as JSON.
set(VORDA_API_FILE ${PROJECT_BINARY_DIR}/openapi.json)
add_custom_command(OUTPUT ${VORDA_API_FILE}
  COMMAND ${NODE} ${PROJECT_SOURCE_DIR}/scripts/openapi.mjs ${PROJECT_VERSION} ${VORDA_API_FILE}
  DEPENDS ${PROJECT_SOURCE_DIR}/docs/api/openapi.yaml ${PROJECT_SOURCE_DIR}/scripts/openapi.mjs
  COMMENT "Translating the description of the API" VERBATIM)

set(generated ${PROJECT_BINARY_DIR}/generated)
configure_file(${PROJECT_SOURCE_DIR}/src/app/vorda.exe.manifest.in ${generated}/vorda.exe.manifest @ONLY)

# vorda_resources(<file> <internal name> <description> [<more lines>]): what describes vorda.<ext>.
function(vorda_resources VORDA_FILE VORDA_NAME VORDA_ABOUT)
  list(JOIN ARGN "\n" VORDA_MORE_RESOURCES)
  configure_file(${PROJECT_SOURCE_DIR}/src/app/vorda.rc.in ${generated}/${VORDA_FILE}.rc @ONLY)
  set_source_files_properties(${generated}/${VORDA_FILE}.rc PROPERTIES OBJECT_DEPENDS
    "${PROJECT_SOURCE_DIR}/src/app/vorda.ico;${generated}/vorda.exe.manifest")
endfunction()
vorda_resources(vorda.exe vorda "Vorda disk analysis" "1 HTMLPAGE \"${VORDA_PAGE_FILE}\""
  "1 APIDESCRIPTION \"${VORDA_API_FILE}\"")
vorda_resources(vorda.com vorda.com "Vorda disk analysis, for the command line")
set_property(SOURCE ${generated}/vorda.exe.rc APPEND PROPERTY OBJECT_DEPENDS ${VORDA_PAGE_FILE} ${VORDA_API_FILE})

add_executable(vorda src/app/main_win.cpp ${generated}/vorda.exe.rc ${VORDA_PAGE_FILE} ${VORDA_API_FILE})
target_link_libraries(vorda PRIVATE vorda_core)
target_link_options(vorda PRIVATE -municode -mwindows)
set_target_properties(vorda PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

add_executable(vorda_com src/companion/main_win.cpp ${generated}/vorda.com.rc)
target_link_libraries(vorda_com PRIVATE vorda_core)
target_link_options(vorda_com PRIVATE -municode -mconsole)
set_target_properties(vorda_com PROPERTIES OUTPUT_NAME vorda SUFFIX .com
  RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
