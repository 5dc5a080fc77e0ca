# Libraries of Windows that are found in the program's own folder first, where anyone who may write
# there could have put another one of that name. They are loaded when they are first needed, which
# is after the entry point has ruled out every folder but the system's. Each .def file lists the
# functions that are used.
set(delayed_libraries "")
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/delayed)
foreach(library bcrypt version winhttp wtsapi32)
  set(definition ${PROJECT_SOURCE_DIR}/cmake/delayed/${library}.def)
  set(archive ${PROJECT_BINARY_DIR}/delayed/lib${library}.a)
  add_custom_command(OUTPUT ${archive}
    # The name of the output, as it is given, becomes part of symbols, and so of the build's identity.
    COMMAND ${CMAKE_DLLTOOL} --input-def ${definition} --output-delaylib lib${library}.a
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/delayed
    DEPENDS ${definition} VERBATIM)
  list(APPEND delayed_libraries ${archive})
endforeach()
add_custom_target(delayed_imports DEPENDS ${delayed_libraries})
add_dependencies(vorda_core delayed_imports)
target_link_libraries(vorda_core PUBLIC ${delayed_libraries} delayimp)
